#pragma once

#include "push/PushForms.h"

namespace kr {

class Console;

/// Registers the mandatory push lists of the console, with their commands.
void RegisterMplKinds(Console& console, const PushForms& forms);

} // namespace kr
