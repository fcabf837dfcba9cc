#pragma once

#include <QImage>

#include "core/Value.h"

namespace kr {

/// The picture of a PNG from outside; null, with the reason, for what is none or too large for an
/// icon.
QImage ReadPng(const Bytes& png, QString& reason);

} // namespace kr
