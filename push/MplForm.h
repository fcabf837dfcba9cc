#pragma once

#include <string>

#include "core/AgentSession.h"
#include "push/basMPL.h"

namespace kr {

/// What frmMPL shows and writes, without its window.
class MplForm {
public:
    enum class Focus { None, Name, Payload, Target };
    enum class Outcome { Refused, Unchanged, Failed, Saved };

    std::string name;
    std::string payload;
    std::string names, addresses; // of the targets
    bool changed = false;

    /// Reads a list; false, with the reason told, when it can't be read whole.
    bool Load(AgentSession& session, const EntryID& list);
    /// Completes the payload; false, with the reason told, when it isn't valid.
    bool Validate(AgentSession& session);
    /// The answer to "Validate".
    void TellValid(AgentSession& session);

    /// Checks, tells the refusal, and writes, in the order of the dialog's OK.
    Outcome Save(AgentSession& session, Focus& focus);
    /// Before a push: false, with the refusal told, for a list without a name; else as Save.
    Outcome SaveForPush(AgentSession& session, Focus& focus);
    EntryID id() const { return m_id; }
    /// What a push sends.
    Alert alert() const;

private:
    void write(AgentSession& session, RDOMessage& list) const;

    EntryID m_id;
};

} // namespace kr
