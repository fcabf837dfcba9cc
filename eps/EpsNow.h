#pragma once

#include <optional>
#include <string>

#include "core/AgentSession.h"

namespace kr {

/// The one-off settings of an on-demand run: what frmEPSNow and frmEPSAdvanced show, and keys of
/// the host message of the server that is to run.
struct EpsNow {
    bool useCachedData = false;
    bool fullUpdate = false;
    std::optional<bool> removeObsolete; // nothing: no override
    std::optional<bool> sendUpdates;    // likewise
    bool useTargetList = false;
    std::string targetList; // addresses, ";"-separated
    std::string targetNames;
    bool sendSummary = true;
    bool mergeEmailDupes = false;
    bool reportOnly = false;
    bool reportToAdmin = false;
    bool reportToUser = false;

    bool operator==(const EpsNow&) const = default;

    /// Reads what the last special run left; false, with a box, when the record can't be opened.
    bool Load(AgentSession& session, const EntryID& host);
    /// Writes all keys in one Save; false, with a box, when it failed.
    bool Save(AgentSession& session, const EntryID& host) const;
    /// The run is for some mailboxes only, and none is chosen.
    bool LacksTargets() const;
};

/// What frmEPSNow's "Run Now" came to.
struct EpsNowResult {
    int code = 0;           // of the run; 0: the dialog stays
    bool toTargets = false; // the focus goes to cmdTarget
};
/// A plain run writes nothing: what an earlier special run left stays, and the code tells the agent
/// not to use it. A special one is checked and saved first.
EpsNowResult RunEpsNow(AgentSession& session, const EntryID& host, bool special,
                       const EpsNow& settings);

} // namespace kr
