#pragma once

#include <string>

#include "core/EntryID.h"

/// A Mandatory Contact List that is a PIN distribution list has a node of its own below "pdlroot",
/// keyed by the list's id, once that branch was expanded. What the console changes at a list is
/// shown there as well; a list without such a node is left alone.
namespace kr {

class Console;
struct TreeNode;

/// The node stands among its siblings by its name, behind those that are no lists.
void PlacePdlNode(Console& console, TreeNode& node);
/// The list is gone; where its node was the current one, "pdlroot" is now.
void RemovePdlNode(Console& console, const EntryID& list);
/// The node keeps its place in the order of the names.
void RenamePdlNode(Console& console, const EntryID& list, const std::string& name);
void ShowPdlActive(Console& console, const EntryID& list, bool active);
/// The branch was read, and so is out of date once the lists lie in another folder.
bool PdlNodesRead(Console& console);

} // namespace kr
