#pragma once

#include <QLabel>
#include <string>

#include "core/Value.h"

namespace kr {

/// Shows a PNG in the label, smaller where it is too large. "" when that went well, else the
/// reason; the label keeps what it shows then.
std::string ShowPng(QLabel& label, const Bytes& png);

} // namespace kr
