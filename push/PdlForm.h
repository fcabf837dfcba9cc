#pragma once

#include <functional>
#include <string>

#include "core/ListModel.h"
#include "push/PdlMembers.h"

/// What frmPDL and frmPdlProps show and write, without their windows.
namespace kr {

enum class PdlProtocol { PIN, SMS, Email };

/// One PIN distribution list: its protocols, its source contacts and its targets.
class PdlForm {
public:
    enum class Outcome { Refused, Unchanged, Failed, Saved };

    /// Opens the record; false, with the reason in the log, when it can't be read.
    bool Load(AgentSession& session, const EntryID& list);
    /// Fills the two lists, which may take its time; `stop` ends it early.
    void LoadLists(AgentSession& session, const PdlStop& stop);

    const std::string& name() const { return m_name; }
    /// The first line of the dialog.
    std::string_view SourceText() const;
    bool IsEnabled(PdlProtocol protocol) const;
    /// Ghosts the source contacts that no enabled protocol reaches.
    void Enable(PdlProtocol protocol, bool enable);

    ListModel sources; // Name, PIN, Mobile, E-mail
    ListModel targets; // Name, E-mail
    // The lines below the lists; instead of the first one, why there are no contacts.
    std::string SourceCount() const;
    std::string TargetCount() const;

    /// Asks, where no protocol is enabled, and writes.
    Outcome Save(AgentSession& session);

private:
    void loadTargets(AgentSession& session, const PdlStop& stop);
    bool reached(const ListRow& row) const;
    void ghost();

    std::string m_name;
    PdlSource m_source = PdlSource::Recipients;
    CMsgPDL m_pdl{nullptr};
    std::string m_failure, m_targetFailure;
    bool m_pinsKnown = true;
    bool m_changed = false;
};

/// The settings of all PIN distribution lists, on the agent message.
struct PdlSettings {
    bool push = false; // EPS.PushPINDL
    std::string url;   // TARN.URL
};
/// Nothing of it, with the reason in the log, when the agent message can't be read.
bool ReadPdlSettings(AgentSession& session, PdlSettings& settings);
/// False, with the reason in the log, when they can't be written. `newUrl`: the address was
/// changed.
bool SavePdlSettings(AgentSession& session, const PdlSettings& settings, bool newUrl);

} // namespace kr
