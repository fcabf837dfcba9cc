#pragma once

#include <string>
#include <vector>

#include "tests/support/SideProgram.h"

/// Web servers and proxies as Debian has them, each a process of its own with its files in one
/// temporary folder; ended with the object.
namespace kr {

/// A folder that goes with the object. Peers never run as root, so it belongs to who runs them.
class PeerFolder {
public:
    PeerFolder();
    ~PeerFolder();
    PeerFolder(const PeerFolder&) = delete;
    PeerFolder& operator=(const PeerFolder&) = delete;
    const std::string& path() const { return m_path; }
    std::string Write(const std::string& name, const std::string& content) const;
    std::string Read(const std::string& name) const;

private:
    std::string m_path;
};

/// Runs a command to its end, its output in "output" of the folder.
bool RunPeer(const PeerFolder& folder, const std::string& command);
/// Words that start a program, not as root.
std::vector<std::string> PeerWords(std::vector<std::string> words);
/// Waits until somebody listens on that port of the loopback, at most ten seconds.
bool WaitForPort(int port);

/// A certificate authority in the folder, and a certificate of it for 127.0.0.1 alone.
class PeerAuthority {
public:
    explicit PeerAuthority(const PeerFolder& folder);
    bool ready = false;
    std::string caFile, certificate, key;
};

/// nginx with pages below "www" of its folder: Basic (user and secret) below /private/, rules of
/// redirection and odd answers, and the same pages with TLS.
class NginxPeer {
public:
    NginxPeer();
    bool ready() const { return m_ready; }
    void Page(const std::string& name, const std::string& content) const;
    std::string url(const std::string& path = "/") const;
    std::string tlsUrl(const std::string& path = "/", const std::string& host = "127.0.0.1") const;
    int port() const { return m_port; }
    const std::string& caFile() const { return m_authority.caFile; }
    /// A line for each request: its own first one as it came, and the "Via" it had.
    std::string log() const { return m_folder.Read("access.log"); }
    const PeerFolder& folder() const { return m_folder; }

private:
    std::string configuration() const;

    PeerFolder m_folder;
    PeerAuthority m_authority;
    int m_port, m_tlsPort;
    std::string m_configuration;
    SideProgram m_process;
    bool m_ready;
};

/// tinyproxy; `more` are lines of its configuration.
class TinyproxyPeer {
public:
    explicit TinyproxyPeer(const std::string& more = {});
    bool ready() const { return m_ready; }
    std::string address() const { return "127.0.0.1:" + std::to_string(m_port); }

private:
    PeerFolder m_folder;
    int m_port;
    std::string m_configuration;
    SideProgram m_process;
    bool m_ready;
};

} // namespace kr
