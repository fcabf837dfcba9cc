#include "push/ChannelDetails.h"

#include "platform/xml/Xml.h"

namespace kr {

namespace {

constexpr std::string_view kDeleteType = "Delete-Channel";

std::string attribute(const XmlNode& node, std::string_view name) {
    return node.Attribute(name).value_or("");
}

DetailNode leaf(std::string text) { return {{}, std::move(text), {}, {}}; }

DetailNode targetNode(const XmlNode& target) {
    const std::string pin = attribute(target, "pin"), email = attribute(target, "email");
    DetailNode node = leaf(pin + (pin.empty() || email.empty() ? "" : " ") + email);
    node.children = {leaf("Last push: " + attribute(target, "date")),
                     leaf("Result: " + attribute(target, "result"))};
    return node;
}

/// Deliberately, deletions stand with the pushes: they are recorded with the type
/// "Browser-Channel-Delete", which the second branch doesn't look for.
DetailNode targetTree(const XmlDocument& document) {
    const auto targets = document.FindAll("target");
    if (targets.empty())
        return leaf("No target data");
    DetailNode pushed = leaf("Push Browser Channel"), deleted = leaf("Delete Channel");
    for (const XmlNode& target : targets)
        if (const auto type = target.Attribute("type"))
            (*type == kDeleteType ? deleted : pushed).children.push_back(targetNode(target));
    DetailNode root{"targets", "Targets", {}, {}};
    for (DetailNode* branch : {&pushed, &deleted})
        if (!branch->children.empty())
            root.children.push_back(std::move(*branch));
    return root;
}

/// An address as the document has it, which is escaped once.
std::string sizedAddress(const XmlNode& node) {
    return attribute(node, "url") + " (" + attribute(node, "bytes") + " bytes)";
}

DetailNode linkNode(const XmlNode& link, int& groups) {
    DetailNode node = leaf(sizedAddress(link));
    DetailNode images{{}, "Images", {}, {}};
    std::vector<DetailNode> links;
    for (const XmlNode& child : link.Children()) {
        if (child.Name() == "image")
            images.children.push_back(leaf(sizedAddress(child)));
        else if (child.Name() == "link")
            links.push_back(linkNode(child, groups));
    }
    if (!images.children.empty()) {
        images.key = "img_" + std::to_string(++groups);
        node.children.push_back(std::move(images));
    }
    for (DetailNode& below : links)
        node.children.push_back(std::move(below));
    return node;
}

DetailNode contentTree(const XmlDocument& document) {
    const XmlNode content = document.Find("content");
    DetailNode root{"content", {}, "imgGlobe", {}};
    int groups = 0;
    if (content)
        for (const XmlNode& child : content.Children())
            if (child.Name() == "link")
                root.children.push_back(linkNode(child, groups));
    if (root.children.empty())
        return leaf("No content data");
    root.text = "Content (" + attribute(content, "kb") + " KB)";
    return root;
}

} // namespace

std::optional<ChannelDetails> ReadChannelDetails(std::string_view body) {
    const auto document = XmlDocument::Parse(body);
    if (!document)
        return std::nullopt;
    return ChannelDetails{targetTree(*document), contentTree(*document)};
}

} // namespace kr
