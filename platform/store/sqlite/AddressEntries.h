#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/store/sqlite/Objects.h"

/// The address book's rows.
namespace kr::sqlite {

/// The entry of that row; throws MAPI_E_NOT_FOUND when it is gone.
AddressEntryPtr OpenEntry(const SessionPtr& session, int64_t id);
/// Rows whose display name, alias or any address is this text, ignoring case.
std::vector<int64_t> ResolveName(StoreFile& file, std::string_view text);
/// Adds the SMTP addresses behind an entry: its own, or those of a list's members, each nested list
/// entered once. Nobody stands behind a query-based list: its query is the directory's.
void CollectAddresses(const AddressEntryPtr& entry, std::set<std::string>& addresses,
                      std::set<EntryID>& seen);

} // namespace kr::sqlite
