#pragma once

#include <nlohmann/json.hpp>

#include "platform/store/Store.h"

namespace kr {

/// Objects of the store as JSON: what `store dump` prints, and what tests compare.

/// {"tag": "0x0037001E", "name": "PR_SUBJECT", "type": "string", "value": ...}; a named property
/// has its own name and "set". Times read as "2026-03-10T09:30:00Z", bytes as hexadecimal text.
nlohmann::ordered_json DescribeProperties(const RDOProperties& object);
/// {"kind": "folder", "path", "id", "class", "items", "hidden"}
nlohmann::ordered_json DescribeFolder(const RDOFolder& folder, const std::string& path);
/// {"kind": "message", "folder", "id", "class", "subject", "hidden", "properties", ...}
nlohmann::ordered_json DescribeMessage(RDOMessage& message, const std::string& path, bool hidden);
/// {"kind": "entry", "id", "name", "type", "displayType", "smtp", "members", "properties"}
nlohmann::ordered_json DescribeEntry(const AddressEntry& entry);

/// The same object as indented text.
std::string AsText(const nlohmann::ordered_json& object);

} // namespace kr
