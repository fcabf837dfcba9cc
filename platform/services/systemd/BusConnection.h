#pragma once

#include <systemd/sd-bus.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/events/Events.h"
#include "platform/services/ChildProcess.h"
#include "platform/services/systemd/BusPump.h"

namespace kr {

/// A method call's end: the reply, or an error's D-Bus name, errno and text.
struct BusReply {
    sd_bus_message* message = nullptr; // valid during the callback
    std::string errorName;
    int error = 0;
    std::string text;
    bool ok() const { return error == 0; }
};

/// Where a bus is: behind a program's input and output, at an address, or else the system bus.
struct BusPlace {
    std::string address;
    std::vector<std::string> command;
};

/// One connection to a message bus, driven by Events. It connects when first used and anew after it
/// was lost. One call is under way at a time.
class BusConnection {
public:
    BusConnection(Events& events, BusPlace place);
    ~BusConnection();
    BusConnection(const BusConnection&) = delete;
    BusConnection& operator=(const BusConnection&) = delete;

    using Done = std::function<void(const BusReply&)>;
    using Append = std::function<int(sd_bus_message*)>;
    /// Calls a method with the arguments that `append` puts into the message. `done` comes while
    /// events run, never from within Call and never while the bus is being read. Nothing is sent
    /// before the connection is up.
    void Call(const char* destination, std::string path, const char* interface, const char* member,
              Append append, Done done);
    /// Drops the call under way. A program that is still connecting may go on for a while, so that
    /// a slow logon succeeds for the next call; a connection through a program that left a call
    /// without an answer is given up, as its other end may have gone without a word.
    void Abandon();
    bool Ready() const;

private:
    using Clock = std::chrono::steady_clock;
    struct MessageUnref {
        void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
    };
    using Message = std::unique_ptr<sd_bus_message, MessageUnref>;

    int connect();
    int open();
    int openThroughProgram();
    void disconnect();
    void send();
    void onLost(int error);
    void fail(int error);
    void finish(Message message, int error);
    void onProgramEnd(int exitCode);
    static int onReply(sd_bus_message* message, void* self, sd_bus_error*);

    Events& m_events;
    BusPlace m_place;
    std::unique_ptr<ChildProcess> m_program;
    Clock::time_point m_started{};
    sd_bus* m_bus = nullptr;
    sd_bus_slot* m_slot = nullptr;
    std::unique_ptr<BusPump> m_pump;
    std::function<int()> m_pending; // the call that waits for the connection
    Done m_done;
    uint64_t m_call = 0; // number of the call under way; an abandoned one's answer is dropped
    std::shared_ptr<BusConnection*> m_self; // posted calls find out whether we still are
};

} // namespace kr
