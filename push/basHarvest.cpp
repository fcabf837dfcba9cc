#include "push/basHarvest.h"

#include <filesystem>
#include <fstream>
#include <iterator>

#include "core/Text.h"
#include "core/Trap.h"
#include "net/basWeb.h"

namespace kr {

namespace {

constexpr size_t kMostLinks = 250; // beside the root
constexpr int kOk = 200, kUnauthorized = 401;
constexpr uintmax_t kLongestFile = 64 << 20;

std::string statusOf(const WebRequest& request) {
    return std::to_string(request.Status()) + ":" + request.StatusText();
}

/// Asks anonymously first, and once more with the person's own identity when that is refused.
bool request(AgentSession& session, WebRequest& request, const std::string& url) {
    for (bool first = true;; first = false) {
        if (!WaitForWebResponse(session, request)) {
            session.log("FetchContent:timed out waiting for response from " + url);
            return false;
        }
        if (request.Status() != kUnauthorized || !first)
            break;
        request.SetAutoLogonPolicy(AutoLogonPolicy::Always);
    }
    if (request.Status() == kOk)
        return true;
    session.log("FetchContent:request for " + url + " failed ; received " + statusOf(request));
    return false;
}

/// The type of a response that can be pushed; nothing, with the reason logged, for any other.
std::optional<std::string> contentType(AgentSession& session, const WebRequest& request,
                                       const std::string& url) {
    const size_t size = request.ResponseBody().size();
    if (size == 0) {
        session.log("FetchContent: retrieved 0 bytes from " + url + "; nothing to load");
        return std::nullopt;
    }
    std::string type = request.GetResponseHeader("Content-Type").value_or("");
    session.log("FetchContent: retrieved " + std::to_string(size) + " bytes from " + url +
                " with Content-Type: " + type);
    if (ToLower(type).find("text/") != std::string::npos)
        return type;
    session.log("FetchContent: invalid content type");
    return std::nullopt;
}

/// Reads links and images of a page; false when the person stopped it.
bool readPage(const HarvestContext& context, WebRequest& request, PushContent& content) {
    content.HTML = request.ResponseText();
    content.GetChildLinks("");
    if (context.progress.Cancelled())
        return false;
    content.GetImageLinks("");
    if (context.progress.Cancelled())
        return false;
    if (!content.ImageLinks.empty())
        content.ContentKB += GetImageCount(context, request, content.ImageLinks);
    return !context.progress.Cancelled();
}

/// What the walk has found so far.
struct Walk {
    const HarvestContext& context;
    double maxContentKB;
    std::vector<PushContent> contents;
    std::unordered_set<std::string> visited; // lower case
    double accumulatedKB = 0;
    bool limitReached = false;
    bool maxLinksReached = false;

