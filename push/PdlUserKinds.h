#pragma once

#include "push/PushForms.h"

namespace kr {

class Console;

/// Registers the node, rows and commands of the recipients of PIN distribution lists.
void RegisterPdlUserKinds(Console& console, const PushForms& forms);

} // namespace kr
