#pragma once

#include <string>
#include <string_view>

namespace kr {

/// How a Ping ended.
enum class PingOutcome { Answered, NoSuchName, NoSocket, TimedOut, Failed };

struct PingReport {
    PingOutcome outcome = PingOutcome::Answered;
    long status = 0; // errno, with Failed
};

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
    virtual std::string ComputerName() = 0;
    virtual std::string UserName() = 0;
    /// Folder for temporary reports of this person, created with access for nobody else.
    virtual std::string TempFolder() = 0;
    /// Facts for diagnostics: system, release, processor, memory; one a line.
    virtual std::string SystemFacts() = 0;
};

} // namespace kr
