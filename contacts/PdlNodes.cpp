#include "contacts/PdlNodes.h"

#include <algorithm>

#include "console/Console.h"
#include "core/Text.h"

namespace kr {

namespace {

constexpr std::string_view kRootTag = "pdlroot";
constexpr std::string_view kListTag = "pdlt";

TreeNode* nodeOf(Console& console, const EntryID& list) {
    TreeNode* node = list.empty() ? nullptr : console.tree().Find(list.text());
    return node && node->tag == kListTag ? node : nullptr;
}

} // namespace

void PlacePdlNode(Console& console, TreeNode& node) {
    const Collator collator;
    const auto place =
        static_cast<size_t>(std::ranges::count_if(node.parent->children, [&](const auto& sibling) {
            return sibling.get() != &node &&
                   (sibling->tag != kListTag || collator.compare(sibling->text, node.text) <= 0);
        }));
    if (place != node.row())
        console.tree().Move(node, place);
}

void RemovePdlNode(Console& console, const EntryID& list) {
    TreeNode* node = nodeOf(console, list);
    if (!node)
        return;
    const bool current = console.CurrentNode() == node;
    console.tree().Remove(*node);
    if (current)
        console.GoToNode(kRootTag);
}

void RenamePdlNode(Console& console, const EntryID& list, const std::string& name) {
    TreeNode* node = nodeOf(console, list);
    if (!node || node->text == name)
        return;
    console.tree().SetText(*node, name);
    PlacePdlNode(console, *node);
}

void ShowPdlActive(Console& console, const EntryID& list, bool active) {
    if (TreeNode* node = nodeOf(console, list))
        console.tree().SetGhosted(*node, !active);
}

bool PdlNodesRead(Console& console) {
    const TreeNode* root = console.tree().Find(kRootTag);
    return root &&
           std::ranges::none_of(root->children, [](const auto& child) { return child->isDummy(); });
}

} // namespace kr
