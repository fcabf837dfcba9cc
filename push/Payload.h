#pragma once

#include <string>
#include <string_view>

#include "core/AgentSession.h"

/// The XML payloads that an application on the handheld listens for.
namespace kr {

/// The namespace of payloads: the machine-wide value PayloadNamespace, else the default.
std::string PayloadNamespace(AgentSession& session);

/// A payload as it was typed: `text` goes out complete, with declaration and root element, when it
/// is valid. The refusal else, and the text stays.
std::string ValidatePayload(std::string_view namespaceUri, std::string& text);

/// The notice that a fresh PIN list packet waits at that URL; `date` is the packet's.
std::string BuildPDLPayload(std::string_view namespaceUri, Time date, std::string_view url,
                            bool textBlast);

} // namespace kr
