#include "contacts/basACFChanges.h"

#include "contacts/basACF.h"
#include "contacts/basACFRecord.h"
#include "contacts/basActivation.h"
#include "contacts/basMCL.h"
#include "contacts/basMCLSources.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basStore.h"

namespace kr {

namespace {

/// A source's record and the list on it.
struct Linked {
    RDOMessagePtr acf;
    RDOMessagePtr mcl;
    std::string list; // its name
};

/// The record is missing when it is gone; throws what can't be told.
Linked open(AgentSession& session, const EntryID& id) {
    Linked linked;
    linked.acf = GetMessage(session, id);
    if (!linked.acf)
        linked.acf = OrGone([&] { return session.rdo->GetMessageFromID(id, {}); });
    if (linked.acf)
        linked.mcl = RequireLinkedMCL(session, *linked.acf);
    if (linked.mcl)
        linked.list = linked.mcl->Subject();
    return linked;
}

bool removeConfirmed(AgentSession& session, const std::string& text, const Linked& linked) {
    std::string question =
        "Are you sure you want to remove " + text + " from the list of Alternate Contact Sources?";
    if (linked.mcl)
        question +=
            "\nThe linked Mandatory Contact List '" + linked.list + "' will also be deleted.";
    question += "\n\nThis action cannot be reversed.";
    return session.ui().MsgBox(question, BoxIcon::Question, BoxButtons::OKCancel) == BoxAnswer::OK;
}

/// Gives the list that went along.
EntryID deleteLinked(AgentSession& session, const Linked& linked) {
    const std::string name = linked.acf->Subject();
    session.log("Deleting Alternate Contact Source '" + name + "'");
    linked.acf->Delete();
    if (!linked.mcl)
        return {};
    session.log("Deleting dependent MCL '" + linked.list + "' for " + name);
    return Trap(
        [&] {
            const EntryID list = linked.mcl->ID();
            linked.mcl->Delete();
            return list;
        },
        [&](const Trapped& error) {
            // it has lost its source, and the list of lists will show it so
            session.log("mnuAcfRemove: " + error.text());
            session.ui().MsgBox("Unable to delete the linked Mandatory Contact List '" +
                                    linked.list + "'!\n" + error.description,
                                BoxIcon::Stop);
        });
}

bool activationConfirmed(AgentSession& session, const std::string& name, const Linked& linked,
                         bool activate) {
    std::string question = (activate ? "Activate " : "Inactivate ") + name + "?";
    if (!activate && linked.mcl)
        question +=
            "\nThe linked Mandatory Contact List '" + linked.list + "' will also be inactivated.";
    return session.ui().MsgBox(question, BoxIcon::Question, BoxButtons::YesNo) == BoxAnswer::Yes;
}

bool listWanted(AgentSession& session, const std::string& list) {
    return session.ui().MsgBox("Do you also want to activate the linked Mandatory Contact List '" +
                                   list + "'?",
                               BoxIcon::Question, BoxButtons::YesNo) == BoxAnswer::Yes;
}

void setInactive(RDOMessage& record, bool inactive) {
    SetKey(record, kInactiveKey, inactive);
    record.Save();
}

/// The list follows: off always, on when the person wants it. Gives the list that was switched.
EntryID changeList(AgentSession& session, const Linked& linked, bool activate) {
    if (!linked.mcl)
        return {};
    if (activate && (!RequireKey(*linked.mcl, kInactiveKey).valueOr(false) ||
                     !listWanted(session, linked.list)))
        return {};
    setInactive(*linked.mcl, !activate);
    return linked.mcl->ID();
}

} // namespace

AcfChange RemoveAcf(AgentSession& session, const EntryID& id, const std::string& text) {
    return Trap(
        [&]() -> AcfChange {
            const Linked linked = open(session, id);
            if (!removeConfirmed(session, text, linked))
                return {};
            if (linked.acf)
                return {true, deleteLinked(session, linked)};
            session.log("Deleting Alternate Contact Source node '" + text +
                        "'; unable to find matching ACF message");
            return {true, {}};
        },
        [&](const Trapped& error) {
            session.log("mnuAcfRemove: " + error.text());
            session.ui().MsgBox("Unable to remove " + text + "!\n" + error.description,
                                BoxIcon::Stop);
        });
}

AcfChange ChangeActivationACF(AgentSession& session, const EntryID& id, const std::string& name,
                              bool activate) {
    AcfChange change;
    Trap(
        [&] {
            const Linked linked = open(session, id);
            if (!linked.acf)
                throw PlatformError(MAPI_E_NOT_FOUND, "The record can't be opened.");
            const bool inactive = RequireKey(*linked.acf, kInactiveKey).valueOr(false);
            if (!activationConfirmed(session, name, linked, activate))
                return;
            if (inactive == activate)
                setInactive(*linked.acf, !activate);
            change.done = true;
            change.list = changeList(session, linked, activate);
        },
        [&](const Trapped& error) {
            session.log("ChangeActivationACF error " + error.text());
            session.ui().MsgBox("Errors were encountered " +
                                    std::string(activate ? "activating " : "inactivating ") + name +
                                    "\nSee the KR-Admin.log for details",
                                BoxIcon::Stop);
        });
    return change;
}

bool CanMakeMCL(AgentSession& session, const EntryID& id) {
    return TrapSilently([&] {
        const Linked linked = open(session, id);
        return linked.acf && !linked.mcl;
    });
}

std::optional<MclSource> SourceForMCL(AgentSession& session, const EntryID& id) {
    return Trap(
        [&]() -> std::optional<MclSource> {
            const RDOMessagePtr acf = GetMessage(session, id);
            if (!acf)
                throw PlatformError(MAPI_E_NOT_FOUND, "The record can't be opened.");
            const auto text = [&](std::string_view key) { return RequireKey(*acf, key).text(); };
            MclSource source;
            source.acf = acf->ID();
            source.guid = EnsureAcsGuid(session, *acf, true);
            source.folder = EntryID(Trim(text(kAcfFolderKey)));
            source.mailbox = Trim(text(kAcfMailboxKey));
            source.cxnString = text(kAcfCxnKey);
            source.query = text(kAcfQueryKey);
            return source;
        },
        [&](const Trapped& error) {
            session.log("mnuAcfMakeMCL: " + error.text());
            session.ui().MsgBox("Unable to open the contact source!\n" + error.description,
                                BoxIcon::Stop);
        });
}

} // namespace kr
