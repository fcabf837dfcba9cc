#pragma once

namespace kr {

class Console;
struct TreeNode;

/// Fills the list with the records of the data source whose record's id is the node's key.
void LoadAcdsList(Console& console, const TreeNode& node);

} // namespace kr
