#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace kr {

/// A stand-in of a Windows computer's service manager ([MS-SCMR] over TCP, [C706] 12): it answers
/// from a table of services, on a thread, and knows user-defined codes. Calls without
/// authentication; one connection is served at a time.
class ScmStandin {
public:
    explicit ScmStandin(const std::string& address);
    ~ScmStandin();
    ScmStandin(const ScmStandin&) = delete;
    ScmStandin& operator=(const ScmStandin&) = delete;

    uint16_t port() const { return m_port; }
    void SetService(const std::string& name, uint32_t state);
    /// Every change of a service is refused with this number; 0 ends that.
    void Refuse(uint32_t code);
    /// Takes requests and answers none.
    void Mute(bool mute) { m_mute = mute; }
    /// Closes the connection that is open now.
    void Drop();
    /// "start zandrelAgent", "control zandrelAgent 200" in their order.
    std::vector<std::string> calls() const;
    int connections() const { return m_connections; }

private:
    void serve();
    void converse(int fd);
    bool readPacket(int fd, std::string& packet) const;
    bool answer(int fd, const std::string& packet);
    std::string bindAck(const std::string& packet) const;
    std::string call(uint16_t number, std::string_view stub);
    std::string openService(std::string_view stub);
    std::string change(uint16_t number, std::string_view stub);

    int m_listener = -1;
    uint16_t m_port = 0;
    std::thread m_thread;
    std::atomic<bool> m_quit{false};
    std::atomic<bool> m_mute{false};
    std::atomic<int> m_connections{0};
    std::atomic<int> m_open{-1};
    mutable std::mutex m_mutex; // guards all below
    std::map<std::string, uint32_t> m_services;
    std::vector<std::string> m_handles; // names of opened services, by the handle's number
    std::vector<std::string> m_calls;
    uint32_t m_refusal = 0;
};

} // namespace kr
