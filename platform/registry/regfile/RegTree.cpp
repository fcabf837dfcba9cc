#include "platform/registry/regfile/RegTree.h"

#include "core/Text.h"

namespace kr {

namespace {

Strings partsOf(std::string_view path) {
    Strings parts = Split(path, "\\");
    std::erase_if(parts, [](const std::string& part) { return part.empty(); });
    return parts;
}

template <class Node>
Node* walk(Node* node, const Strings& parts) {
    for (const std::string& part : parts) {
        const auto child = node->children.find(Fold(part));
        if (child == node->children.end())
            return nullptr;
        node = child->second.get();
    }
    return node;
}

void appendNode(std::string& out, const RegNode& node, const std::string& path) {
    out += '\n';
    AppendRegKey(out, path);
    for (const auto& [folded, entry] : node.values)
        AppendRegValue(out, entry.name, entry.value);
    for (const auto& [folded, child] : node.children)
        appendNode(out, *child, path + '\\' + child->name);
}

/// Builds a tree from what the reader finds.
class TreeSink : public RegSink {
public:
    explicit TreeSink(RegTree& tree) : m_tree(tree) {}
    void OnKey(const std::string& path) override { m_key = &m_tree.Make(path); }
    void OnDeleteKey(const std::string& path) override {
        m_tree.Remove(path);
        m_key = nullptr;
    }
    void OnValue(const std::string& name, RegValue value) override {
        RegTree::SetValue(*m_key, name, std::move(value));
    }
    void OnDeleteValue(const std::string& name) override { RegTree::RemoveValue(*m_key, name); }

private:
    RegTree& m_tree;
    RegNode* m_key = nullptr;
};

} // namespace

const RegNode::Entry* RegNode::Value(std::string_view wanted) const {
    const auto at = values.find(Fold(wanted));
    return at == values.end() ? nullptr : &at->second;
}

const RegNode* RegTree::Find(std::string_view path) const { return walk(&m_root, partsOf(path)); }

RegNode& RegTree::Make(std::string_view path) {
    RegNode* node = &m_root;
    for (const std::string& part : partsOf(path)) {
        std::unique_ptr<RegNode>& child = node->children[Fold(part)];
        if (!child) {
            child = std::make_unique<RegNode>();
            child->name = part;
        }
        node = child.get();
    }
    return *node;
}

bool RegTree::Remove(std::string_view path) {
    Strings parts = partsOf(path);
    if (parts.empty())
        return false;
    const std::string last = Fold(parts.back());
    parts.pop_back();
    RegNode* parent = walk(&m_root, parts);
    return parent && parent->children.erase(last) > 0;
}

bool RegTree::SetValue(RegNode& node, std::string_view name, RegValue value) {
    RegNode::Entry fresh{std::string(name), {}};
    const auto [at, added] = node.values.try_emplace(Fold(name), std::move(fresh));
    if (!added && at->second.value == value)
        return false;
    at->second.value = std::move(value);
    return true;
}

bool RegTree::RemoveValue(RegNode& node, std::string_view name) {
    return node.values.erase(Fold(name)) > 0;
}

std::string RegTree::Text() const {
    std::string out(kRegHeader);
    out += '\n';
    for (const auto& [folded, hive] : m_root.children)
        appendNode(out, *hive, hive->name);
    return out;
}

RegTree RegTree::FromText(std::string_view content) {
    RegTree tree;
    TreeSink sink(tree);
    ParseRegText(content, sink);
    return tree;
}

} // namespace kr