    bool Fits(const PushContent& content) const {
        return accumulatedKB + content.ContentKB <= maxContentKB;
    }
    void AddChildContent(size_t index);
    bool Level(size_t from, size_t upTo, const std::string& url);
};

/// Fetches the links of one document.
void Walk::AddChildContent(size_t index) {
    AgentSession& session = context.session;
    const std::string parent = contents[index].URL();
    const std::vector<std::string> links = contents[index].ChildLinks(); // the array grows
    if (links.empty()) {
        session.log("AddChildContent: found no child links in " + parent);
        return;
    }
    session.log("AddChildContent: found " + std::to_string(links.size()) + " child links in " +
                parent + "; fetching child content");
    int taken = 0;
    for (size_t j = 0; j < links.size(); ++j) {
        session.ui().DoEvents();
        if (context.progress.Cancelled())
            return;
        if (!visited.insert(ToLower(links[j])).second)
            continue;
        auto content = FetchContent(context, links[j], false, parent);
        if (!content) {
            session.log("AddChildContent: failed to retrieve content from child " +
                        std::to_string(j + 1) + " document of " + parent + " at " + links[j]);
            continue;
        }
        if (!Fits(*content)) {
            session.log("AddChildContent:ending recursion after retrieving " +
                        std::to_string(taken) + " child links for " + parent +
                        "; content from next link would exceed limit of " +
                        KilobyteText(maxContentKB) +
                        " KB; accumulated content = " + KilobyteText(accumulatedKB) + " KB");
            limitReached = true;
            return;
        }
        accumulatedKB += content->ContentKB;
        contents.push_back(std::move(*content));
        ++taken;
        if (contents.size() - 1 == kMostLinks) {
            session.log("AddChildContent:visited maximum number of links (250); ending recursion "
                        "after retrieving 250 child links for " +
                        parent);
            maxLinksReached = true;
            return;
        }
    }
}

/// One level of the walk; false when it was the last one.
bool Walk::Level(size_t from, size_t upTo, const std::string& url) {
    AgentSession& session = context.session;
    for (size_t index = from; index < upTo; ++index) {
        if (context.progress.Cancelled())
            return false;
        AddChildContent(index);
        if (limitReached) {
            session.log("GetPushContent:additional content would exceed specified limit of " +
                        KilobyteText(maxContentKB) +
                        " KB; exiting recursion loop before loading children from child #" +
                        std::to_string(index) + " of " + url);
            return false;
        }
        if (maxLinksReached) {
            session.log("GetPushContent:visited maximum allowable child links; exiting recursion "
                        "loop after loading children from child #" +
                        std::to_string(index) + " of " + url);
            return false;
        }
    }
    return true;
}

std::string pathOfFileUrl(std::string_view url) {
    return std::string(StartsWithNoCase(url, "file://") ? url.substr(7) : url);
}

} // namespace

std::optional<PushContent> FetchContent(const HarvestContext& context, std::string_view url,
                                        bool isRoot, std::string_view parentUrl) {
    AgentSession& session = context.session;
    const std::string address(url);
    session.log("FetchContent:fetching content from " + address);
    context.progress.ShowStep("Requesting " + address);
    if (context.progress.Cancelled())
        return std::nullopt;
    const auto webRequest = CreateWebRequest(session, "GET", url, context.proxy);
    if (!webRequest) {
        session.log("FetchContent:unable to proceed: failed to instantiate WinHttpRequest object");
        return std::nullopt;
    }
    if (!request(session, *webRequest, address) || context.progress.Cancelled())
        return std::nullopt;
    const auto type = contentType(session, *webRequest, address);
    if (!type)
        return std::nullopt;
    session.log("FetchContent: loading content from " + address + " to PushContent object");
    PushContent content;
    content.SetURL(url);
    content.IsRootDocument = isRoot;
    content.Content = webRequest->ResponseBody();
    content.ContentKB = KilobytesOf(content.Content.size());
    content.ContentType = *type;
    content.Headers = Split(webRequest->GetAllResponseHeaders(), "\r\n");
    if (ToLower(*type).find("text/html") != std::string::npos &&
        !readPage(context, *webRequest, content))
        return std::nullopt;
    AppendContentLink(session, context.document, content, parentUrl);
    return content;
}

double GetImageCount(const HarvestContext& context, WebRequest& request,
                     std::vector<PushContent::Image>& images) {
    AgentSession& session = context.session;
    double total = 0;
    for (PushContent::Image& image : images) {
        if (context.progress.Cancelled())
            break;
        const bool came = TrapSilently([&] {
            request.Open("GET", image.url, false);
            return WaitForWebResponse(session, request);
        });
        if (!came) {
            session.log("GetImageCount:failed to retrieve image at " + image.url +
                        "; requestStatus = " + statusOf(request));
        } else if (request.Status() == kOk) {
            image.bytes = static_cast<int64_t>(request.ResponseBody().size());
            total += KilobytesOf(request.ResponseBody().size());
        }
    }
    return total;
}

std::optional<PushContent> LoadFileContent(const HarvestContext& context, std::string_view path) {
    const std::string name = pathOfFileUrl(path);
    std::error_code error; // a pipe or a device has no end
    if (!std::filesystem::is_regular_file(name, error) ||
        std::filesystem::file_size(name, error) > kLongestFile)
        return std::nullopt;
    std::ifstream file(name, std::ios::binary);
    if (!file)
        return std::nullopt;
    PushContent content;
    content.Content.assign(std::istreambuf_iterator<char>(file), {});
    content.ContentKB = KilobytesOf(content.Content.size());
    content.SetURL(path);
    content.ContentType = "text/html";
    AppendContentLink(context.session, context.document, content, "");
    return content;
}

std::vector<PushContent> GetPushContent(const HarvestContext& caller, std::string_view url,
                                        int linkDepth, double maxContentKB) {
    AgentSession& session = caller.session;
    const Log::Burst burst(session.log);
    const bool isFile = IsFileSystemURL(url);
    const ProxySettings proxy = isFile ? ProxySettings() : GetProxySettings(session);
    const HarvestContext context{session, caller.progress, caller.document, &proxy};
    const std::string address(url);
    Walk walk{context, maxContentKB};
    walk.visited.insert(ToLower(url));
    if (isFile && linkDepth > 0) {
        session.log("GetPushContent:recursion not valid for file system URL " + address);
        linkDepth = 0;
    }
    auto root = isFile ? LoadFileContent(context, url) : FetchContent(context, url, true, "");
    if (!root) {
        session.log("GetPushContent: failed to retrieve content from root document at " + address);
        return {};
    }
    if (!walk.Fits(*root)) {
        session.log("GetPushContent:ending recursion; content from " + address + " (" +
                    KilobyteText(root->ContentKB) + ") would exceed limit (" +
                    KilobyteText(maxContentKB) + ")");
        SetContentSize(context.document, walk.accumulatedKB);
        return {};
    }
    if (context.progress.Cancelled())
        return {};
    walk.accumulatedKB += root->ContentKB;
    walk.contents.push_back(std::move(*root));
    size_t from = 0;
    for (int level = 1; level <= linkDepth; ++level) {
        const size_t upTo = walk.contents.size();
        session.log("GetPushContent:loading child links from level " + std::to_string(level) +
                    " of " + address);
        if (!walk.Level(from, upTo, address))
            break;
        from = upTo;
    }
    if (context.progress.Cancelled())
        return {};
    SetContentSize(context.document, walk.accumulatedKB);
    return std::move(walk.contents);
}

} // namespace kr
