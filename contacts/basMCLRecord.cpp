#include "contacts/basMCLRecord.h"

#include "contacts/basACF.h"
#include "contacts/basExpand.h"
#include "contacts/basMCL.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basStore.h"

namespace kr {

namespace {

constexpr std::string_view kDescriptionKey = "MCL Description";
constexpr std::string_view kPublicFolderKey = "MCL PF";

void tell(AgentSession& session, std::string_view what, const Trapped& error) {
    session.log(std::string(what) + error.text());
    session.ui().MsgBox(std::string(what) + error.description, BoxIcon::Stop);
}

MclRecord read(RDOMessage& message) {
    const auto text = [&](std::string_view key) { return RequireKey(message, key).text(); };
    const auto flag = [&](std::string_view key) { return RequireKey(message, key).valueOr(false); };
    MclRecord record;
    record.name = message.Subject();
    record.description = text(kDescriptionKey);
    record.source = text("MCL Source");
    record.sourceEmail = text("MCL Source Email");
    record.target = text("MCL Target");
    record.targetEmail = text("MCL Target Email");
    if (const Value include = RequireKey(message, "MCL.IncludeDLs"); !include.empty())
        record.includeDLs = include.valueOr(false);
    record.noSmtp = flag("MCL Source No SMTP");
    record.publicFolder = flag(kPublicFolderKey);
    record.sourceFolder = EntryID(Trim(text(kMclFolderKey)));
    record.sourceStore = EntryID(Trim(text("MCL Source StoreID")));
    return record;
}

/// The record itself, or a new one; nullptr without a folder, which the person was told.
RDOMessagePtr openOrAdd(AgentSession& session, const EntryID& id) {
    if (id.empty()) {
        const MclFolder folder = GetMCLFolder(session);
        return folder ? folder.folder->Items()->Add(kMclClass) : nullptr;
    }
    const RDOMessagePtr message = GetMessage(session, id);
    if (!message)
        throw PlatformError(MAPI_E_NOT_FOUND, "The list can't be opened.");
    return message;
}

Value countOf(AgentSession& session, const std::string& addresses) {
    const WaitCursor wait(session.ui());
    return static_cast<int32_t>(CountRecipients(session, addresses));
}

} // namespace

std::optional<MclRecord> ReadMCL(AgentSession& session, const EntryID& id) {
    return Trap(
        [&]() -> std::optional<MclRecord> {
            const RDOMessagePtr message = GetMessage(session, id);
            if (!message)
                throw PlatformError(MAPI_E_NOT_FOUND, "The list can't be opened.");
            return read(*message);
        },
        [&](const Trapped& error) {
            tell(session, "Unable to read the Mandatory Contact List! ", error);
        });
}

void AddSourceKeys(AgentSession& session, MclKeys& keys, const std::string& names,
                   const std::string& addresses) {
    keys.emplace_back("MCL Source", names);
    keys.emplace_back("MCL Source Email", addresses);
    keys.emplace_back("MCL Source Count", countOf(session, addresses));
}

void AddTargetKeys(AgentSession& session, MclKeys& keys, const std::string& names,
                   const std::string& addresses) {
    keys.emplace_back("MCL Target", names);
    keys.emplace_back("MCL Target Email", addresses);
    keys.emplace_back("MCL Target Count", countOf(session, addresses));
}

EntryID SaveMCL(AgentSession& session, const EntryID& id, std::string_view name,
                std::string_view description, const MclKeys& keys) {
    return Trap(
        [&]() -> EntryID {
            const RDOMessagePtr message = openOrAdd(session, id);
            if (!message)
                return {};
            message->SetSubject(name);
            for (const auto& [key, value] : keys)
                SetKey(*message, key, value);
            // an empty description is written only over one that isn't
            if (!description.empty() || !RequireKey(*message, kDescriptionKey).text().empty())
                SetKey(*message, kDescriptionKey, description);
            message->Save();
            return id.empty() ? message->ID() : id;
        },
        [&](const Trapped& error) {
            tell(session, "Unable to save the Mandatory Contact List! ", error);
        });
}

bool HasPublicFolderTarget(AgentSession& session, const EntryID& id) {
    const RDOMessagePtr message = GetMessage(session, id);
    return message && KeyFlag(*message, kPublicFolderKey);
}

std::string CatalogOf(std::string_view cxnString) {
    for (const std::string& part : Split(cxnString, ";"))
        if (ContainsNoCase(part, "Catalog")) {
            const auto pieces = Split(part, "=");
            return pieces.size() > 1 ? Trim(pieces[1]) : std::string();
        }
    return {};
}

} // namespace kr
