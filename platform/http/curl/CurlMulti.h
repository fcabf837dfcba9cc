#pragma once

#include <curl/curl.h>

#include <functional>
#include <map>
#include <memory>
#include <set>

#include "platform/events/EventsGate.h"

namespace kr {

/// One multi handle on the program's loop: descriptors and the timer are watched there, and its
/// connections serve all requests.
class CurlMulti {
public:
    using Done = std::function<void(CURLcode)>;

    explicit CurlMulti(Events& events);
    ~CurlMulti();
    CurlMulti(const CurlMulti&) = delete;
    CurlMulti& operator=(const CurlMulti&) = delete;

    /// Begins a transfer of a handle whose sockets have no functions yet, and goes as far as it can
    /// without waiting: `done` may come from within.
    void Start(CURL* easy, Done done);
    /// Ends a transfer without a word; its connection is closed.
    void Remove(CURL* easy);
    Events& events() { return m_events; }
    const std::shared_ptr<EventsGate>& gate() const { return m_gate; }

private:
    /// A connection at rest keeps its watch until it is closed or has something to say: the next
    /// request goes through it.
    struct Watch {
        Events::Id id;
        bool resting;
    };

    static int onSocket(CURL* easy, curl_socket_t fd, int what, void* self, void* watch);
    static int onOpened(void* self, curl_socket_t fd, curlsocktype);
    static int onClose(void* self, curl_socket_t fd);
    static int onTimer(CURLM* multi, long milliseconds, void* self);
    void watch(curl_socket_t fd, int what);
    void unwatch(curl_socket_t fd);
    void ready(curl_socket_t fd, unsigned conditions);
    void act(curl_socket_t fd, int conditions);
    void setTimer(long milliseconds);

    Events& m_events;
    std::shared_ptr<EventsGate> m_gate;
    CURLM* m_multi;
    std::map<curl_socket_t, Watch> m_watches;
    std::set<curl_socket_t> m_connections; // whose end is told, unlike that of a resolver's pipe
    std::map<CURL*, Done> m_running;
    Events::Id m_timer = 0;
    // shared with calls that were posted and may come when this has gone
    std::shared_ptr<CurlMulti*> m_self;
    bool m_posted = false;
    bool m_starting = false; // what is asked for at once is done anyway
};

} // namespace kr
