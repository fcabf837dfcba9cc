#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace kr {

/// Basic encoding rules, as far as an LDAP peer needs them (X.690, RFC 4511).
std::string Ber(unsigned char tag, const std::string& content);
std::string BerNumber(unsigned char tag, int value);

/// What one request says: its message id, the tag of its operation and its raw bytes.
struct PeerRequest {
    int id = 0;
    unsigned char operation = 0; // 0x60 bind, 0x63 search, 0x50 abandon, 0x42 unbind
    std::string bytes;
    bool mentions(const std::string& text) const { return bytes.find(text) != std::string::npos; }
};

/// "Result: success" of an operation: 0x61 bind, 0x65 search.
std::string PeerResult(int id, unsigned char operation, int code = 0);
/// A search entry with attributes and their values.
std::string
PeerEntry(int id, const std::string& dn,
          const std::vector<std::pair<std::string, std::vector<std::string>>>& attributes);

/// An LDAP peer on 127.0.0.1 that sends whatever a script says, for what a real server won't do:
/// fall silent in the midst of a message, cut long attributes, pack messages together. A script
/// that gives "" says nothing, one that gives kHangUp closes the connection.
class ScriptedPeer {
public:
    using Script = std::function<std::string(const PeerRequest&)>;

    static constexpr const char* kHangUp = "hang up";

    explicit ScriptedPeer(Script script);
    ~ScriptedPeer();
    ScriptedPeer(const ScriptedPeer&) = delete;
    ScriptedPeer& operator=(const ScriptedPeer&) = delete;

    int port() const { return m_port; }
    int connections() const { return m_connections; }

private:
    void serve();
    void talk(int fd);

    Script m_script;
    int m_listener = -1;
    int m_port = 0;
    std::atomic<bool> m_quit{false};
    std::atomic<int> m_connections{0};
    std::vector<std::thread> m_talks;
    std::thread m_thread;
};

} // namespace kr
