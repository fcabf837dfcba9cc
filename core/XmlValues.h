#pragma once

#include <string>

#include "core/Clock.h"
#include "core/Value.h"

/// Values as the XML of recordsets and of backups has them.
namespace kr {

/// "2026-03-09T16:05:06", the year with four digits.
std::string XmlDateText(Time date);
/// An amount to its last digit, without needless ones: "-12.5".
std::string XmlAmountText(Currency amount);

} // namespace kr
