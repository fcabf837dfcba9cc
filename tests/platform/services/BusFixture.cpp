#include "tests/platform/services/BusFixture.h"

#include <chrono>

namespace kr {

using namespace std::chrono_literals;

namespace {

/// Unit paths of systemd escape the name; here "." alone needs it.
std::string pathOf(const std::string& unit) {
    std::string path = "/org/freedesktop/systemd1/unit/";
    for (const char c : unit)
        path += c == '.' ? std::string("_2e") : std::string(1, c);
    return path;
}

/// What else KillUnit asks for: " main 9".
std::string signalOf(sd_bus_message* message) {
    const char* who = nullptr;
    int32_t signal = 0;
    if (!sd_bus_message_has_signature(message, "ssi") ||
        sd_bus_message_read(message, "si", &who, &signal) <= 0)
        return {};
    return std::string(" ") + who + " " + std::to_string(signal);
}

} // namespace

BusFixture::BusFixture() { Start(); }

BusFixture::~BusFixture() { Stop(); }

bool BusFixture::Start() {
    m_quit = false;
    m_ready = false;
    if (!m_bus.running() && !m_bus.Start())
        return false;
    m_thread = std::thread([this] { serve(); });
    for (int i = 0; i < 1000 && !m_ready; ++i)
        std::this_thread::sleep_for(10ms);
    return m_ready;
}

void BusFixture::Stop() {
    m_quit = true;
    m_bus.Stop();
    if (m_thread.joinable())
        m_thread.join();
}

void BusFixture::SetUnit(const std::string& unit, const UnitProperties& properties) {
    const std::lock_guard lock(m_mutex);
    m_units[pathOf(unit)] = properties;
}

void BusFixture::FailJobs(const std::string& errorName) {
    const std::lock_guard lock(m_mutex);
    m_jobError = errorName;
}

void BusFixture::Mute(const std::string& member) {
    const std::lock_guard lock(m_mutex);
    m_mute = member;
}

std::vector<std::string> BusFixture::calls() const {
    const std::lock_guard lock(m_mutex);
    return m_calls;
}

void BusFixture::serve() {
    sd_bus* bus = nullptr;
    sd_bus_new(&bus);
    sd_bus_set_address(bus, m_bus.address().c_str());
    sd_bus_set_bus_client(bus, 1);
    if (sd_bus_start(bus) >= 0) {
        sd_bus_add_filter(bus, nullptr, onMessage, this);
        own(bus);
        while (!m_quit) {
            const int result = sd_bus_process(bus, nullptr);
            if (result < 0 || (result == 0 && sd_bus_wait(bus, 20'000) < 0))
                break;
        }
    }
    sd_bus_close_unref(bus);
}

void BusFixture::own(sd_bus* bus) {
    sd_bus_request_name(bus, "org.freedesktop.systemd1", 0);
    if (m_agentWanted) {
        sd_bus_request_name(bus, "org.zandrel.Agent", 0);
        sd_bus_request_name(bus, "org.zandrel.Watchdog", 0);
    }
    m_ready = true;
}

int BusFixture::onMessage(sd_bus_message* message, void* self, sd_bus_error*) {
    if (sd_bus_message_is_method_call(message, nullptr, nullptr) <= 0)
        return 0;
    return static_cast<BusFixture*>(self)->handle(message);
}

int BusFixture::handle(sd_bus_message* message) {
    const std::lock_guard lock(m_mutex);
    const std::string member = sd_bus_message_get_member(message);
    const std::string interface = sd_bus_message_get_interface(message);
    if (member == "Control") {
        uint32_t code = 0;
        if (sd_bus_message_read(message, "u", &code) <= 0)
            return sd_bus_reply_method_errorf(message, SD_BUS_ERROR_INVALID_ARGS, "no code");
        m_calls.push_back("Control " + std::to_string(code) + " " +
                          sd_bus_message_get_path(message) + " " + interface);
        return member == m_mute ? 1 : sd_bus_reply_method_return(message, nullptr);
    }
    if (member == "GetAll")
        return member == m_mute ? 1 : sendProperties(message);
    const char* unit = nullptr;
    if (sd_bus_message_read(message, "s", &unit) <= 0)
        return sd_bus_reply_method_errorf(message, SD_BUS_ERROR_UNKNOWN_METHOD, "unknown");
    m_calls.push_back(member + " " + unit + signalOf(message));
    if (member == m_mute)
        return 1;
    if (member == "LoadUnit")
        return sd_bus_reply_method_return(message, "o", pathOf(unit).c_str());
    return runJob(message, unit);
}

int BusFixture::runJob(sd_bus_message* message, const std::string& unit) {
    if (!m_jobError.empty())
        return sd_bus_reply_method_errorf(message, m_jobError.c_str(), "refused");
    if (!m_units.contains(pathOf(unit)))
        return sd_bus_reply_method_errorf(message, "org.freedesktop.systemd1.NoSuchUnit",
                                          "Unit %s not found.", unit.c_str());
    if (sd_bus_message_has_signature(message, "ssi"))
        return sd_bus_reply_method_return(message, nullptr);
    return sd_bus_reply_method_return(message, "o", "/org/freedesktop/systemd1/job/7");
}

/// As systemd does: wanted properties among others of many types; a unit that isn't there has the
/// LoadState "not-found".
int BusFixture::sendProperties(sd_bus_message* message) {
    const auto found = m_units.find(sd_bus_message_get_path(message));
    const UnitProperties unit = found != m_units.end()
                                    ? found->second
                                    : UnitProperties{"not-found", "inactive", "dead", "running"};
    sd_bus_message* reply = nullptr;
    sd_bus_message_new_method_return(message, &reply);
    sd_bus_message_open_container(reply, 'a', "{sv}");
    sd_bus_message_append(reply, "{sv}", "Names", "as", 2, "a.service", "b.service");
    sd_bus_message_append(reply, "{sv}", "LoadState", "s", unit.load.c_str());
    sd_bus_message_append(reply, "{sv}", "Job", "(uo)", 0u, "/");
    sd_bus_message_append(reply, "{sv}", "ActiveState", "s", unit.active.c_str());
    sd_bus_message_append(reply, "{sv}", "FreezerState", "s", unit.freezer.c_str());
    sd_bus_message_append(reply, "{sv}", "SubState", "s", unit.sub.c_str());
    sd_bus_message_append(reply, "{sv}", "InactiveExitTimestamp", "t", uint64_t(5));
    sd_bus_message_close_container(reply);
    const int result = sd_bus_send(nullptr, reply, nullptr);
    sd_bus_message_unref(reply);
    return result < 0 ? result : 1;
}

} // namespace kr
