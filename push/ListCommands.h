#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "console/Console.h"
#include "push/PushForms.h"

/// What the browser lists and the mandatory push lists of the console share: their rows, and the
/// commands on these.
namespace kr {

struct PushListKind {
    bool (*isNode)(std::string_view tag); // a node that shows such lists
    bool (*isRow)(std::string_view tag);
    void (*load)(Console& console);
    /// Nothing for a list that isn't shown.
    std::optional<ListRow> (*row)(AgentSession& session, RDOMessage& list);
};

/// Adds a row for each of these records; one that can't be read is skipped, and logged with `tag`.
void AddListRows(Console& console, const PushListKind& kind, const std::vector<EntryID>& lists,
                 std::string_view tag);
/// Shows a row as its record is now, and the count of the lists again.
void RefreshListRow(Console& console, const PushListKind& kind, const EntryID& list);
/// Takes the row of a list that is gone out.
void RemoveListRow(Console& console, const EntryID& list);

/// The selected rows, copied: questions let events run.
std::vector<ListRow> SelectedLists(const Console& console, const PushListKind& kind);
std::string NameOfList(const ListRow& row);

/// Shows the dialog; what it saved is selected in the list, which is loaded anew.
void EditList(Console& console, const PushListKind& kind, const PushForms::Edit& form,
              const EntryID& list);
bool AskToDelete(Console& console, const ListRow& row);

} // namespace kr
