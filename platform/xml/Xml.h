#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct _xmlNode;

/// Small XML documents as a tree. Text is UTF-8. Input is hostile until parsed: no document type,
/// no external entity, no network; depth and size have limits.
namespace kr {

/// The text can be an element's name, without a prefix: AddChild doesn't look.
bool IsXmlName(std::string_view text);

/// A node of a document; it stays valid while its document lives and the node isn't removed.
class XmlNode {
public:
    XmlNode() = default;
    explicit XmlNode(_xmlNode* node) : m_node(node) {}
    explicit operator bool() const { return m_node != nullptr; }
    bool operator==(const XmlNode&) const = default;

    /// Without a prefix.
    std::string Name() const;
    /// All text within.
    std::string Text() const;
    void SetText(std::string_view text);
    /// Nothing when the attribute isn't there.
    std::optional<std::string> Attribute(std::string_view name) const;
    /// Characters that XML can't hold are left out.
    void SetAttribute(std::string_view name, std::string_view value);
    /// A new last child.
    XmlNode AddChild(std::string_view name);
    /// The child elements in their order.
    std::vector<XmlNode> Children() const;
    /// The first child element of that name.
    XmlNode Child(std::string_view name) const;
    XmlNode Parent() const;
    /// Takes the node with all below it out of the document.
    void Remove();

private:
    _xmlNode* m_node = nullptr;
};

class XmlDocument {
public:
    static constexpr size_t kLongest = 64 << 20;

    /// A document with an empty root element.
    explicit XmlDocument(std::string_view root);
    /// Nothing, with the parser's reason, for what is no XML, has a document type, or is longer
    /// than `longest` bytes.
    static std::optional<XmlDocument> Parse(std::string_view text, std::string* reason = nullptr,
                                            size_t longest = kLongest);
    ~XmlDocument();
    XmlDocument(XmlDocument&&) noexcept;
    XmlDocument& operator=(XmlDocument&&) noexcept;

    XmlNode Root() const;
    /// The first element of that name, in the order of the document: //name.
    XmlNode Find(std::string_view name) const;
    /// The first one with that attribute: //name[@attribute='value'].
    XmlNode Find(std::string_view name, std::string_view attribute, std::string_view value) const;
    std::vector<XmlNode> FindAll(std::string_view name) const;
    /// `<?xml version="1.0"?>`, a line break, and the root without any spacing.
    std::string Save() const;

private:
    friend class XmlSchema;
    struct Tree;
    explicit XmlDocument(std::unique_ptr<Tree> tree);
    std::unique_ptr<Tree> m_tree;
};

/// Checks documents against an XML Schema.
class XmlSchema {
public:
    /// Nothing, with the reason, for what is no schema.
    static std::optional<XmlSchema> Parse(std::string_view text, std::string* reason = nullptr);
    ~XmlSchema();
    XmlSchema(XmlSchema&&) noexcept;
    XmlSchema& operator=(XmlSchema&&) noexcept;
    /// "" for a document that fits, else the first reason against it.
    std::string Check(const XmlDocument& document) const;

private:
    struct Compiled;
    explicit XmlSchema(std::unique_ptr<Compiled> compiled);
    std::unique_ptr<Compiled> m_compiled;
};

} // namespace kr
