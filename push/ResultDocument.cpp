#include "push/ResultDocument.h"

#include <array>
#include <cstdio>

#include "core/Trap.h"
#include "core/basDate.h"
#include "core/basText.h"
#include "push/PushContent.h"

namespace kr {

ResultDocument::ResultDocument(XmlDocument xml) : m_xml(std::move(xml)) {
    for (const XmlNode target : m_xml.FindAll("target"))
        if (const auto pin = target.Attribute("pin"))
            m_targets.emplace(*pin, target);
    for (const XmlNode link : m_xml.FindAll("link"))
        if (const auto url = link.Attribute("url"))
            m_links.emplace(*url, link);
}

XmlNode ResultDocument::Target(const std::string& pin) {
    const auto found = m_targets.find(pin);
    return found == m_targets.end() ? XmlNode() : found->second;
}

XmlNode ResultDocument::Link(const std::string& url) {
    const auto found = m_links.find(url);
    return found == m_links.end() ? XmlNode() : found->second;
}

std::optional<ResultDocument> LoadResultDocument(std::string_view body, std::string_view url) {
    auto xml = XmlDocument::Parse(body);
    if (!xml)
        return std::nullopt;
    if (XmlNode content = xml->Find("content")) {
        content.SetAttribute("baseUrl", XmlEscape(url));
        for (XmlNode child : content.Children())
            child.Remove();
    }
    return ResultDocument(std::move(*xml));
}

ResultDocument CreateResultDocument(std::string_view channelId, std::string_view url) {
    XmlDocument xml("channel");
    XmlNode root = xml.Root();
    root.SetAttribute("id", channelId);
    root.AddChild("targets");
    root.AddChild("content").SetAttribute("baseUrl", XmlEscape(url));
    return ResultDocument(std::move(xml));
}

void AppendTarget(AgentSession& session, ResultDocument& document, const std::string& pin,
                  std::string_view email, std::string_view type, Time date,
                  std::string_view result) {
    session.log("AppendTarget:appending result for " + std::string(email));
    Trap(
        [&] {
            XmlNode target = document.Target(pin);
            if (target) {
                session.log("AppendTarget:updating existing node");
            } else {
                XmlNode targets = document.xml().Find("targets");
                if (!targets)
                    return;
                session.log("AppendTarget:creating new node");
                target = targets.AddChild("target");
                document.Added(pin, target);
            }
            target.SetAttribute("pin", pin);
            target.SetAttribute("email", email);
            target.SetAttribute("type", type);
            target.SetAttribute("date", FormatDate(date));
            target.SetAttribute("result", result);
        },
        [&](const Trapped& error) { session.log("AppendTarget:" + error.text()); });
}

void AppendContentLink(AgentSession& session, ResultDocument& document, const PushContent& content,
                       std::string_view parentUrl) {
    // kept: the parent is looked for as it stands, though addresses are stored escaped
    XmlNode parent = document.Link(std::string(parentUrl));
    if (!parent)
        parent = document.xml().Find("content");
    if (!parent) {
        session.log("AppendContentLink:unable to locate parent (" + std::string(parentUrl) +
                    ") or content node for " + content.URL());
        return;
    }
    session.log("AppendContentLink:appending node for " + content.URL());
    XmlNode link = parent.AddChild("link");
    const std::string url = XmlEscape(content.URL());
    link.SetAttribute("url", url);
    document.AddedLink(url, link);
    link.SetAttribute("contentType", content.ContentType);
    link.SetAttribute("bytes", std::to_string(content.Content.size()));
    link.SetAttribute("childLinks", std::to_string(content.ChildLinks().size()));
    for (const PushContent::Image& image : content.ImageLinks)
        AppendImage(link, image.url, image.bytes);
}

void AppendImage(XmlNode link, std::string_view url, int64_t bytes) {
    XmlNode image = link.AddChild("image");
    image.SetAttribute("url", XmlEscape(url));
    image.SetAttribute("bytes", std::to_string(bytes));
}

std::string KilobyteText(double kb) {
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%.15g", kb);
    return text.data();
}

void SetContentSize(ResultDocument& document, double kb) {
    if (XmlNode content = document.xml().Find("content"))
        content.SetAttribute("kb", KilobyteText(kb));
}

void SaveResultDocument(RDOMessage& message, ResultDocument& document) {
    message.SetBody(document.xml().Save());
    message.Save();
}

} // namespace kr
