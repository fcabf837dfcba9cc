#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

namespace kr {

/// A real sshd on addresses of the loopback network, with keys of its own in a temporary folder. It
/// lets nobody run anything but the two commands that the console sends: systemd-stdio-bridge leads
/// to the bus of that address, taskkill is written down.
class SshFixture {
public:
    explicit SshFixture(const std::string& busAddress);
    ~SshFixture();
    SshFixture(const SshFixture&) = delete;
    SshFixture& operator=(const SshFixture&) = delete;

    bool running() const { return m_daemon > 0; }
    /// Ends sshd and every connection through it.
    void Stop();
    bool Start();
    /// Stops every process that serves a connection where it stands, without a word to the client.
    void Freeze();

    uint16_t port() const { return m_port; }
    /// What ssh needs to reach it: its port, key and known hosts.
    std::vector<std::string> Arguments() const;
    /// Forgets the host's key.
    void ForgetHost();
    /// Commands that were run, in their order.
    std::vector<std::string> Commands() const;
    /// Number of connections that were made.
    size_t Logons() const { return Commands().size(); }
    const std::string& folder() const { return m_folder; }

private:
    void writeFiles(const std::string& busAddress);
    bool makeKey(const std::string& name) const;

    std::string m_folder;
    uint16_t m_port = 0;
    pid_t m_daemon = 0;
};

} // namespace kr
