#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "contacts/basMCL.h"
#include "core/ListModel.h"

/// The list of the Mandatory Contact Lists.
namespace kr {

// Kinds of lists by the tags of their rows.
inline constexpr std::string_view kMclTag = "mcl";         // recipients
inline constexpr std::string_view kMclAcfTag = "mclacf";   // a contacts folder
inline constexpr std::string_view kMclAcdsTag = "mclacds"; // a data source

/// Under Quick Load the names alone.
std::vector<ListColumn> MclColumns(bool quickLoad);

struct MclListSink {
    std::function<void(ListRow)> add;
    std::function<bool()> stop;
};
/// Gives a row for each list of the folder; why there are none as text. Looking at the lists also
/// mends them: an old link becomes one by ACS.Guid, and a list that has lost its source is switched
/// off for good.
std::string LoadMclRows(AgentSession& session, const MclFolder& folder, const MclListSink& sink);

} // namespace kr
