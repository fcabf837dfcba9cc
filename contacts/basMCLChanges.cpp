#include "contacts/basMCLChanges.h"

#include <algorithm>
#include <set>

#include "contacts/basActivation.h"
#include "contacts/basMCL.h"
#include "core/Trap.h"
#include "core/basStore.h"

namespace kr {

namespace {

std::string deleteQuestion(const std::vector<SelectedMcl>& lists) {
    std::string question = lists.size() == 1
                               ? "Are you sure you want to delete this Mandatory Contact List"
                               : "Are you sure you want to delete these " +
                                     std::to_string(lists.size()) + " Mandatory Contact Lists";
    for (const SelectedMcl& list : lists)
        question += "\n  " + list.name;
    return question;
}

/// True when the list is gone.
bool deleteOne(AgentSession& session, const SelectedMcl& list) {
    return Trap(
        [&] {
            const RDOMessagePtr message = GetMessage(session, list.id);
            if (!message) {
                session.ui().MsgBox("Error! Unable to access MCL message to perform delete!",
                                    BoxIcon::Stop);
                return false;
            }
            message->Delete();
            return true;
        },
        [&](const Trapped& error) {
            session.log("mnuMclDelete: " + list.name + " " + error.text());
            session.ui().MsgBox("Error during delete: " + error.description, BoxIcon::Stop);
        });
}

RDOMessagePtr sourceOf(AgentSession& session, const SelectedMcl& list) {
    const RDOMessagePtr message = GetMessage(session, list.id);
    return message ? GetMclSource(session, *message) : nullptr;
}

/// Sources of the lists that are switched off themselves, each once.
size_t inactiveSources(AgentSession& session, const std::vector<SelectedMcl>& lists) {
    std::set<EntryID> found;
    for (const SelectedMcl& list : lists)
        Trap(
            [&] {
                const RDOMessagePtr source = list.linked ? sourceOf(session, list) : nullptr;
                if (source && KeyFlag(*source, kInactiveKey))
                    found.insert(source->ID());
            },
            [&](const Trapped& error) {
                session.log("ChangeActivationMCL: " + list.name + " " + error.text());
            });
    return found.size();
}

std::string activationQuestion(const std::vector<SelectedMcl>& lists, bool activate,
                               size_t sources) {
    std::string question = activate ? "Activate " : "Inactivate ";
    if (lists.size() == 1)
        question += lists.front().name + "?";
    else
        question += "these " + std::to_string(lists.size()) + " Mandatory Contact Lists?";
    if (sources == 1)
        question += "\nThe parent Alternate Contact Source will also be activated.";
    else if (sources > 1)
        question += "\nThe parent Alternate Contact Sources will also be activated.";
    return question;
}

/// Switches one list, and to switch it on its source as well; throws what keeps it from that.
class Switch {
public:
    Switch(AgentSession& session, bool activate) : m_session(session), m_activate(activate) {}

    void Run(const SelectedMcl& list, MclActivation& done) {
        const RDOMessagePtr message = GetMessage(m_session, list.id);
        if (!message)
            throw PlatformError(MAPI_E_NOT_FOUND, "The list can't be opened.");
        if (m_activate && list.linked)
            activateSource(*message, list.name, done);
        SetKey(*message, kInactiveKey, !m_activate);
        message->Save();
        done.lists.push_back(list.id);
    }

private:
    void activateSource(RDOMessage& list, const std::string& name, MclActivation& done) {
        const RDOMessagePtr source = GetMclSource(m_session, list);
        if (!source) {
            m_session.log("failed to active parent ACF for MCL " + name);
            throw PlatformError(MAPI_E_NOT_FOUND, "The list has lost its contact source.");
        }
        if (!RequireKey(*source, kInactiveKey).valueOr(false))
            return;
        const EntryID id = source->ID();
        SetKey(*source, kInactiveKey, false);
        source->Save();
        done.sources.push_back(id);
    }

    AgentSession& m_session;
    bool m_activate;
};

} // namespace

std::vector<EntryID> DeleteMCLs(AgentSession& session, const std::vector<SelectedMcl>& lists) {
    if (lists.empty() || session.ui().MsgBox(deleteQuestion(lists), BoxIcon::Question,
                                             BoxButtons::OKCancel) != BoxAnswer::OK)
        return {};
    const WaitCursor wait(session.ui());
    session.ui().ShowStatus("Deleting mandatory contact lists, please wait...");
    std::vector<EntryID> gone;
    for (const SelectedMcl& list : lists) {
        if (deleteOne(session, list))
            gone.push_back(list.id);
        session.ui().DoEvents();
    }
    return gone;
}

MclActivation ChangeActivationMCL(AgentSession& session, const std::vector<SelectedMcl>& lists,
                                  bool activate) {
    std::vector<SelectedMcl> wanted;
    std::ranges::copy_if(lists, std::back_inserter(wanted),
                         [&](const SelectedMcl& list) { return list.inactive == activate; });
    if (wanted.empty()) {
        // deliberately with this spelling
        session.ui().MsgBox(activate ? "Selected lists are all currrently active"
                                     : "Selected lists are all currently inactive",
                            BoxIcon::Information);
        return {};
    }
    const size_t sources = activate ? inactiveSources(session, wanted) : 0;
    if (session.ui().MsgBox(activationQuestion(wanted, activate, sources), BoxIcon::Question,
                            BoxButtons::YesNo) != BoxAnswer::Yes)
        return {};
    const WaitCursor wait(session.ui());
    const std::string verb = activate ? "activating" : "inactivating";
    Switch change(session, activate);
    MclActivation done;
    size_t errors = 0;
    for (const SelectedMcl& list : wanted) {
        Trap([&] { change.Run(list, done); },
             [&](const Trapped& error) {
                 ++errors;
                 session.log(verb + " error " + std::to_string(error.number) + " MCL " + list.name +
                             ":" + error.description);
             });
        session.ui().DoEvents();
    }
    if (errors > 0)
        session.ui().MsgBox("Errors were encountered " + verb + " " + std::to_string(errors) +
                                " lists. See the KR-Admin.log for details",
                            BoxIcon::Exclamation);
    return done;
}

} // namespace kr
