#pragma once

#include <string>

#include "core/Value.h"

namespace kr {

/// A value of a database as people read it: "True", "42", "4.1", a date as lists show it, bytes in
/// hex, entries joined by "; "; "" for null.
std::string DbText(const Value& value);

} // namespace kr
