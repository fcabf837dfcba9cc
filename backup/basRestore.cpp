#include "backup/basRestore.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "backup/BackupFile.h"
#include "backup/RecordXml.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basStore.h"
#include "push/basMBL.h"
#include "push/basMPL.h"

namespace kr {

namespace {

constexpr std::string_view kRoot = "lists";
constexpr std::string_view kElement = "list";

/// One kind of list: what the log's lines begin with, and what the boxes call it.
struct RestoreKind {
    std::string_view tag;
    std::string_view caption;
    std::string_view wait;
    std::string_view failed; // before the file's name
    std::string_view messageClass;
    RecordIcons icons;
    RDOFolderPtr (*folder)(AgentSession& session);
};

constexpr RestoreKind kBrowserLists{"RestoreMBL: ",
                                    "Mandatory Browser Channels",
                                    "Restoring Mandatory Browser Channels, please wait...",
                                    "Unable to restore Mandatory Browser Channels from ",
                                    kMblClass,
                                    RecordIcons::Taken,
                                    GetMblFolder};
constexpr RestoreKind kPushLists{"RestoreMPL: ",
                                 "Mandatory Push Lists",
                                 "Restoring Mandatory Push Lists, please wait...",
                                 "Unable to restore Mandatory Push Lists from ",
                                 kMplClass,
                                 RecordIcons::Left,
                                 GetMplFolder};

/// One restore of one file.
class ListRestore {
public:
    ListRestore(AgentSession& session, const std::string& path, const RestoreKind& kind)
        : m_session(session), m_path(path), m_name(ShortName(path)), m_kind(kind) {}

    bool Run();

private:
    bool restore();
    bool isValid(const XmlDocument& document) const;
    std::vector<BackupRecord> read(const XmlDocument& document) const;
    void deleteAll(RDOFolder& folder) const;
    void log(const std::string& text) const { m_session.log(std::string(m_kind.tag) + text); }

    AgentSession& m_session;
    const std::string& m_path;
    std::string m_name;
    const RestoreKind& m_kind;
};

bool ListRestore::Run() {
    const WaitCursor wait(m_session.ui());
    const Log::Burst burst(m_session.log);
    m_session.ui().ShowStatus(m_kind.wait);
    const bool good =
        Trap([&] { return restore(); },
             [&](const Trapped& error) {
                 log("error from " + m_path + ": " + error.text());
                 m_session.ui().MsgBox(std::string(m_kind.failed) + m_name + "!", BoxIcon::Stop);
             });
    m_session.ui().ShowStatus("");
    return good;
}

bool ListRestore::restore() {
    const std::string tag(m_kind.tag);
    const auto document =
        LoadBackupFile(m_session, m_path,
                       {tag + "unable to load XML from ", tag + "no data to restore in ",
                        "Unable to restore from " + m_name + "!"});
    if (!document)
        return false;
    if (!isValid(*document)) {
        const std::string refusal =
            m_name + " is not valid for restoring " + std::string(m_kind.caption);
        log(refusal);
        m_session.ui().MsgBox(refusal, BoxIcon::Exclamation);
        return false;
    }
    const auto records = read(*document);
    const RDOFolderPtr folder = m_kind.folder(m_session);
    if (!folder)
        throw PlatformError(MAPI_E_NOT_FOUND, "The folder can't be opened.");
    deleteAll(*folder);
    const RDOItemsPtr items = folder->Items();
    for (const BackupRecord& record : records) {
        log("adding " + record.subject);
        const RDOMessagePtr message = items->Add(record.messageClass);
        FillMessage(*message, record);
        message->Save();
    }
    return true;
}

bool isOfClass(XmlNode node, std::string_view messageClass) {
    return EqualNoCase(node.Attribute("MessageClass").value_or(""), messageClass);
}

/// Both kinds of list have the same elements, so that only the class tells their files apart. A
/// file without any list is one of an empty folder, and restores to that.
bool ListRestore::isValid(const XmlDocument& document) const {
    const auto nodes = document.FindAll(kElement);
    if (nodes.empty())
        return document.Root().Name() == kRoot;
    return std::ranges::any_of(nodes,
                               [&](XmlNode node) { return isOfClass(node, m_kind.messageClass); });
}

std::vector<BackupRecord> ListRestore::read(const XmlDocument& document) const {
    std::vector<BackupRecord> records;
    RecordReader reader(m_kind.icons);
    for (const XmlNode node : document.FindAll(kElement)) {
        if (isOfClass(node, ""))
            continue; // no message: a property of that name
        records.push_back(reader.Read(node));
        for (const std::string& name : records.back().skipped)
            log(name + " of " + records.back().subject + " can't be restored");
    }
    return records;
}

void ListRestore::deleteAll(RDOFolder& folder) const {
    auto ids = RequireMessageIDs(folder, m_kind.messageClass, "");
    std::ranges::reverse(ids);
    for (const EntryID& id : ids) {
        try {
            m_session.rdo->GetMessageFromID(id, {})->Delete();
        } catch (const PlatformError& error) {
            // somebody else was quicker
            if (error.number() != MAPI_E_NOT_FOUND && error.number() != MAPI_E_OBJECT_DELETED)
                throw;
        }
    }
}

} // namespace

bool RestoreMBL(AgentSession& session, const std::string& path) {
    return ListRestore(session, path, kBrowserLists).Run();
}

bool RestoreMPL(AgentSession& session, const std::string& path) {
    return ListRestore(session, path, kPushLists).Run();
}

} // namespace kr
