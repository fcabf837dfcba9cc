#pragma once

namespace kr {

class Console;

/// Registers the kinds of the fixed nodes that only group others, of the report's node, and of
/// users; the commands on users with them.
void RegisterFixedKinds(Console& console);

} // namespace kr
