#pragma once

#include <span>
#include <string_view>
#include <vector>

namespace kr {

/// One entry of the menus. `menu` tells where it stands: "Action", "View", "Help", "Sub" (context
/// entries, which stand in the context menu mnuSub and in Action), or the name of the entry that it
/// stands below.
struct MenuEntry {
    std::string_view name;
    std::string_view caption;
    std::string_view menu;
    std::string_view shortcut;
};
/// Every entry with its caption, in the order of the menus.
std::span<const MenuEntry> MenuEntries();
const MenuEntry* FindMenuEntry(std::string_view name);
/// The entries shown for a kind of node or row; empty for an unknown kind.
std::vector<std::string_view> MenuSet(std::string_view tag);
/// What a double click on a row of that kind runs: a command's name, "goto" for selecting the tree
/// node of the row's key, or "".
std::string_view ActivationOf(std::string_view tag);

} // namespace kr
