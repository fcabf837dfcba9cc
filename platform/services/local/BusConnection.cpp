#include "platform/services/local/BusConnection.h"

#include <poll.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace kr {

namespace {

/// Messages in one turn of the event loop, so that a talkative bus can't hold the window.
constexpr int kMostMessages = 50;

/// Our deadline is the caller's.
constexpr uint64_t kNoTimeout = UINT64_MAX;

} // namespace

BusConnection::BusConnection(Events& events, std::string address)
    : m_events(events), m_address(std::move(address)),
      m_self(std::make_shared<BusConnection*>(this)) {}

BusConnection::~BusConnection() { disconnect(); }

int BusConnection::connect() {
    if (m_bus != nullptr && sd_bus_is_open(m_bus) > 0)
        return 0;
    disconnect();
    int result = 0;
    if (m_address.empty()) {
        result = sd_bus_open_system(&m_bus);
    } else {
        result = sd_bus_new(&m_bus);
        if (result >= 0)
            result = sd_bus_set_address(m_bus, m_address.c_str());
        if (result >= 0)
            result = sd_bus_set_bus_client(m_bus, 1);
        if (result >= 0)
            result = sd_bus_start(m_bus);
    }
    if (result < 0) {
        m_bus = sd_bus_unref(m_bus);
        return result;
    }
    m_watch = m_events.AddWatch(sd_bus_get_fd(m_bus), 0, [this](unsigned) { process(); });
    return 0;
}

void BusConnection::disconnect() {
    m_slot = sd_bus_slot_unref(m_slot);
    m_events.Cancel(m_watch);
    m_watch = 0;
    m_bus = sd_bus_close_unref(m_bus);
}

void BusConnection::Call(const char* destination, const char* path, const char* interface,
                         const char* member, const std::function<int(sd_bus_message*)>& append,
                         Done done) {
    ++m_call;
    m_done = std::move(done);
    sd_bus_message* raw = nullptr;
    int result = connect();
    if (result >= 0)
        result = sd_bus_message_new_method_call(m_bus, &raw, destination, path, interface, member);
    const Message message(raw);
    // asking the bus to start the service would hide that it doesn't run
    if (result >= 0)
        result = sd_bus_message_set_auto_start(raw, 0);
    if (result >= 0)
        result = append(raw);
    m_slot = sd_bus_slot_unref(m_slot);
    if (result >= 0)
        result = sd_bus_call_async(m_bus, &m_slot, raw, onReply, this, kNoTimeout);
    if (result < 0)
        finish(nullptr, -result);
    else
        rewatch();
}

void BusConnection::Abandon() {
    ++m_call;
    m_done = nullptr;
    m_slot = sd_bus_slot_unref(m_slot);
    if (m_bus != nullptr && sd_bus_is_ready(m_bus) <= 0)
        disconnect();
}

int BusConnection::onReply(sd_bus_message* message, void* self, sd_bus_error*) {
    static_cast<BusConnection*>(self)->finish(Message(sd_bus_message_ref(message)), 0);
    return 0;
}

/// The answer goes out by a post: whoever waits for it may run a nested loop, in which the bus must
/// not be in the midst of reading.
void BusConnection::finish(Message message, int error) {
    if (!m_done)
        return;
    m_events.Post([done = std::exchange(m_done, nullptr), weak = std::weak_ptr(m_self),
                   shared = std::shared_ptr<sd_bus_message>(std::move(message)), error,
                   call = m_call] {
        const auto self = weak.lock();
        if (self == nullptr || (*self)->m_call != call)
            return;
        BusReply reply;
        reply.message = shared.get();
        reply.error = error;
        const sd_bus_error* refusal =
            shared != nullptr ? sd_bus_message_get_error(shared.get()) : nullptr;
        if (refusal != nullptr) {
            reply.error = sd_bus_message_get_errno(shared.get());
            reply.errorName = refusal->name;
            reply.text = refusal->message != nullptr ? refusal->message : refusal->name;
        } else if (error != 0) {
            reply.text = std::strerror(error);
        }
        done(reply);
    });
}

void BusConnection::process() {
    int result = 1;
    for (int i = 0; i < kMostMessages && result > 0; ++i)
        result = sd_bus_process(m_bus, nullptr);
    if (result >= 0) {
        rewatch();
        return;
    }
    disconnect();
    finish(nullptr, -result);
}

void BusConnection::rewatch() {
    const int wanted = sd_bus_get_events(m_bus);
    if (wanted < 0) {
        disconnect();
        finish(nullptr, -wanted);
        return;
    }
    unsigned watch = 0;
    if (wanted & POLLIN)
        watch |= Events::Readable;
    if (wanted & POLLOUT)
        watch |= Events::Writable;
    m_events.SetWatch(m_watch, watch);
    // messages that were read from the socket already announce themselves by a time of 0
    uint64_t due = kNoTimeout;
    if (sd_bus_get_timeout(m_bus, &due) >= 0 && due == 0)
        m_events.Post([weak = std::weak_ptr(m_self)] {
            const auto self = weak.lock();
            if (self != nullptr && (*self)->m_bus != nullptr)
                (*self)->process();
        });
}

} // namespace kr
