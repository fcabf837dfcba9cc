#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "core/AgentSession.h"
#include "core/ListModel.h"

/// The contacts of a folder, as the lists of the repository and of a source show them.
namespace kr {

inline constexpr std::string_view kMasterContactTag = "mastercntct";
inline constexpr std::string_view kAltContactTag = "altcntct";

std::vector<ListColumn> McrColumns();
std::vector<ListColumn> AcfColumns();

struct ContactRows {
    std::vector<ListRow> rows;
    int64_t total = 0;       // contacts of the folder; more than there are rows under Quick Load
    bool duplicates = false; // some address stands in several rows, which are bold
    bool whole() const { return static_cast<int64_t>(rows.size()) >= total; }
};
/// `stop` ends the reading early. Both throw as the store does.
ContactRows ReadMcrContacts(AgentSession& session, RDOFolder& folder,
                            const std::function<bool()>& stop);
ContactRows ReadAcfContacts(AgentSession& session, RDOFolder& folder,
                            const std::function<bool()>& stop);

} // namespace kr
