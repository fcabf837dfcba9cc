#pragma once

#include <string>
#include <string_view>

#include "core/EntryID.h"
#include "core/Value.h"

/// Entry ids of addresses, built from their parts ([MS-OXCDATA] 2.2.5).
namespace kr {

/// Two upper-case digits a byte.
std::string ToHex(const Bytes& bytes);
/// Bytes of digit pairs in order; what is no digit counts as 0, a single last digit is left out.
Bytes FromHex(std::string_view text);
/// The id of a directory entry with that distinguished name.
Bytes MakeExEntryID(std::string_view dn);
/// The id of an address that stands in no address book; its type is always "SMTP".
Bytes MakeOneOffEntryID(std::string_view name, std::string_view address);

} // namespace kr
