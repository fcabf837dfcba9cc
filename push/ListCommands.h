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
    std::string_view deleteCommand;
    std::string_view pushCommand;         // for one list at a time
    bool (*isNode)(std::string_view tag); // a node that shows such lists
    bool (*isRow)(std::string_view tag);
    void (*load)(Console& console);
    /// Nothing for a list that isn't shown.
    std::optional<ListRow> (*row)(AgentSession& session, RDOMessage& list);
};

/// The records of that class in the folder, `what` they are in the plural; nothing, with the reason
/// for the status bar, when they can't be read.
std::vector<EntryID> ListRecords(const RDOFolderPtr& folder, std::string_view messageClass,
                                 std::string_view what, std::string& reason);
/// Adds a row for each of these records; one that can't be read is skipped, and logged with `tag`.
void AddListRows(Console& console, const PushListKind& kind, const std::vector<EntryID>& lists,
                 std::string_view tag);
/// The count of the lists in the status bar, behind whatever else stood there.
void ShowListCount(Console& console, const PushListKind& kind);
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
/// Switches the selected lists on or off; those that are so already are left alone.
void ActivateLists(Console& console, const PushListKind& kind, bool activate);
bool AskToDelete(Console& console, const ListRow& row);

/// The rows of such lists.
class PushListRowKind : public NodeKind {
public:
    PushListRowKind(std::string_view tag, const PushListKind& kind, PushForms::Edit form)
        : NodeKind(std::string(tag)), m_kind(kind), m_form(std::move(form)) {}
    std::string_view DeleteCommand() const override { return m_kind.deleteCommand; }
    bool Run(Console& console, std::string_view command) override;
    void AdjustMenu(Console& console, std::vector<MenuEntryState>& entries) override;

private:
    const PushListKind& m_kind; // a constant of the program
    PushForms::Edit m_form;
};

} // namespace kr
