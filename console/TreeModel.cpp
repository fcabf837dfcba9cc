#include "console/TreeModel.h"

#include <algorithm>

#include "core/basText.h"

namespace kr {

size_t TreeNode::row() const {
    if (!parent)
        return 0;
    const auto& siblings = parent->children;
    const auto self =
        std::ranges::find_if(siblings, [this](const auto& node) { return node.get() == this; });
    return static_cast<size_t>(self - siblings.begin());
}

void TreeModel::Clear() {
    m_nodes.clear();
    m_top.children.clear();
    if (m_listener)
        m_listener->OnReset();
}

TreeNode* TreeModel::Add(std::string_view parentKey, std::string_view key, std::string_view tag,
                         std::string_view text, std::string_view image) {
    // a tree key may not be a number: LCIDs and their like are marked
    const std::string marked = NumericMark(key, true);
    TreeNode* parent = parentKey.empty() ? &m_top : Find(parentKey);
    if (!parent || m_nodes.contains(marked))
        return nullptr;
    auto node = std::make_unique<TreeNode>();
    node->key = marked;
    node->tag = tag;
    node->text = text;
    node->image = image;
    node->parent = parent;
    TreeNode* added = node.get();
    if (m_listener)
        m_listener->BeforeInsert(*parent, parent->children.size());
    m_nodes[marked] = added;
    parent->children.push_back(std::move(node));
    if (m_listener)
        m_listener->AfterInsert();
    return added;
}

TreeNode* TreeModel::Find(std::string_view key) {
    const auto found = m_nodes.find(NumericMark(key, true));
    return found == m_nodes.end() ? nullptr : found->second;
}

void TreeModel::forget(const TreeNode& node) {
    m_nodes.erase(node.key);
    for (const auto& child : node.children)
        forget(*child);
}

void TreeModel::Remove(TreeNode& node) {
    TreeNode& parent = *node.parent;
    const size_t row = node.row();
    if (m_listener)
        m_listener->BeforeRemove(parent, row);
    forget(node);
    parent.children.erase(parent.children.begin() + static_cast<ptrdiff_t>(row));
    if (m_listener)
        m_listener->AfterRemove();
}

void TreeModel::RemoveChildren(TreeNode& node) {
    while (!node.children.empty())
        Remove(*node.children.back());
}

bool TreeModel::SetKey(TreeNode& node, std::string_view key) {
    const std::string marked = NumericMark(key, true);
    if (const auto [place, added] = m_nodes.try_emplace(marked, &node); !added)
        return place->second == &node;
    m_nodes.erase(node.key);
    node.key = marked;
    changed(node);
    return true;
}

void TreeModel::SetText(TreeNode& node, std::string_view text) {
    node.text = text;
    changed(node);
}

void TreeModel::SetImage(TreeNode& node, std::string_view image) {
    node.image = image;
    changed(node);
}

void TreeModel::SetGhosted(TreeNode& node, bool ghosted) {
    node.ghosted = ghosted;
    changed(node);
}

void TreeModel::changed(TreeNode& node) {
    if (m_listener)
        m_listener->OnChanged(node);
}

void TreeModel::Move(TreeNode& node, size_t row) {
    TreeNode& parent = *node.parent;
    const size_t from = node.row();
    if (m_listener)
        m_listener->BeforeRemove(parent, from);
    auto held = std::move(parent.children[from]);
    parent.children.erase(parent.children.begin() + static_cast<ptrdiff_t>(from));
    if (m_listener)
        m_listener->AfterRemove();
    const size_t to = std::min(row, parent.children.size());
    if (m_listener)
        m_listener->BeforeInsert(parent, to);
    parent.children.insert(parent.children.begin() + static_cast<ptrdiff_t>(to), std::move(held));
    if (m_listener)
        m_listener->AfterInsert();
}

} // namespace kr
