#include "platform/services/local/LocalServices.h"

#include <unistd.h>

#include <array>
#include <cerrno>
#include <deque>

#include "core/Text.h"
#include "platform/services/local/BusConnection.h"
#include "platform/services/local/UnitState.h"

namespace kr {

namespace {

using StateCall = std::function<void(SvcState, const std::string&)>;
using CodeCall = std::function<void(long, const std::string&)>;

constexpr std::chrono::milliseconds kDeadline(2000);

constexpr const char* kManager = "org.freedesktop.systemd1";
constexpr const char* kManagerPath = "/org/freedesktop/systemd1";
constexpr const char* kManagerInterface = "org.freedesktop.systemd1.Manager";
constexpr const char* kUnitInterface = "org.freedesktop.systemd1.Unit";
constexpr const char* kProperties = "org.freedesktop.DBus.Properties";

/// Where a service hears control codes.
struct Address {
    const char* service;
    const char* name;
    const char* path;
    const char* interface;
};
constexpr Address kAddresses[] = {
    {"zandrelAgent", "org.zandrel.Agent", "/org/zandrel/Agent", "org.zandrel.Agent1"},
    {"kRWatchdog", "org.zandrel.Watchdog", "/org/zandrel/Watchdog", "org.zandrel.Watchdog1"},
};

const Address* addressOf(std::string_view service) {
    for (const Address& address : kAddresses)
        if (EqualNoCase(address.service, service))
            return &address;
    return nullptr;
}

/// Unit names know case, service names don't: the services that we know are written as they are.
std::string unitOf(std::string_view service) {
    const Address* known = addressOf(service);
    return (known != nullptr ? std::string(known->service) : std::string(service)) + ".service";
}

/// Numbers of the Windows service manager.
enum Code : long { Denied = 5, NoAnswer = 1053, NoService = 1060, NotReachable = 1722 };

constexpr std::string_view kNoService = "no such service";

long codeOf(const BusReply& reply) {
    if (reply.ok())
        return 0;
    // without a D-Bus name it was our own end that failed
    if (reply.errorName.empty() || reply.errorName == SD_BUS_ERROR_NO_REPLY)
        return NotReachable;
    if (reply.errorName == "org.freedesktop.systemd1.NoSuchUnit" ||
        reply.errorName == "org.freedesktop.systemd1.LoadFailed")
        return NoService;
    if (reply.errorName == SD_BUS_ERROR_ACCESS_DENIED ||
        reply.errorName == SD_BUS_ERROR_INTERACTIVE_AUTHORIZATION_REQUIRED)
        return Denied;
    return reply.error;
}

std::string textOf(const BusReply& reply) {
    const long code = codeOf(reply);
    if (code == NoService)
        return std::string(kNoService);
    if (code == NotReachable)
        return "The service manager of this computer can't be reached: " + reply.text;
    return reply.text;
}

bool isThisComputer(std::string_view host) {
    while (!host.empty() && host.front() == '\\')
        host.remove_prefix(1);
    if (host.empty() || host == "." || EqualNoCase(host, "localhost"))
        return true;
    std::array<char, 256> own{};
    gethostname(own.data(), own.size() - 1);
    const std::string name = own.data();
    return EqualNoCase(host, name) || EqualNoCase(host, name.substr(0, name.find('.')));
}

std::string cannotReach(std::string_view host) {
    while (!host.empty() && host.front() == '\\')
        host.remove_prefix(1);
    return "The services of " + std::string(host) + " can't be reached from here yet";
}

UnitProperties readUnit(sd_bus_message* message) {
    UnitProperties unit;
    const std::pair<std::string_view, std::string*> wanted[] = {{"LoadState", &unit.load},
                                                                {"ActiveState", &unit.active},
                                                                {"SubState", &unit.sub},
                                                                {"FreezerState", &unit.freezer}};
    if (sd_bus_message_enter_container(message, 'a', "{sv}") < 0)
        return unit;
    while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
        const char* name = nullptr;
        if (sd_bus_message_read(message, "s", &name) < 0)
            break;
        std::string* target = nullptr;
        for (const auto& [key, value] : wanted)
            if (key == name)
                target = value;
        const char* text = nullptr;
        const int result = target != nullptr ? sd_bus_message_read(message, "v", "s", &text)
                                             : sd_bus_message_skip(message, "v");
        if (result < 0)
            break;
        if (target != nullptr)
            *target = text;
        sd_bus_message_exit_container(message);
    }
    return unit;
}

/// One request; `onState` or `onCode` is set, a control code has neither.
struct Request {
    enum class Kind { Query, Start, Stop, Control };
    Kind kind;
    std::string service;
    StateCall onState;
    CodeCall onCode;
    uint32_t control = 0;
};

class LocalServices : public Services {
public:
    LocalServices(Events& events, std::string address)
        : m_events(events), m_bus(events, std::move(address)),
          m_self(std::make_shared<LocalServices*>(this)) {}
    ~LocalServices() override { m_events.Cancel(m_deadline); }

    void Query(std::string_view host, std::string_view service, StateCall done) override {
        enqueue(host, {Request::Kind::Query, std::string(service), std::move(done), {}, 0});
    }
    void Start(std::string_view host, std::string_view service, CodeCall done) override {
        enqueue(host, {Request::Kind::Start, std::string(service), {}, std::move(done), 0});
    }
    void Stop(std::string_view host, std::string_view service, CodeCall done) override {
        enqueue(host, {Request::Kind::Stop, std::string(service), {}, std::move(done), 0});
    }
    void Control(std::string_view host, std::string_view service, int code) override {
        enqueue(
            host,
            {Request::Kind::Control, std::string(service), {}, {}, static_cast<uint32_t>(code)});
    }
    bool Busy() const override { return m_running || !m_queue.empty() || m_refusals > 0; }

private:
    void enqueue(std::string_view host, Request request);
    void begin();
    void query();
    void readState(const char* unitPath);
    void job(const char* member);
    void control();
    void finish(SvcState state, long code, const std::string& error);
    static void answer(const Request& request, SvcState state, long code, const std::string& error);

