#include "platform/store/sqlite/Objects.h"

/// Copying and removing whole messages, row by row.
namespace kr::sqlite {

namespace {

struct Part {
    int64_t id;
    int64_t embedded;
};

std::vector<Part> attachments(StoreFile& file, int64_t message) {
    std::vector<Part> parts;
    Use rows(file.Sql("SELECT id,embedded FROM attach WHERE msg=? ORDER BY n"));
    rows->Bind(1, message);
    while (rows->Step())
        parts.push_back({rows->Integer(0), rows->Integer(1)});
    return parts;
}

void copyAttachments(StoreFile& file, int64_t from, int64_t to) {
    for (const Part& part : attachments(file, from)) {
        const int64_t embedded = part.embedded == 0 ? 0 : CopyMessage(file, part.embedded, 0);
        file.Sql("INSERT INTO attach(msg,n,method,name,size,embedded,props) "
                 "SELECT ?,n,method,name,size,?,props FROM attach WHERE id=?")
            .Bind(1, to)
            .Bind(2, embedded)
            .Bind(3, part.id)
            .Run();
        const int64_t id = sqlite3_last_insert_rowid(file.db());
        file.Sql("INSERT INTO attach_data SELECT ?,data FROM attach_data WHERE id=?")
            .Bind(1, id)
            .Bind(2, part.id)
            .Run();
    }
}

int64_t longKey(StoreFile& file, int64_t owner, uint16_t id) {
    Use row(file.Sql("SELECT value FROM big WHERE owner=? AND tag=?"));
    row->Bind(1, owner).Bind(2, id);
    return IndexKey(row->Step() ? row->Text(0) : std::string_view());
}

/// Entries of the hashed index that a row has, by property id and key.
std::vector<std::pair<uint16_t, int64_t>> indexEntries(StoreFile& file, int64_t id) {
    std::vector<std::pair<uint16_t, int64_t>> entries;
    const int64_t store = file.StoreOfFolder(MessageFolder(id));
    Use row(file.Sql("SELECT subject,body FROM msg WHERE id=?"));
    row->Bind(1, id);
    if (store == 0 || !row->Step())
        return entries;
    entries.emplace_back(PropId(PR_SUBJECT), IndexKey(row->Text(0)));
    PropertyBag bag;
    bag.Load(row->Text(1));
    for (const PropTag tag : bag.Tags()) {
        const PropType type = TypeOf(tag);
        if ((type != PropType::String && type != PropType::Unicode) ||
            !file.IsIndexed(store, PropId(tag)))
            continue;
        const auto* stored = bag.Find(PropId(tag));
        entries.emplace_back(PropId(tag), stored->big ? longKey(file, id, PropId(tag))
                                                      : IndexKey(stored->payload));
    }
    return entries;
}

/// Named properties have other ids in another store: the blob and the long values move over.
void remapNames(StoreFile& file, int64_t id, int64_t fromStore, int64_t toStore) {
    std::map<uint16_t, PropertyBag::Stored> mapped;
    std::vector<std::pair<uint16_t, uint16_t>> bigs;
    PropertyBag bag;
    {
        Use row(file.Sql("SELECT body FROM msg WHERE id=?"));
        row->Bind(1, id);
        if (!row->Step())
            return;
        bag.Load(row->Text(0));
    }
    for (const PropTag tag : bag.Tags()) {
        PropertyBag::Stored stored = *bag.Find(PropId(tag));
        uint16_t now = PropId(tag);
        if (now >= 0x8000) {
            const auto name = file.NameOfId(fromStore, now);
            now = name ? file.NamedId(toStore, *name, true) : uint16_t{0};
        }
        if (now == 0)
            continue;
        if (stored.big)
            bigs.emplace_back(PropId(tag), now);
        stored.tag = MakeTag(now, TypeOf(tag));
        mapped[now] = std::move(stored);
    }
    std::vector<RawProperty> raw;
    for (const auto& [now, stored] : mapped)
        raw.push_back({stored.tag, stored.payload, stored.big, stored.bigLength});
    file.Sql("UPDATE msg SET body=? WHERE id=?").BindBlob(1, WriteBlob(raw)).Bind(2, id).Run();
    // by way of numbers that no property has, as old and new ids can meet
    for (const auto& [old, now] : bigs)
        file.Sql("UPDATE big SET tag=? WHERE owner=? AND tag=?")
            .Bind(1, now + 0x10000)
            .Bind(2, id)
            .Bind(3, old)
            .Run();
    file.Sql("UPDATE big SET tag=tag-65536 WHERE owner=? AND tag>=65536").Bind(1, id).Run();
}

} // namespace

int64_t CopyMessage(StoreFile& file, int64_t from, int64_t folder) {
    const int64_t cn = file.LogChange(StoreChange::New, 0, folder);
    const int64_t to = folder << kFolderShift | cn;
    const int64_t now = NowTicks();
    file.Sql("INSERT INTO msg(id,cn,flags,class,ctime,mtime,subject,body) "
             "SELECT ?1,?2,flags,class,?3,?3,subject,body FROM msg WHERE id=?4")
        .Bind(1, to)
        .Bind(2, cn)
        .Bind(3, now)
        .Bind(4, from)
        .Run();
    file.Sql("UPDATE change SET object=? WHERE cn=?").Bind(1, to).Bind(2, cn).Run();
    file.Sql("INSERT INTO big SELECT ?,tag,value FROM big WHERE owner=?")
        .Bind(1, to)
        .Bind(2, from)
        .Run();
    file.Sql("INSERT INTO recipient SELECT ?,n,type,name,addrtype,address,eid FROM recipient "
             "WHERE msg=?")
        .Bind(1, to)
        .Bind(2, from)
        .Run();
    const int64_t fromStore = file.StoreOfFolder(MessageFolder(from));
    const int64_t toStore = file.StoreOfFolder(folder);
    if (fromStore != 0 && toStore != 0 && fromStore != toStore)
        remapNames(file, to, fromStore, toStore);
    for (const auto& [tag, key] : indexEntries(file, to)) // embedded messages have none
        file.Sql("INSERT OR IGNORE INTO pidx VALUES(?,?,?,?)")
            .Bind(1, folder << 1)
            .Bind(2, tag)
            .Bind(3, key)
            .Bind(4, to)
            .Run();
    copyAttachments(file, from, to);
    return to;
}

void DeleteMessage(StoreFile& file, int64_t id) {
    for (const Part& part : attachments(file, id)) {
        file.Sql("DELETE FROM attach_data WHERE id=?").Bind(1, part.id).Run();
        if (part.embedded != 0)
            DeleteMessage(file, part.embedded);
    }
    for (const auto& [tag, key] : indexEntries(file, id))
        file.Sql("DELETE FROM pidx WHERE folder=? AND tag=? AND key=? AND msg=?")
            .Bind(1, MessageFolder(id) << 1 | ((id & kAssociatedBit) ? 1 : 0))
            .Bind(2, tag)
            .Bind(3, key)
            .Bind(4, id)
            .Run();
    for (const char* sql : {"DELETE FROM attach WHERE msg=?", "DELETE FROM recipient WHERE msg=?",
                            "DELETE FROM big WHERE owner=?", "DELETE FROM msg WHERE id=?"})
        file.Sql(sql).Bind(1, id).Run();
    file.LogChange(StoreChange::Deleted, id, MessageFolder(id));
}

} // namespace kr::sqlite
