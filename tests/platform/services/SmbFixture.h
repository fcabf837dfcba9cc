#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>

namespace kr {

/// A real smbd on 127.0.0.1 with its state in a temporary folder and one account. Of services it
/// knows "Spooler" and no user-defined codes.
class SmbFixture {
public:
    SmbFixture();
    ~SmbFixture();
    SmbFixture(const SmbFixture&) = delete;
    SmbFixture& operator=(const SmbFixture&) = delete;

    bool running() const { return m_daemon > 0; }
    uint16_t port() const { return m_port; }
    /// An authentication file with the account's password, or a wrong one.
    std::string AuthFile(bool right) const;
    const std::string& folder() const { return m_folder; }

private:
    void writeConfig() const;
    bool addAccount() const;
    bool start();

    std::string m_folder;
    uint16_t m_port = 0;
    pid_t m_daemon = 0;
};

} // namespace kr
