#pragma once

#include <memory>
#include <string>
#include <vector>

namespace kr::journeys {

/// One run of the real console inside the driver; the destructor takes it down.
class Launched {
public:
    virtual ~Launched() = default;
    /// Runs a procedure that is not behind a menu entry of its own, and gives its result as text:
    /// "pick-folder KIND..." (mail, contacts, notes, tasks, multiple), "export-csv", "export-xml",
    /// "plant-node KEY" (a node that no record stands for).
    virtual std::string Call(const std::vector<std::string>& words) = 0;
};

/// Starts the console as its own main does, with that command line. Returns when the main form has
/// loaded, which a dialog of its start may delay.
std::unique_ptr<Launched> Launch(const std::string& commandLine);

} // namespace kr::journeys
