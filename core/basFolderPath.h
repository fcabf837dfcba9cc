#pragma once

#include <string>

#include "platform/store/Store.h"

namespace kr {

/// The display path of a folder, which GetRDOFolder takes: "\\Public Folders\All Public
/// Folders\..." or "\\Mailbox - ...\...". Throws as the store does.
std::string FolderPath(const RDOFolder& folder);

} // namespace kr
