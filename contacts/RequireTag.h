#pragma once

#include <string>
#include <string_view>

#include "core/basStore.h"

namespace kr {

/// GetPropTag for the columns of a table: throws instead of giving a tag that reads as empty in
/// each row, as if nothing were there.
inline PropTag RequireTag(RDOProperties& object, std::string_view name,
                          PropType type = PropType::String,
                          std::string_view guid = PS_PUBLIC_STRINGS) {
    const PropTag id = object.GetIDsFromNames(guid, name) & 0xFFFF0000;
    if (id == 0)
        throw PlatformError(MAPI_E_NOT_FOUND,
                            "The store gives no id for " + std::string(name) + ".");
    return id | static_cast<PropTag>(type);
}

} // namespace kr
