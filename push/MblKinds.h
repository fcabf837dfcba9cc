#pragma once

#include "push/PushForms.h"

namespace kr {

class Console;

/// Registers the kinds, lists and commands of browser lists.
void RegisterMblKinds(Console& console, const PushForms& forms);

} // namespace kr
