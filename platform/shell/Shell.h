#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace kr {

/// How a Ping ended.
enum class PingOutcome { Answered, NoSuchName, NoSocket, TimedOut, Failed };

struct PingReport {
    PingOutcome outcome = PingOutcome::Answered;
    long status = 0; // errno, with Failed
};

/// How the host at that place of a list of hosts answered.
using PingDone = std::function<void(size_t place, const PingReport& report)>;

/// What the desktop does for the console.
class Shell {
public:
    virtual ~Shell() = default;
    /// Hands an address to the system's browser or mail program; the result is over 32 when the
    /// desktop took it, as ShellExecute reports.
    virtual int OpenURL(std::string_view url) = 0;
    /// Opens a file with its default application; same result.
    virtual int OpenFile(std::string_view path) = 0;
    /// True when a default application for that kind of file is known, such as "text/csv".
    virtual bool HasViewer(std::string_view mimeType) = 0;
    /// True when the name answers an ICMP echo, or its fallbacks, within 2000 ms.
    virtual bool Ping(std::string_view host) = 0;
    /// How the last Ping ended, for the log.
    virtual PingReport LastPing() const { return {}; }
    /// Pings many hosts at once. `done` hears of each by its place, in any order, from the event
    /// loop; who asks lives until then or guards the call. All have been told of after some 2000
    /// ms, later only where there are more than a hundred silent ones. An implementation that knows
    /// no better pings one after the other before it returns.
    virtual void PingAll(const std::vector<std::string>& hosts, const PingDone& done) {
        for (size_t i = 0; i < hosts.size(); ++i) {
            if (Ping(hosts[i])) {
                done(i, {});
                continue;
            }
            PingReport report = LastPing();
            if (report.outcome == PingOutcome::Answered) // no reason is known
                report.outcome = PingOutcome::TimedOut;
            done(i, report);
        }
    }
    virtual std::string ComputerName() = 0;
    virtual std::string UserName() = 0;
    /// Folder for temporary reports of this person, created with access for nobody else.
    virtual std::string TempFolder() = 0;
    /// Facts for diagnostics: system, release, processor, memory; one a line.
    virtual std::string SystemFacts() = 0;
};

} // namespace kr
