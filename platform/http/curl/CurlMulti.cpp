#include "platform/http/curl/CurlMulti.h"

#include <unistd.h>

#include <utility>

namespace kr {

CurlMulti::CurlMulti(Events& events)
    : m_events(events), m_gate(std::make_shared<EventsGate>(events)), m_multi(curl_multi_init()),
      m_self(std::make_shared<CurlMulti*>(this)) {
    curl_multi_setopt(m_multi, CURLMOPT_SOCKETFUNCTION, onSocket);
    curl_multi_setopt(m_multi, CURLMOPT_SOCKETDATA, this);
    curl_multi_setopt(m_multi, CURLMOPT_TIMERFUNCTION, onTimer);
    curl_multi_setopt(m_multi, CURLMOPT_TIMERDATA, this);
}

CurlMulti::~CurlMulti() {
    *m_self = nullptr;
    m_gate->Close();
    for (const auto& [easy, done] : m_running)
        curl_multi_remove_handle(m_multi, easy);
    curl_multi_cleanup(m_multi);
    for (const auto& [fd, watch] : m_watches)
        m_events.Cancel(watch.id);
    if (m_timer != 0)
        m_events.Cancel(m_timer);
}

void CurlMulti::Start(CURL* easy, Done done) {
    m_running[easy] = std::move(done);
    m_starting = true;
    curl_easy_setopt(easy, CURLOPT_SOCKOPTFUNCTION, onOpened);
    curl_easy_setopt(easy, CURLOPT_SOCKOPTDATA, this);
    curl_easy_setopt(easy, CURLOPT_CLOSESOCKETFUNCTION, onClose);
    curl_easy_setopt(easy, CURLOPT_CLOSESOCKETDATA, this);
    curl_multi_add_handle(m_multi, easy);
    m_starting = false;
    act(CURL_SOCKET_TIMEOUT, 0);
}

void CurlMulti::Remove(CURL* easy) {
    if (m_running.erase(easy) > 0)
        curl_multi_remove_handle(m_multi, easy);
}

int CurlMulti::onSocket(CURL*, curl_socket_t fd, int what, void* self, void*) {
    static_cast<CurlMulti*>(self)->watch(fd, what);
    return 0;
}

int CurlMulti::onTimer(CURLM*, long milliseconds, void* self) {
    static_cast<CurlMulti*>(self)->setTimer(milliseconds);
    return 0;
}

int CurlMulti::onOpened(void* self, curl_socket_t fd, curlsocktype) {
    static_cast<CurlMulti*>(self)->m_connections.insert(fd);
    return CURL_SOCKOPT_OK;
}

int CurlMulti::onClose(void* self, curl_socket_t fd) {
    auto& multi = *static_cast<CurlMulti*>(self);
    multi.m_connections.erase(fd);
    multi.unwatch(fd);
    return close(fd);
}

void CurlMulti::watch(curl_socket_t fd, int what) {
    const auto known = m_watches.find(fd);
    if (what == CURL_POLL_REMOVE) {
        if (!m_connections.contains(fd))
            unwatch(fd);
        else if (known != m_watches.end())
            known->second.resting = true;
        return;
    }
    const unsigned wanted = ((what & CURL_POLL_IN) ? Events::Readable : 0U) |
                            ((what & CURL_POLL_OUT) ? Events::Writable : 0U);
    if (known != m_watches.end()) {
        known->second.resting = false;
        m_events.SetWatch(known->second.id, wanted);
        return;
    }
    const auto call = [this, fd](unsigned conditions) { ready(fd, conditions); };
    m_watches[fd] = {m_events.AddWatch(fd, wanted, call), false};
}

void CurlMulti::unwatch(curl_socket_t fd) {
    const auto known = m_watches.extract(fd);
    if (!known.empty())
        m_events.Cancel(known.mapped().id);
}

void CurlMulti::ready(curl_socket_t fd, unsigned conditions) {
    if (m_watches.at(fd).resting) {
        unwatch(fd); // the library looks at the connection before it uses it again
        return;
    }
    act(fd, ((conditions & Events::Readable) ? CURL_CSELECT_IN : 0) |
                ((conditions & Events::Writable) ? CURL_CSELECT_OUT : 0));
}

/// The library must not be called from its own callback; a timer of 0 would cost a millisecond.
void CurlMulti::setTimer(long milliseconds) {
    if (m_timer != 0)
        m_events.Cancel(std::exchange(m_timer, 0));
    if (milliseconds < 0)
        return;
    if (milliseconds == 0) {
        if (m_starting || std::exchange(m_posted, true))
            return;
        m_events.Post([self = m_self] {
            if (CurlMulti* multi = *self) {
                multi->m_posted = false;
                multi->act(CURL_SOCKET_TIMEOUT, 0);
            }
        });
        return;
    }
    m_timer = m_events.AddTimer(std::chrono::milliseconds(milliseconds), [this] {
        m_events.Cancel(std::exchange(m_timer, 0));
        act(CURL_SOCKET_TIMEOUT, 0);
    });
}

void CurlMulti::act(curl_socket_t fd, int conditions) {
    const auto self = m_self;
    int running = 0;
    curl_multi_socket_action(m_multi, fd, conditions, &running);
    int left = 0;
    // what a request does when it has ended may end this too
    while (*self) {
        const CURLMsg* message = curl_multi_info_read(m_multi, &left);
        if (!message)
            return;
        if (message->msg != CURLMSG_DONE)
            continue;
        CURL* easy = message->easy_handle;
        const CURLcode result = message->data.result;
        curl_multi_remove_handle(m_multi, easy);
        auto node = m_running.extract(easy);
        if (!node.empty())
            node.mapped()(result);
    }
}

} // namespace kr
