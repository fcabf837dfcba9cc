#include "core/basCxnString.h"

#include <algorithm>

#include "core/Text.h"
#include "core/basText.h"

namespace kr {

namespace {

constexpr std::string_view kHiddenPassword = "********";

} // namespace

std::string MaskPassword(std::string_view cxnString) {
    const size_t word = FindNoCase(cxnString, "Password");
    if (word == std::string_view::npos)
        return std::string(cxnString);
    const size_t equals = cxnString.find('=', word);
    const size_t begin = equals == std::string_view::npos ? 0 : equals + 1;
    const size_t end = cxnString.find(';', std::max(begin, word));
    // deliberately nothing at all when no ";" closes the password: better than showing it
    if (end == std::string_view::npos)
        return {};
    return std::string(cxnString.substr(0, begin)) + std::string(kHiddenPassword) +
           std::string(cxnString.substr(end));
}

bool LooksLikeIP(std::string_view server) {
    const auto parts = Split(server, ".");
    return parts.size() == 4 && std::ranges::all_of(parts, IsNumeric);
}

} // namespace kr
