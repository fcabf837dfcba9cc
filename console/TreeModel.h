#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kr {

/// A node of the navigation tree. `tag` is its kind and drives everything; `key` is unique.
struct TreeNode {
    std::string key;
    std::string tag;
    std::string text;
    std::string image;
    bool ghosted = false;
    bool bold = false;
    TreeNode* parent = nullptr;
    std::vector<std::unique_ptr<TreeNode>> children;

    /// A child that only makes the expand mark appear.
    bool isDummy() const { return tag.starts_with("dummy"); }
    /// Place among the parent's children.
    size_t row() const;
};

/// The tree's content without any widget.
class TreeModel {
public:
    struct Listener {
        virtual ~Listener() = default;
        virtual void OnReset() = 0;
        virtual void BeforeInsert(TreeNode& parent, size_t row) = 0;
        virtual void AfterInsert() = 0;
        virtual void BeforeRemove(TreeNode& parent, size_t row) = 0;
        virtual void AfterRemove() = 0;
        virtual void OnChanged(TreeNode& node) = 0;
    };
    void SetListener(Listener* listener) { m_listener = listener; }

    /// The invisible parent of the one root.
    TreeNode& Top() { return m_top; }
    void Clear();
    /// Adds as last child; an empty parent key adds the root. nullptr when the key is taken or the
    /// parent isn't there. A key of digits alone is marked with "!~"; Find takes it either way.
    TreeNode* Add(std::string_view parentKey, std::string_view key, std::string_view tag,
                  std::string_view text, std::string_view image);
    TreeNode* Find(std::string_view key);
    void Remove(TreeNode& node);
    void RemoveChildren(TreeNode& node);
    /// Gives a node another key; false when another node has it.
    bool SetKey(TreeNode& node, std::string_view key);
    void SetText(TreeNode& node, std::string_view text);
    void SetImage(TreeNode& node, std::string_view image);
    void SetGhosted(TreeNode& node, bool ghosted);
    /// Moves a node among its siblings.
    void Move(TreeNode& node, size_t row);

private:
    void forget(const TreeNode& node);
    void changed(TreeNode& node);

    TreeNode m_top;
    std::unordered_map<std::string, TreeNode*> m_nodes;
    Listener* m_listener = nullptr;
};

} // namespace kr
