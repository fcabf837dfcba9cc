#include "platform/services/systemd/BusConnection.h"

#include <cerrno>
#include <cstring>
#include <utility>

namespace kr {

namespace {

/// Our deadline is the caller's.
constexpr uint64_t kNoTimeout = UINT64_MAX;

/// How long a program may go on connecting after its call was given up.
constexpr std::chrono::seconds kPatience(10);

} // namespace

BusConnection::BusConnection(Events& events, BusPlace place)
    : m_events(events), m_place(std::move(place)), m_self(std::make_shared<BusConnection*>(this)) {}

BusConnection::~BusConnection() { disconnect(); }

bool BusConnection::Ready() const { return m_bus != nullptr && sd_bus_is_ready(m_bus) > 0; }

int BusConnection::connect() {
    if (m_bus != nullptr && sd_bus_is_open(m_bus) > 0)
        return 0;
    disconnect();
    m_started = Clock::now();
    const int result = m_place.command.empty() ? open() : openThroughProgram();
    if (result < 0) {
        disconnect();
        return result;
    }
    m_pump = std::make_unique<BusPump>(
        m_events, m_bus, BusPump::Calls{[this] { send(); }, [this](int error) { onLost(error); }});
    return 0;
}

int BusConnection::open() {
    if (m_place.address.empty())
        return sd_bus_open_system(&m_bus);
    int result = sd_bus_new(&m_bus);
    if (result >= 0)
        result = sd_bus_set_address(m_bus, m_place.address.c_str());
    if (result >= 0)
        result = sd_bus_set_bus_client(m_bus, 1);
    return result >= 0 ? sd_bus_start(m_bus) : result;
}

/// Not by the bus library's own way of starting programs: that one waits for their end when the
/// connection is closed.
int BusConnection::openThroughProgram() {
    m_program = std::make_unique<ChildProcess>(m_events, m_place.command,
                                               [this](int code) { onProgramEnd(code); });
    if (m_program->error() != 0)
        return -m_program->error();
    int result = sd_bus_new(&m_bus);
    if (result < 0)
        return result;
    const int fd = m_program->TakeSocket();
    result = sd_bus_set_fd(m_bus, fd, fd);
    if (result >= 0)
        result = sd_bus_set_bus_client(m_bus, 1);
    return result >= 0 ? sd_bus_start(m_bus) : result;
}

void BusConnection::disconnect() {
    m_slot = sd_bus_slot_unref(m_slot);
    m_pump.reset();
    m_bus = sd_bus_close_unref(m_bus);
    m_program.reset();
}

void BusConnection::Call(const char* destination, std::string path, const char* interface,
                         const char* member, Append append, Done done) {
    ++m_call;
    m_done = std::move(done);
    m_pending = [this, destination, path = std::move(path), interface, member,
                 append = std::move(append)] {
        sd_bus_message* raw = nullptr;
        int result = sd_bus_message_new_method_call(m_bus, &raw, destination, path.c_str(),
                                                    interface, member);
        const Message message(raw);
        // asking the bus to start the service would hide that it doesn't run
        if (result >= 0)
            result = sd_bus_message_set_auto_start(raw, 0);
        if (result >= 0)
            result = append(raw);
        m_slot = sd_bus_slot_unref(m_slot);
        return result >= 0 ? sd_bus_call_async(m_bus, &m_slot, raw, onReply, this, kNoTimeout)
                           : result;
    };
    if (const int result = connect(); result < 0) {
        fail(-result);
        return;
    }
    send();
    m_pump->Rewatch();
}

/// Once the connection is up and not before: a call that waits in the library for a logon would
/// still be carried out after everybody has given it up.
void BusConnection::send() {
    if (!m_pending || !Ready())
        return;
    if (const int result = std::exchange(m_pending, nullptr)(); result < 0)
        fail(-result);
}

void BusConnection::Abandon() {
    ++m_call;
    m_done = nullptr;
    m_pending = nullptr;
    m_slot = sd_bus_slot_unref(m_slot);
    const bool program = m_program != nullptr;
    const bool stale = Ready() ? program : !program || Clock::now() - m_started > kPatience;
    if (stale)
        disconnect();
}

int BusConnection::onReply(sd_bus_message* message, void* self, sd_bus_error*) {
    static_cast<BusConnection*>(self)->finish(Message(sd_bus_message_ref(message)), 0);
    return 0;
}

void BusConnection::fail(int error) {
    m_pending = nullptr;
    finish(nullptr, error);
}

/// The answer goes out by a post: whoever waits for it may run a nested loop, in which the bus must
/// not be in the midst of reading.
void BusConnection::finish(Message message, int error) {
    if (!m_done)
        return;
    m_events.Post([done = std::exchange(m_done, nullptr), weak = std::weak_ptr(m_self),
                   shared = std::shared_ptr<sd_bus_message>(std::move(message)), error,
                   call = m_call, words = m_program ? m_program->LastWords() : std::string()] {
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
            reply.text = words.empty() ? std::strerror(error) : words;
        }
        done(reply);
    });
}

/// Through a program, its end is awaited: that comes with its last words.
void BusConnection::onLost(int error) {
    if (m_program != nullptr)
        return;
    fail(error);
    disconnect();
}

void BusConnection::onProgramEnd(int) {
    fail(ENOTCONN);
    disconnect();
}

} // namespace kr
