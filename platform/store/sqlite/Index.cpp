#include "platform/store/sqlite/Index.h"

#include <algorithm>
#include <iterator>

#include "core/Text.h"
#include "platform/store/sqlite/Schema.h"

namespace kr::sqlite {

namespace {

constexpr uint64_t kHashStart = 0xCBF29CE484222325, kHashPrime = 0x100000001B3; // FNV-1a, 64 bits

int64_t hash(std::string_view bytes, uint64_t state) {
    for (const char c : bytes)
        state = (state ^ static_cast<uint8_t>(c)) * kHashPrime;
    return static_cast<int64_t>(state);
}

bool indexable(PropType type) { return type != PropType::StringList; }

int64_t metaNumber(StoreFile& file, const char* name) {
    return file.Number(0, "SELECT value FROM meta WHERE name=?", name);
}

} // namespace

int64_t IndexKey(PropType type, std::string_view payload) {
    if (type == PropType::String)
        return hash(Fold(payload), kHashStart);
    return hash(payload, kHashStart ^ static_cast<uint64_t>(type));
}

std::vector<IndexEntry> IndexEntriesOf(StoreFile& file, int64_t store, int64_t message) {
    std::vector<IndexEntry> entries;
    std::vector<RawProperty> longOnes;
    {
        Use row = file.Query("SELECT subject,body FROM msg WHERE id=?", message);
        if (!row->Step())
            return entries;
        if (!row->Null(0))
            entries.push_back({PropId(PR_SUBJECT), IndexKey(PropType::String, row->Text(0))});
        const std::string body(row->Text(1));
        BlobReader reader(body);
        for (RawProperty property; reader.Next(property);) {
            const uint16_t id = PropId(property.tag);
            if (!indexable(TypeOf(property.tag)) || !file.names().IsIndexed(store, id))
                continue;
            if (property.isLong)
                longOnes.push_back(property);
            else
                entries.push_back({id, IndexKey(TypeOf(property.tag), property.payload)});
        }
    }
    for (const RawProperty& property : longOnes) {
        Use row = file.Query("SELECT value FROM big WHERE owner=? AND tag=?", message,
                             PropId(property.tag));
        if (row->Step())
            entries.push_back({PropId(property.tag), IndexKey(TypeOf(property.tag), row->Text(0))});
    }
    std::ranges::sort(entries);
    return entries;
}

void UpdateIndex(StoreFile& file, int64_t message, const std::vector<IndexEntry>& before,
                 const std::vector<IndexEntry>& after) {
    const int64_t folder = MessageFolder(message);
    if (folder == 0)
        return; // nobody searches embedded messages
    std::vector<IndexEntry> gone, added;
    std::ranges::set_difference(before, after, std::back_inserter(gone));
    std::ranges::set_difference(after, before, std::back_inserter(added));
    for (const IndexEntry& entry : gone)
        file.Run("DELETE FROM pidx WHERE folder=? AND tag=? AND key=? AND msg=?", folder, entry.id,
                 entry.key, message);
    for (const IndexEntry& entry : added)
        file.Run("INSERT OR IGNORE INTO pidx(folder,tag,key,msg) VALUES(?,?,?,?)", folder, entry.id,
                 entry.key, message);
}

bool IndexIsCurrent(StoreFile& file) {
    return metaNumber(file, "fold") == kFoldVersion && metaNumber(file, "index") == kIndexVersion;
}

void RebuildIndex(StoreFile& file) {
    file.Write([&] {
        if (IndexIsCurrent(file)) // another program has done it
            return;
        std::vector<int64_t> messages;
        {
            Use rows = file.Query("SELECT id FROM msg");
            while (rows->Step())
                messages.push_back(rows->Integer(0));
        }
        file.Run("DELETE FROM pidx");
        for (const int64_t message : messages)
            if (const StoreRef store = file.StoreOfFolder(MessageFolder(message)))
                UpdateIndex(file, message, {}, IndexEntriesOf(file, store->id, message));
        file.Run("UPDATE meta SET value=? WHERE name='fold'", kFoldVersion);
        file.Run("UPDATE meta SET value=? WHERE name='index'", kIndexVersion);
    });
}

} // namespace kr::sqlite
