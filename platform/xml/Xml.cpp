#include "platform/xml/Xml.h"

#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/tree.h>
#include <libxml/xmlIO.h>
#include <libxml/xmlsave.h>
#include <libxml/xmlschemas.h>

#include <algorithm>
#include <functional>
#include <mutex>
#include <utility>

namespace kr {

namespace {

constexpr int kOptions = XML_PARSE_NONET | XML_PARSE_COMPACT | XML_PARSE_NOCDATA;

const xmlChar* chars(const std::string& text) {
    return reinterpret_cast<const xmlChar*>(text.c_str());
}

std::string taken(xmlChar* text) {
    std::string result = text ? reinterpret_cast<const char*>(text) : "";
    xmlFree(text);
    return result;
}

bool named(const xmlNode* node, std::string_view name) {
    return node->type == XML_ELEMENT_NODE && reinterpret_cast<const char*>(node->name) == name;
}

/// Bytes of the character that begins there; 0 for what XML 1.0 can't hold: controls but tab and
/// line breaks, halves of pairs, the two code points that are no characters, and broken UTF-8.
size_t characterAt(const std::string& text, size_t at) {
    if ((static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80U)
        return 0; // the middle of one, which the library would read as a beginning
    int length = static_cast<int>(std::min<size_t>(text.size() - at, 4));
    const int c = xmlGetUTF8Char(chars(text) + at, &length);
    const int shortest = c < 0x80 ? 1 : c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
    return c > 0 && length == shortest && IS_CHAR(static_cast<unsigned>(c))
               ? static_cast<size_t>(length)
               : 0;
}

/// The text without what XML can't hold.
std::string allowed(std::string_view text) {
    const std::string all(text);
    const bool plain = std::ranges::all_of(all, [](char c) { return c >= ' ' && c < 0x7F; });
    if (plain)
        return all;
    std::string result;
    result.reserve(all.size());
    for (size_t at = 0; at < all.size();) {
        const size_t length = characterAt(all, at);
        result.append(all, at, length);
        at += std::max<size_t>(length, 1);
    }
    return result;
}

void silence(void*, xmlErrorPtr) {}

xmlParserInputPtr nothingOutside(const char*, const char*, xmlParserCtxtPtr) { return nullptr; }

/// Once: nothing outside is ever opened, and the library writes no messages.
void prepare() {
    static std::once_flag once;
    std::call_once(once, [] {
        xmlInitParser();
        xmlSetExternalEntityLoader(nothingOutside);
        xmlSetStructuredErrorFunc(nullptr, silence);
    });
}

std::string trimmed(const char* message) {
    std::string text = message ? message : "";
    while (!text.empty() && (text.back() == '\n' || text.back() == ' '))
        text.pop_back();
    return text;
}

/// The next node in the order of the document, within `root`.
xmlNode* following(xmlNode* node, const xmlNode* root) {
    if (node->children && node->type == XML_ELEMENT_NODE)
        return node->children;
    while (node != root && !node->next)
        node = node->parent;
    return node == root ? nullptr : node->next;
}

} // namespace

bool IsXmlName(std::string_view text) {
    const std::string name(text);
    return name.find('\0') == std::string::npos && xmlValidateNCName(chars(name), 0) == 0;
}

// --- Nodes

std::string XmlNode::Name() const { return reinterpret_cast<const char*>(m_node->name); }

std::string XmlNode::Text() const { return taken(xmlNodeGetContent(m_node)); }

void XmlNode::SetText(std::string_view text) {
    while (m_node->children) {
        xmlNode* child = m_node->children;
        xmlUnlinkNode(child);
        xmlFreeNode(child);
    }
    // added as text, so that "&" isn't taken for a reference
    const std::string plain = allowed(text);
    xmlAddChild(m_node, xmlNewTextLen(chars(plain), static_cast<int>(plain.size())));
}

std::optional<std::string> XmlNode::Attribute(std::string_view name) const {
    const std::string key(name);
    if (!xmlHasNsProp(m_node, chars(key), nullptr))
        return std::nullopt;
    return taken(xmlGetNoNsProp(m_node, chars(key)));
}

void XmlNode::SetAttribute(std::string_view name, std::string_view value) {
    xmlSetProp(m_node, chars(std::string(name)), chars(allowed(value)));
}

XmlNode XmlNode::AddChild(std::string_view name) {
    return XmlNode(xmlNewChild(m_node, nullptr, chars(std::string(name)), nullptr));
}

std::vector<XmlNode> XmlNode::Children() const {
    std::vector<XmlNode> found;
    for (xmlNode* child = m_node->children; child; child = child->next)
        if (child->type == XML_ELEMENT_NODE)
            found.emplace_back(child);
    return found;
}

XmlNode XmlNode::Child(std::string_view name) const {
    for (xmlNode* child = m_node->children; child; child = child->next)
        if (named(child, name))
            return XmlNode(child);
    return {};
}

XmlNode XmlNode::Parent() const {
    xmlNode* parent = m_node->parent;
    return parent && parent->type == XML_ELEMENT_NODE ? XmlNode(parent) : XmlNode();
}

void XmlNode::Remove() {
    xmlUnlinkNode(m_node);
    xmlFreeNode(std::exchange(m_node, nullptr));
}

// --- Documents

struct XmlDocument::Tree {
    explicit Tree(xmlDoc* d) : doc(d) {}
    ~Tree() { xmlFreeDoc(doc); }
    Tree(const Tree&) = delete;
    Tree& operator=(const Tree&) = delete;
    xmlDoc* doc;
};

XmlDocument::XmlDocument(std::unique_ptr<Tree> tree) : m_tree(std::move(tree)) {}
XmlDocument::~XmlDocument() = default;
XmlDocument::XmlDocument(XmlDocument&&) noexcept = default;
XmlDocument& XmlDocument::operator=(XmlDocument&&) noexcept = default;

XmlDocument::XmlDocument(std::string_view root)
    : m_tree(std::make_unique<Tree>(xmlNewDoc(chars("1.0")))) {
    prepare();
    xmlDocSetRootElement(m_tree->doc,
                         xmlNewDocNode(m_tree->doc, nullptr, chars(std::string(root)), nullptr));
}

std::optional<XmlDocument> XmlDocument::Parse(std::string_view text, std::string* reason,
                                              size_t longest) {
    prepare();
    const auto refuse = [&](std::string why) {
        if (reason)
            *reason = std::move(why);
        return std::nullopt;
    };
    if (text.size() > longest)
        return refuse("The document is longer than " + std::to_string(longest) + " bytes.");
    if (text.starts_with("\xEF\xBB\xBF"))
        text.remove_prefix(3);
    const std::unique_ptr<xmlParserCtxt, decltype(&xmlFreeParserCtxt)> context(xmlNewParserCtxt(),
                                                                               xmlFreeParserCtxt);
    // the text is UTF-8 in memory, whatever its declaration says
    auto tree = std::make_unique<Tree>(xmlCtxtReadMemory(
        context.get(), text.data(), static_cast<int>(text.size()), nullptr, "UTF-8", kOptions));
    if (!tree->doc || !context->wellFormed) {
        const xmlError* error = xmlCtxtGetLastError(context.get());
        return refuse(error ? trimmed(error->message) : "The document is empty.");
    }
    if (xmlGetIntSubset(tree->doc))
        return refuse("The document has a document type, which is not accepted.");
    if (!xmlDocGetRootElement(tree->doc))
        return refuse("The document has no root element.");
    return XmlDocument(std::move(tree));
}

XmlNode XmlDocument::Root() const { return XmlNode(xmlDocGetRootElement(m_tree->doc)); }

namespace {

/// Walks all elements of that name; stops when `visit` says so.
void walk(xmlDoc* doc, std::string_view name, const std::function<bool(xmlNode*)>& visit) {
    xmlNode* root = xmlDocGetRootElement(doc);
    for (xmlNode* node = root; node; node = following(node, root))
        if (named(node, name) && visit(node))
            return;
}

} // namespace

XmlNode XmlDocument::Find(std::string_view name) const {
    XmlNode found;
    walk(m_tree->doc, name, [&](xmlNode* node) {
        found = XmlNode(node);
        return true;
    });
    return found;
}

XmlNode XmlDocument::Find(std::string_view name, std::string_view attribute,
                          std::string_view value) const {
    XmlNode found;
    walk(m_tree->doc, name, [&](xmlNode* node) {
        if (XmlNode(node).Attribute(attribute) != value)
            return false;
        found = XmlNode(node);
        return true;
    });
    return found;
}

std::vector<XmlNode> XmlDocument::FindAll(std::string_view name) const {
    std::vector<XmlNode> found;
    walk(m_tree->doc, name, [&](xmlNode* node) {
        found.emplace_back(node);
        return false;
    });
    return found;
}

std::string XmlDocument::Save() const {
    const std::unique_ptr<xmlBuffer, decltype(&xmlBufferFree)> buffer(xmlBufferCreate(),
                                                                      xmlBufferFree);
    xmlSaveCtxt* context = xmlSaveToBuffer(buffer.get(), "UTF-8", XML_SAVE_NO_DECL);
    xmlSaveDoc(context, m_tree->doc);
    xmlSaveClose(context);
    return "<?xml version=\"1.0\"?>\r\n" +
           trimmed(reinterpret_cast<const char*>(xmlBufferContent(buffer.get())));
}

// --- Schemas

struct XmlSchema::Compiled {
    explicit Compiled(xmlSchema* s) : schema(s) {}
    ~Compiled() { xmlSchemaFree(schema); }
    Compiled(const Compiled&) = delete;
    Compiled& operator=(const Compiled&) = delete;
    xmlSchema* schema;
};

namespace {

void keepFirst(void* user, xmlErrorPtr error) {
    auto& first = *static_cast<std::string*>(user);
    if (first.empty())
        first = trimmed(error->message);
}

} // namespace

XmlSchema::XmlSchema(std::unique_ptr<Compiled> compiled) : m_compiled(std::move(compiled)) {}
XmlSchema::~XmlSchema() = default;
XmlSchema::XmlSchema(XmlSchema&&) noexcept = default;
XmlSchema& XmlSchema::operator=(XmlSchema&&) noexcept = default;

std::optional<XmlSchema> XmlSchema::Parse(std::string_view text, std::string* reason) {
    prepare();
    std::string why;
    const std::unique_ptr<xmlSchemaParserCtxt, decltype(&xmlSchemaFreeParserCtxt)> context(
        xmlSchemaNewMemParserCtxt(text.data(), static_cast<int>(text.size())),
        xmlSchemaFreeParserCtxt);
    if (context) {
        xmlSchemaSetParserStructuredErrors(context.get(), keepFirst, &why);
        if (xmlSchema* schema = xmlSchemaParse(context.get()))
            return XmlSchema(std::make_unique<Compiled>(schema));
    }
    if (reason)
        *reason = why.empty() ? "The schema is empty." : why;
    return std::nullopt;
}

std::string XmlSchema::Check(const XmlDocument& document) const {
    std::string why;
    const std::unique_ptr<xmlSchemaValidCtxt, decltype(&xmlSchemaFreeValidCtxt)> context(
        xmlSchemaNewValidCtxt(m_compiled->schema), xmlSchemaFreeValidCtxt);
    xmlSchemaSetValidStructuredErrors(context.get(), keepFirst, &why);
    const int result = xmlSchemaValidateDoc(context.get(), document.m_tree->doc);
    return result == 0 ? std::string() : why.empty() ? "The document does not fit." : why;
}

} // namespace kr
