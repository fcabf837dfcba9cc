#include "platform/services/systemd/SystemdLink.h"

#include <signal.h>

#include <utility>

#include "core/Text.h"
#include "platform/services/systemd/UnitState.h"

namespace kr {

namespace {

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

long codeOf(const BusReply& reply) {
    if (reply.ok())
        return 0;
    // without a D-Bus name it was our own end that failed
    if (reply.errorName.empty() || reply.errorName == SD_BUS_ERROR_NO_REPLY)
        return ServiceNotReachable;
    if (reply.errorName == "org.freedesktop.systemd1.NoSuchUnit" ||
        reply.errorName == "org.freedesktop.systemd1.LoadFailed")
        return ServiceUnknown;
    if (reply.errorName == SD_BUS_ERROR_ACCESS_DENIED ||
        reply.errorName == SD_BUS_ERROR_INTERACTIVE_AUTHORIZATION_REQUIRED)
        return ServiceDenied;
    return reply.error;
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

class SystemdLink : public ServiceLink {
public:
    SystemdLink(Events& events, BusPlace place, std::string computer)
        : m_events(events), m_bus(events, std::move(place)), m_computer(std::move(computer)),
          m_alive(std::make_shared<int>(0)) {}

    void Begin(const ServiceRequest& request, Done done) override;
    void Abandon() override {
        ++m_number;
        m_done = nullptr;
        m_bus.Abandon();
    }
    bool Connected() const override { return m_bus.Ready(); }

private:
    void query(const std::string& unit);
    void readState(const char* unitPath);
    void job(const char* member, const std::string& unit);
    void endProcess(const std::string& unit);
    void control(const std::string& service, uint32_t code);
    void call(const char* path, const char* interface, const char* member,
              BusConnection::Append append, BusConnection::Done done) {
        m_bus.Call(kManager, path, interface, member, std::move(append), std::move(done));
    }
    void finish(const ServiceAnswer& answer);
    ServiceAnswer answerOf(const BusReply& reply) const;

    Events& m_events;
    BusConnection m_bus;
    std::string m_computer;
    Done m_done;
    uint64_t m_number = 0; // of the request under way
    std::shared_ptr<int> m_alive;
};

void SystemdLink::Begin(const ServiceRequest& request, Done done) {
    ++m_number;
    m_done = std::move(done);
    const std::string unit = unitOf(request.service);
    switch (request.kind) {
    case ServiceRequest::Kind::Query:
        query(unit);
        break;
    case ServiceRequest::Kind::Start:
        job("StartUnit", unit);
        break;
    case ServiceRequest::Kind::Stop:
        job("StopUnit", unit);
        break;
    case ServiceRequest::Kind::Control:
        control(request.service, request.control);
        break;
    case ServiceRequest::Kind::Kill:
        endProcess(unit);
        break;
    }
}

void SystemdLink::query(const std::string& unit) {
    const auto load = [unit](sd_bus_message* m) {
        return sd_bus_message_append(m, "s", unit.c_str());
    };
    call(kManagerPath, kManagerInterface, "LoadUnit", load, [this](const BusReply& reply) {
        const char* path = nullptr;
        if (reply.ok() && sd_bus_message_read(reply.message, "o", &path) > 0)
            readState(path);
        else
            finish(answerOf(reply));
    });
}

void SystemdLink::readState(const char* unitPath) {
    const auto interface = [](sd_bus_message* m) {
        return sd_bus_message_append(m, "s", kUnitInterface);
    };
    call(unitPath, kProperties, "GetAll", interface, [this](const BusReply& reply) {
        ServiceAnswer answer = answerOf(reply);
        if (reply.ok()) {
            answer.state = StateOf(readUnit(reply.message));
            if (answer.state == SvcState::Failed)
                answer.error = kNoSuchService;
        }
        finish(answer);
    });
}

void SystemdLink::job(const char* member, const std::string& unit) {
    const auto arguments = [unit](sd_bus_message* m) {
        return sd_bus_message_append(m, "ss", unit.c_str(), "replace");
    };
    call(kManagerPath, kManagerInterface, member, arguments,
         [this](const BusReply& reply) { finish(answerOf(reply)); });
}

void SystemdLink::endProcess(const std::string& unit) {
    const auto arguments = [unit](sd_bus_message* m) {
        return sd_bus_message_append(m, "ssi", unit.c_str(), "main", int32_t{SIGKILL});
    };
    call(kManagerPath, kManagerInterface, "KillUnit", arguments, [this](const BusReply& reply) {
        ServiceAnswer answer = answerOf(reply);
        answer.ended = reply.ok();
        finish(answer);
    });
}

/// The reply is asked for and then ignored: a sender who leaves at once may have its call dropped.
void SystemdLink::control(const std::string& service, uint32_t code) {
    const Address* to = addressOf(service);
    if (to == nullptr) {
        m_events.Post([this, weak = std::weak_ptr(m_alive), number = m_number] {
            if (!weak.expired() && m_number == number)
                finish({ServiceUnknown, std::string(kNoSuchService)});
        });
        return;
    }
    const auto arguments = [code](sd_bus_message* m) {
        return sd_bus_message_append(m, "u", code);
    };
    m_bus.Call(to->name, to->path, to->interface, "Control", arguments,
               [this](const BusReply& reply) { finish(answerOf(reply)); });
}

ServiceAnswer SystemdLink::answerOf(const BusReply& reply) const {
    const long code = codeOf(reply);
    if (code == ServiceUnknown)
        return {code, std::string(kNoSuchService)};
    if (code == ServiceNotReachable)
        return {code, "The service manager of " + m_computer + " can't be reached: " + reply.text};
    return {code, reply.text};
}

void SystemdLink::finish(const ServiceAnswer& answer) {
    if (const Done done = std::exchange(m_done, nullptr))
        done(answer);
}

} // namespace

std::unique_ptr<ServiceLink> MakeSystemdLink(Events& events, BusPlace place, std::string computer) {
    return std::make_unique<SystemdLink>(events, std::move(place), std::move(computer));
}

} // namespace kr
