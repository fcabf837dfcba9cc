#pragma once

#include <array>
#include <string>
#include <vector>

#include "core/AgentSession.h"
#include "hosts/HostRules.h"

namespace kr {

/// The pages of frmHost, in tab order.
enum class HostTab { Configuration, BPE, EPS, SSU, MCC };

/// Where a save was stopped: the person goes on there.
struct HostStop {
    enum class Field { None, EPSLimit, NextRun };
    bool stopped = false;
    std::optional<HostTab> tab; // none: the present one stays
    Field field = Field::None;
    size_t job = 0; // whose next run, with Field::NextRun
};

/// frmHost without any widget: the fields of one host message and what the dialog does with them.
/// The form copies its controls into the fields before it calls and shows them afterwards.
class HostEditor {
public:
    explicit HostEditor(AgentSession& session) : m_session(session) {}

    /// Reads the host message; false, with a box, when it can't be had.
    bool Load(const EntryID& host);
    /// cmdOK and cmdApply. Nothing is written unless dirty. What was written before a stop stays in
    /// the opened message.
    HostStop SaveHost(HostTab current);

    // What a number box and its list of units show
    struct Box {
        int number = 1;
        size_t unit = 1; // place among UnitsOf
    };

    std::string name; // of the server
    std::string version;
    int polling = 60;
    int logLevel = kLogMaximum;
    bool reporting = false;
    bool processMessages = true;
    int watchdog = 5;
    std::array<bool, kJobs> enabled{}; // master boxes
    std::array<Box, kIntervals> boxes{};
    std::array<Time, kJobs> next{}; // local
    bool epsLimited = false;
    bool mccLimited = false;
    bool addFromGAL = false;
    bool processMCL = false;
    std::string besAddress;
    std::string besName;
    std::vector<std::string> servers; // as lstServers shows them
    std::vector<std::string> dsns;

    bool dirty = false;
    bool saved = false; // at least once
    bool watchdogChanged = false;

    /// The limit's boxes take "3;h" when a limit is ticked that has never been set.
    void OfferLimit(size_t index);
    /// The limit was typed or chosen: from now on it is one that is set.
    void TakeLimit(size_t index);

    /// cmdAddServer: asks for a name; true when the entries changed.
    bool AddServer();
    void RemoveServers(const std::vector<size_t>& places);
    bool AddDSN();
    void RemoveDSNs(const std::vector<size_t>& places);
    /// cmdBES: picks the mailbox; true when it changed.
    bool PickBESAgent();

    /// An option of the logging group was chosen; the fields say what is selected afterwards.
    void ChooseLogOption(int option);
    void SetReporting(bool on);
    /// Ctrl+L
    void ToggleCompleteLogging();

    /// The diagnostics report of this computer; "" when the server is another one, or has none.
    const std::string& report() const { return m_report; }
    /// cmdShowLogs
    void ShowLogs();

    const std::string& intervalText(size_t index) const { return m_intervals[index]; }
    const std::string& serverText() const { return m_serverText; }

private:
    void loadGeneral();
    void loadJob(size_t index);
    void loadLimit(size_t index, std::string_view key, bool& limited);
    void setBox(size_t index, std::string_view text);
    Interval boxInterval(size_t index) const;
    void rebuildIntervals();
    HostStop save(HostTab current);
    HostStop writeEPS();
    HostStop writeMCC();
    HostStop writeBPE();
    HostStop writeSSU(HostTab current);
    bool nextInFuture(size_t job);
    void writeJob(size_t job);
    void writeLimit(size_t limit, size_t interval, bool limited, std::string_view key,
                    std::string_view reduced);
    void finish();
    Time now() const;
    void put(std::string_view key, const Value& value);

    AgentSession& m_session;
    RDOMessagePtr m_host;
    std::array<std::string, kIntervals> m_intervals;
    std::string m_serverText;
    std::string m_dsnText;
    std::string m_report;
};

/// Where this computer's diagnostics report of today lies: below the console's own folder, that of
/// its log, else below the folder of the agent's library; "" when there is none.
std::string FindReport(AgentSession& session, std::string_view host);

} // namespace kr
