#pragma once

#include <systemd/sd-bus.h>

#include <functional>
#include <memory>
#include <string>

#include "platform/events/Events.h"

namespace kr {

/// A method call's end: the reply, or an error's D-Bus name, errno and text.
struct BusReply {
    sd_bus_message* message = nullptr; // valid during the callback
    std::string errorName;
    int error = 0;
    std::string text;
    bool ok() const { return error == 0; }
};

/// One connection to a message bus, driven by Events. It connects when first used and anew after it
/// was lost. One call is under way at a time.
class BusConnection {
public:
    BusConnection(Events& events, std::string address);
    ~BusConnection();
    BusConnection(const BusConnection&) = delete;
    BusConnection& operator=(const BusConnection&) = delete;

    using Done = std::function<void(const BusReply&)>;
    /// Calls a method with the arguments that `append` puts into the message. `done` comes while
    /// events run, never from within Call and never while the bus is being read.
    void Call(const char* destination, const char* path, const char* interface, const char* member,
              const std::function<int(sd_bus_message*)>& append, Done done);
    /// Drops the call under way. A connection that isn't up yet goes with it.
    void Abandon();

private:
    struct MessageUnref {
        void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
    };
    using Message = std::unique_ptr<sd_bus_message, MessageUnref>;

    int connect();
    void disconnect();
    void process();
    void rewatch();
    void finish(Message message, int error);
    static int onReply(sd_bus_message* message, void* self, sd_bus_error*);

    Events& m_events;
    std::string m_address;
    sd_bus* m_bus = nullptr;
    sd_bus_slot* m_slot = nullptr;
    Events::Id m_watch = 0;
    Done m_done;
    uint64_t m_call = 0; // number of the call under way; an abandoned one's answer is dropped
    std::shared_ptr<BusConnection*> m_self; // posted calls find out whether we still are
};

} // namespace kr
