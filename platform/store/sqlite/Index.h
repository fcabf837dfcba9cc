#pragma once

#include <string_view>
#include <vector>

#include "platform/store/sqlite/Blob.h"
#include "platform/store/sqlite/StoreFile.h"

/// The hashed index over the few properties that are searched for. Rows of different values can
/// meet under one key, so a hit is always compared again. Folding, hash and the list of keys are
/// part of the file's format.
namespace kr::sqlite {

/// One entry of a message.
struct IndexEntry {
    uint16_t id = 0; // of the property
    int64_t key = 0;
    auto operator<=>(const IndexEntry&) const = default;
};

/// The key of a value in its stored form: texts count without their case.
int64_t IndexKey(PropType type, std::string_view payload);

/// The entries that a message has to have, in order.
std::vector<IndexEntry> IndexEntriesOf(StoreFile& file, int64_t store, int64_t message);
/// Removes and adds what differs between two sorted lists of entries.
void UpdateIndex(StoreFile& file, int64_t message, const std::vector<IndexEntry>& before,
                 const std::vector<IndexEntry>& after);

/// False when the file was written under another folding or another list of keys.
bool IndexIsCurrent(StoreFile& file);
/// Writes all entries anew, in one transaction.
void RebuildIndex(StoreFile& file);

} // namespace kr::sqlite
