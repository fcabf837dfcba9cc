#pragma once

#include <string>
#include <string_view>

/// What every dialog about a connection string needs.
namespace kr {

/// The connection string as it may be shown and logged: the first password as eight "*".
std::string MaskPassword(std::string_view cxnString);
/// Four parts between dots, each of them numeric, whatever their size.
bool LooksLikeIP(std::string_view server);

} // namespace kr
