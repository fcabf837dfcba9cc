#include "tests/agent/BusServer.h"

#include <cstring>
#include <utility>

#include "core/PlatformError.h"

namespace kr {

void CheckBus(int result, const std::string& what) {
    if (result < 0)
        throw PlatformError(-result, what + ": " + std::strerror(-result), "message bus");
}

BusServer::BusServer(Events& events, const std::string& address, std::function<void()> onLost) {
    if (address.empty()) {
        CheckBus(sd_bus_open_system(&m_bus), "The system bus can't be reached");
    } else {
        CheckBus(sd_bus_new(&m_bus), "The bus can't be used");
        CheckBus(sd_bus_set_address(m_bus, address.c_str()), "The bus has no such address");
        CheckBus(sd_bus_set_bus_client(m_bus, 1), "The bus can't be used");
        CheckBus(sd_bus_start(m_bus), "The bus at " + address + " can't be reached");
    }
    m_pump = std::make_unique<BusPump>(events, m_bus,
                                       BusPump::Calls{{}, [onLost = std::move(onLost)](int) {
                                                          if (onLost)
                                                              onLost();
                                                      }});
    m_pump->Rewatch();
}

BusServer::~BusServer() {
    m_pump.reset();
    sd_bus_flush_close_unref(m_bus);
}

void BusServer::Own(const std::string& name) {
    CheckBus(sd_bus_request_name(m_bus, name.c_str(), 0), "The name " + name + " can't be owned");
    Flush();
}

namespace {

int onControl(sd_bus_message* message, void* onCode, sd_bus_error* error) {
    uint32_t code = 0;
    if (const int result = sd_bus_message_read(message, "u", &code); result < 0)
        return result;
    if (!(*static_cast<ControlObject::OnCode*>(onCode))(code))
        return sd_bus_error_setf(error, SD_BUS_ERROR_INVALID_ARGS, "%u is no control code", code);
    return sd_bus_reply_method_return(message, nullptr);
}

const sd_bus_vtable kControlTable[] = {
    SD_BUS_VTABLE_START(0),
    SD_BUS_METHOD("Control", "u", "", onControl, SD_BUS_VTABLE_UNPRIVILEGED),
    SD_BUS_VTABLE_END,
};

} // namespace

ControlObject::ControlObject(BusServer& server, const std::string& path,
                             const std::string& interface, OnCode onCode)
    : m_onCode(std::move(onCode)) {
    CheckBus(sd_bus_add_object_vtable(server.bus(), &m_slot, path.c_str(), interface.c_str(),
                                      kControlTable, &m_onCode),
             "The object " + path + " can't be offered");
}

ControlObject::~ControlObject() { sd_bus_slot_unref(m_slot); }

} // namespace kr
