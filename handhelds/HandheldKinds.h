#pragma once

#include <string_view>

#include "handhelds/HandheldForms.h"

namespace kr {

class Console;
struct TreeNode;

/// Registers the kinds, lists and commands of connectors and handheld records.
void RegisterHandheldKinds(Console& console, const HandheldForms& forms);

// its parts, each in the file of its subject
void RegisterConnectorKinds(Console& console, const HandheldForms& forms);
void RegisterBesKinds(Console& console);
void RegisterRegKinds(Console& console, const HandheldForms& forms);
/// The list of the servers of a connector, and of the handhelds of one server.
void LoadBesList(Console& console, const TreeNode& connector);
void LoadBesHandhelds(Console& console, std::string_view besName);

} // namespace kr