    Events& m_events;
    BusConnection m_bus;
    std::deque<Request> m_queue;
    Request m_current{};
    bool m_running = false;
    uint64_t m_request = 0; // number of the current one
    int m_refusals = 0;     // answers for other computers on their way
    Events::Id m_deadline = 0;
    std::shared_ptr<LocalServices*> m_self;
};

void LocalServices::enqueue(std::string_view host, Request request) {
    if (isThisComputer(host)) {
        m_queue.push_back(std::move(request));
        begin();
        return;
    }
    ++m_refusals;
    m_events.Post(
        [weak = std::weak_ptr(m_self), request = std::move(request), text = cannotReach(host)] {
            const auto self = weak.lock();
            if (self == nullptr)
                return;
            --(*self)->m_refusals;
            answer(request, SvcState::Failed, NotReachable, text);
        });
}

void LocalServices::begin() {
    if (m_running || m_queue.empty())
        return;
    m_running = true;
    ++m_request;
    m_current = std::move(m_queue.front());
    m_queue.pop_front();
    m_deadline = m_events.AddTimer(kDeadline, [this] {
        m_bus.Abandon();
        finish(SvcState::Failed, NoAnswer, "The service manager did not answer in time");
    });
    switch (m_current.kind) {
    case Request::Kind::Query:
        query();
        break;
    case Request::Kind::Start:
        job("StartUnit");
        break;
    case Request::Kind::Stop:
        job("StopUnit");
        break;
    case Request::Kind::Control:
        control();
        break;
    }
}

void LocalServices::query() {
    const std::string unit = unitOf(m_current.service);
    const auto load = [&unit](sd_bus_message* m) {
        return sd_bus_message_append(m, "s", unit.c_str());
    };
    m_bus.Call(kManager, kManagerPath, kManagerInterface, "LoadUnit", load,
               [this](const BusReply& reply) {
                   const char* path = nullptr;
                   if (reply.ok() && sd_bus_message_read(reply.message, "o", &path) > 0)
                       readState(path);
                   else
                       finish(SvcState::Failed, codeOf(reply), textOf(reply));
               });
}

void LocalServices::readState(const char* unitPath) {
    const auto interface = [](sd_bus_message* m) {
        return sd_bus_message_append(m, "s", kUnitInterface);
    };
    m_bus.Call(kManager, unitPath, kProperties, "GetAll", interface, [this](const BusReply& reply) {
        if (!reply.ok()) {
            finish(SvcState::Failed, codeOf(reply), textOf(reply));
            return;
        }
        const SvcState state = StateOf(readUnit(reply.message));
        finish(state, 0, state == SvcState::Failed ? std::string(kNoService) : "");
    });
}

void LocalServices::job(const char* member) {
    const std::string unit = unitOf(m_current.service);
    const auto arguments = [&unit](sd_bus_message* m) {
        return sd_bus_message_append(m, "ss", unit.c_str(), "replace");
    };
    m_bus.Call(
        kManager, kManagerPath, kManagerInterface, member, arguments,
        [this](const BusReply& reply) { finish(SvcState::Failed, codeOf(reply), textOf(reply)); });
}

/// The reply is asked for and then ignored: a sender who leaves at once may have its call dropped.
void LocalServices::control() {
    const Address* to = addressOf(m_current.service);
    if (to == nullptr) {
        m_events.Post([this, weak = std::weak_ptr(m_self), request = m_request] {
            if (!weak.expired() && m_request == request)
                finish(SvcState::Failed, NoService, std::string(kNoService));
        });
        return;
    }
    const auto arguments = [this](sd_bus_message* m) {
        return sd_bus_message_append(m, "u", m_current.control);
    };
    m_bus.Call(
        to->name, to->path, to->interface, "Control", arguments,
        [this](const BusReply& reply) { finish(SvcState::Failed, codeOf(reply), textOf(reply)); });
}

/// The next request begins before the answer goes out, as the answer may run a nested loop.
void LocalServices::finish(SvcState state, long code, const std::string& error) {
    m_events.Cancel(m_deadline);
    const Request done = std::move(m_current);
    m_running = false;
    begin();
    answer(done, state, code, error);
}

void LocalServices::answer(const Request& request, SvcState state, long code,
                           const std::string& error) {
    if (request.onState)
        request.onState(state, error);
    if (request.onCode)
        request.onCode(code, error);
}

class NoServices : public Services {
public:
    void Query(std::string_view, std::string_view, StateCall done) override {
        if (done)
            done(SvcState::Failed, kText);
    }
    void Start(std::string_view, std::string_view, CodeCall done) override { refuse(done); }
    void Stop(std::string_view, std::string_view, CodeCall done) override { refuse(done); }
    void Control(std::string_view, std::string_view, int) override {}
    bool Busy() const override { return false; }

private:
    static void refuse(const CodeCall& done) {
        if (done)
            done(NotReachable, kText);
    }
    static constexpr const char* kText = "Services can't be reached from this program";
};

} // namespace

std::unique_ptr<Services> MakeLocalServices(Events& events, std::string busAddress) {
    return std::make_unique<LocalServices>(events, std::move(busAddress));
}

std::unique_ptr<Services> MakeNoServices() { return std::make_unique<NoServices>(); }

} // namespace kr
