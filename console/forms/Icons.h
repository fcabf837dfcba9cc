#pragma once

#include <QIcon>
#include <string_view>

namespace kr {

/// The pictures under the image names, such as "imgUser". An unknown or empty name gives the
/// folder, and the name of an OwnImage that picture; `dimmed` is that of a ghosted row or node.
const QIcon& IconOf(std::string_view name, bool dimmed = false);
/// True when there is a picture of that name.
bool HasIcon(std::string_view name);

} // namespace kr
