#pragma once

#include "push/PushForms.h"

namespace kr {

class Console;

/// Registers the tree's PIN distribution lists, their members, and the commands that make a contact
/// list one. What "pdlroot" itself lists are the recipients: the kind "pdlrootX" fills them.
void RegisterPdlKinds(Console& console, const PushForms& forms);

} // namespace kr
