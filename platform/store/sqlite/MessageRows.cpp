#include "platform/store/sqlite/MessageRows.h"

#include <algorithm>

#include "platform/store/sqlite/Index.h"

namespace kr::sqlite {

namespace {

bool readRow(StoreFile& file, MessageRow& row, int64_t& classId) {
    Use found =
        file.Query("SELECT flags,class,ctime,mtime,subject,body FROM msg WHERE id=?", row.id);
    if (!found->Step())
        return false;
    row.flags = found->Integer(0);
    classId = found->Integer(1);
    row.created = found->Integer(2);
    row.modified = found->Integer(3);
    if (!found->Null(4))
        row.subject = found->Text(4);
    row.body = found->Text(5);
    return true;
}

void readLongValues(StoreFile& file, MessageRow& row) {
    Use values = file.Query("SELECT tag,value FROM big WHERE owner=?", row.id);
    while (values->Step())
        row.longValues[static_cast<uint16_t>(values->Integer(0))] = values->Text(1);
}

struct Part {
    int64_t id;
    int64_t embedded;
};

std::vector<Part> attachments(StoreFile& file, int64_t message) {
    std::vector<Part> parts;
    Use rows = file.Query("SELECT id,embedded FROM attach WHERE msg=? ORDER BY n", message);
    while (rows->Step())
        parts.push_back({rows->Integer(0), rows->Integer(1)});
    return parts;
}

void copyAttachments(SessionState& session, int64_t from, const StoreRow& fromStore, int64_t to,
                     const StoreRow& toStore) {
    StoreFile& file = session.file();
    for (const Part& part : attachments(file, from)) {
        const int64_t embedded =
            part.embedded == 0 ? 0 : CopyMessage(session, part.embedded, fromStore, 0, toStore);
        file.Run("INSERT INTO attach(msg,n,method,name,size,embedded,props) "
                 "SELECT ?,n,method,name,size,?,props FROM attach WHERE id=?",
                 to, embedded, part.id);
        file.Run("INSERT INTO attach_data(id,data) SELECT ?,data FROM attach_data WHERE id=?",
                 sqlite3_last_insert_rowid(file.db()), part.id);
    }
}

/// The id in another store of a property of this one; 0 for one without a name.
uint16_t idInStore(StoreFile& file, uint16_t id, const StoreRow& from, const StoreRow& to) {
    if (from.id == to.id || id < 0x8000)
        return id;
    const auto name = file.names().NameOf(from.id, id);
    return name ? file.names().Id(to.id, *name, true) : uint16_t{0};
}

/// A message's properties under the ids of another store.
std::vector<PropertyChange> translated(StoreFile& file, const MessageRow& row, const StoreRow& from,
                                       const StoreRow& to) {
    std::vector<PropertyChange> properties;
    BlobReader reader(row.body);
    for (RawProperty property; reader.Next(property);) {
        const uint16_t id = idInStore(file, PropId(property.tag), from, to);
        if (id == 0)
            continue;
        PropertyChange& added = properties.emplace_back();
        added.tag = MakeTag(id, TypeOf(property.tag));
        added.payload = property.payload;
        if (property.isLong)
            if (const auto value = row.longValues.find(PropId(property.tag));
                value != row.longValues.end())
                added.payload = value->second;
    }
    std::ranges::sort(properties, {}, &PropertyChange::tag);
    return properties;
}

} // namespace

std::optional<MessageRow> ReadMessage(StoreFile& file, int64_t id) {
    MessageRow row;
    row.id = id;
    int64_t classId = 0;
    if (!readRow(file, row, classId))
        return std::nullopt;
    if (row.flags & kFlagLongValues) {
        bool found = true; // both tables as of one moment
        file.Read([&] {
            found = readRow(file, row, classId);
            if (found)
                readLongValues(file, row);
        });
        if (!found)
            return std::nullopt;
    }
    row.messageClass = file.ClassName(classId);
    return row;
}

bool HasLongValues(std::string_view blob) {
    BlobReader reader(blob);
    for (RawProperty property; reader.Next(property);)
        if (property.isLong)
            return true;
    return false;
}

void WriteLongValues(StoreFile& file, int64_t message, std::string_view blobBefore,
                     const std::vector<PropertyChange>& changes) {
    for (const PropertyChange& change : changes) {
        const uint16_t id = PropId(change.tag);
        RawProperty before;
        if (FindProperty(blobBefore, id, before) && before.isLong)
            file.Run("DELETE FROM big WHERE owner=? AND tag=?", message, id);
        if (!change.removed && change.payload.size() > kLongSize)
            file.Run("INSERT INTO big(owner,tag,value) VALUES(?,?,?)", message, id,
                     Blob{change.payload});
    }
}

int64_t CopyMessage(SessionState& session, int64_t from, const StoreRow& fromStore, int64_t folder,
                    const StoreRow& toStore) {
    StoreFile& file = session.file();
    const auto row = ReadMessage(file, from);
    if (!row)
        Refuse(MAPI_E_OBJECT_DELETED, "The message has been deleted.", "RDOMessage");
    const auto properties = translated(file, *row, fromStore, toStore);
    const int64_t id = MessageRowId(folder, folder != 0 && IsAssociated(from), file.NextChange());
    const int64_t cn = session.LogChange(StoreChange::New, id, folder);
    file.Run("INSERT INTO msg(id,cn,flags,class,ctime,mtime,subject,body) VALUES(?,?,?,?,?,?,?,?)",
             id, cn, row->flags, file.ClassId(row->messageClass), row->created, row->modified,
             row->subject, Blob{MergeChanges(kEmptyBlob, properties, true)});
    WriteLongValues(file, id, kEmptyBlob, properties);
    file.Run("INSERT INTO recipient(msg,n,type,name,addrtype,address,eid) "
             "SELECT ?,n,type,name,addrtype,address,eid FROM recipient WHERE msg=?",
             id, from);
    copyAttachments(session, from, fromStore, id, toStore);
    UpdateIndex(file, id, {}, IndexEntriesOf(file, toStore.id, id));
    return id;
}

bool DeleteMessage(SessionState& session, const StoreRow& store, int64_t id) {
    StoreFile& file = session.file();
    const int64_t flags = file.Number(-1, "SELECT flags FROM msg WHERE id=?", id);
    if (flags < 0)
        return false;
    if (flags & kFlagHasAttach)
        for (const Part& part : attachments(file, id)) {
            file.Run("DELETE FROM attach_data WHERE id=?", part.id);
            file.Run("DELETE FROM attach WHERE id=?", part.id);
            if (part.embedded != 0)
                DeleteMessage(session, store, part.embedded);
        }
    UpdateIndex(file, id, IndexEntriesOf(file, store.id, id), {});
    if (flags & kFlagLongValues)
        file.Run("DELETE FROM big WHERE owner=?", id);
    file.Run("DELETE FROM recipient WHERE msg=?", id);
    file.Run("DELETE FROM msg WHERE id=?", id);
    session.LogChange(StoreChange::Deleted, id, MessageFolder(id));
    return true;
}

} // namespace kr::sqlite
