#pragma once

#include <string>
#include <string_view>

#include "core/Recordset.h"
#include "push/PushContext.h"

/// Pushes browser lists to their handhelds.
namespace kr {

/// Pushes a list now; false when the person stopped it, and nothing is saved then.
bool PushToList(const PushContext& context, RDOMessage& list);
/// Entries of the last list, joined by ";", that no present target has as its PIN.
std::string GetRemovedTargets(const Recordset& targets, std::string_view lastPushList);

} // namespace kr
