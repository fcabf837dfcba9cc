#pragma once

#include <map>
#include <optional>
#include <string>

#include "platform/store/sqlite/Objects.h"
#include "platform/store/sqlite/PropertyBag.h"

/// Messages as rows: reading, writing, copying and removing them whole. Whatever writes runs within
/// StoreFile::Write.
namespace kr::sqlite {

// PR_MESSAGE_FLAGS ([MS-OXCMSG] 2.2.1.6), kept in the lower 16 bits of the row's flags.
constexpr int64_t kFlagRead = 1, kFlagUnmodified = 2, kFlagUnsent = 8, kFlagHasAttach = 0x10,
                  kFlagFromMe = 0x20, kFlagAssociated = 0x40;
constexpr int64_t kMessageFlags = 0xFFFF;
/// Some values of the row stand in `big`.
constexpr int64_t kFlagLongValues = 0x10000;

struct MessageRow {
    int64_t id = 0;
    int64_t flags = 0;
    std::string messageClass;
    int64_t created = 0;
    int64_t modified = 0;
    std::optional<std::string> subject;
    std::string body;
    std::map<uint16_t, std::string> longValues;
};

/// Nothing when the row is gone.
std::optional<MessageRow> ReadMessage(StoreFile& file, int64_t id);

/// Values that leave the blob for `big`, or come back from there.
void WriteLongValues(StoreFile& file, int64_t message, std::string_view blobBefore,
                     const std::vector<PropertyChange>& changes);
bool HasLongValues(std::string_view blob);

/// The copy of a message with all that belongs to it, in another folder (0 for embedded ones);
/// gives its row id. Named properties get the ids of the other store.
int64_t CopyMessage(SessionState& session, int64_t from, const StoreRow& fromStore, int64_t folder,
                    const StoreRow& toStore);
/// Removes a message with all that belongs to it; false when it was gone already.
bool DeleteMessage(SessionState& session, const StoreRow& store, int64_t id);

} // namespace kr::sqlite
