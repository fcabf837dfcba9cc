#include "app/ctl/Commands.h"
#include "app/ctl/Describe.h"
#include "core/Text.h"
#include "platform/store/sqlite/Organisation.h"

namespace kr {

namespace {

using json = nlohmann::ordered_json;

// Writes objects as they come, so that a large store is never held in memory as a whole.
class DumpWriter {
public:
    DumpWriter(std::ostream& out, bool asJson) : m_out(out), m_json(asJson) {
        if (m_json)
            m_out << '[';
    }
    void write(const json& object) {
        if (!m_json) {
            m_out << AsText(object);
            return;
        }
        m_out << (m_first ? "\n" : ",\n")
              << object.dump(-1, ' ', false, json::error_handler_t::replace);
        m_first = false;
    }
    void finish() {
        if (m_json)
            m_out << "\n]\n";
    }

private:
    std::ostream& m_out;
    bool m_json;
    bool m_first = true;
};

void dumpItems(const RDOItemsPtr& items, const std::string& path, bool hidden, DumpWriter& writer) {
    for (int i = 1; i <= items->Count(); ++i)
        writer.write(DescribeMessage(*items->Item(i), path, hidden));
}

void dumpFolder(RDOFolder& folder, const std::string& path, DumpWriter& writer) {
    writer.write(DescribeFolder(folder, path));
    dumpItems(folder.Items(), path, false, writer);
    dumpItems(folder.HiddenItems(), path, true, writer);
    auto folders = folder.Folders();
    for (int i = 1; i <= folders->Count(); ++i) {
        auto below = folders->Item(i);
        dumpFolder(*below, path + "\\" + below->Name(), writer);
    }
}

RDOFolderPtr findFolder(RDOFolderPtr folder, const std::string& path) {
    for (const std::string& name : SplitNonEmpty(ReplaceAll(path, "/", "\\"), "\\")) {
        folder = folder->Folders()->Item(name);
        if (!folder) {
            std::string reason = "there is no folder \"";
            reason.append(name).append("\" in ").append(path);
            throw PlatformError(MAPI_E_NOT_FOUND, reason);
        }
    }
    return folder;
}

std::string shownPath(const std::string& path) {
    return "\\" + Join(SplitNonEmpty(ReplaceAll(path, "/", "\\"), "\\"), "\\");
}

void dumpEntry(RDOSession& session, const EntryID& id, const EntryID& store, DumpWriter& writer) {
    auto message = session.GetMessageFromID(id, store);
    auto folder = message->Parent();
    writer.write(DescribeMessage(*message, folder ? folder->Name() : "",
                                 message->Fields(PR_ASSOCIATED).valueOr(false)));
}

void dumpBook(RDOSession& session, DumpWriter& writer) {
    auto entries = session.GetAddressBook()->GAL()->Entries();
    for (int i = 1; i <= entries->Count(); ++i)
        writer.write(DescribeEntry(*entries->Item(i)));
}

} // namespace

int StoreDump(const Args& args, CtlContext& context) {
    args.atMost(1);
    Organisation org(args.at(0, "FILE"));
    auto session = org.OpenSession(args.option("mailbox").value_or("agentbox"));
    DumpWriter writer(context.out, args.flag("json"));
    const bool isPublic = args.flag("public");
    if (args.flag("book")) {
        dumpBook(*session, writer);
    } else if (const auto id = args.option("entry")) {
        const EntryID store = isPublic ? session->Stores().PublicStore()->ID() : EntryID();
        dumpEntry(*session, EntryID(*id), store, writer);
    } else {
        auto root = isPublic ? session->Stores().AllPublicFolders()
                             : session->Stores().DefaultStore()->RootFolder();
        const std::string path = args.option("folder").value_or("");
        auto folder = findFolder(root, path);
        const std::string start = shownPath(path);
        dumpFolder(*folder, start == "\\" ? "" : start, writer);
    }
    writer.finish();
    return 0;
}

} // namespace kr
