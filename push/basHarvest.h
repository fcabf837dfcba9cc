#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "net/WebProgress.h"
#include "net/basWeb.h"
#include "push/PushContent.h"
#include "push/ResultDocument.h"

/// Fetching the pages of a cached channel: breadth-first, under a limit of kilobytes and one of
/// 251 documents.
namespace kr {

/// The session, the window behind the work, and the document that records what was found.
struct HarvestContext {
    AgentSession& session;
    WebProgress& progress;
    ResultDocument& document;
    /// Read once for a whole walk; nullptr: read for each document.
    const ProxySettings* proxy = nullptr;
};

/// One document; nothing when it can't be had, is empty, or is no text.
std::optional<PushContent> FetchContent(const HarvestContext& context, std::string_view url,
                                        bool isRoot, std::string_view parentUrl);
/// A file by its path, or a "file://" URL.
std::optional<PushContent> LoadFileContent(const HarvestContext& context, std::string_view path);
/// Measures the images and gives their total in kilobytes; the request is used for each. Ends
/// early when the person stops it.
double GetImageCount(const HarvestContext& context, WebRequest& request,
                     std::vector<PushContent::Image>& images);
/// The root first, in the order of discovery; empty without a root, with one above the limit, or
/// when the person stopped it.
std::vector<PushContent> GetPushContent(const HarvestContext& context, std::string_view url,
                                        int linkDepth, double maxContentKB);

} // namespace kr
