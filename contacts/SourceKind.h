#pragma once

#include <string_view>

#include "console/NodeKind.h"
#include "contacts/ContactForms.h"

namespace kr {

/// The repository's node: it heads the sources, but has only properties.
inline constexpr std::string_view kMcrTag = "mcr";

/// A source in the tree and in the list of all sources, whatever its kind: menu, properties and
/// activation. What it lists is the derived kind's.
class SourceKind : public NodeKind {
public:
    SourceKind(std::string_view tag, const ContactForms& forms);
    void AdjustMenu(Console& console, std::vector<MenuEntryState>& entries) override;
    std::string_view DeleteCommand() const override { return "mnuAcfRemove"; }
    bool Run(Console& console, std::string_view command) override;

private:
    ContactForms::Edit m_form;
};

/// Registers the commands on sources.
void RegisterSourceCommands(Console& console, const ContactForms& forms);

/// Shows the repository's dialog and brings the tree up to date.
void EditMCR(Console& console, const ContactForms& forms);
/// Fills the list of the current node anew when it is that of all sources, of one, or of the
/// repository.
void ReloadSources(Console& console);
/// The list of all sources.
void LoadAllSourcesList(Console& console);

} // namespace kr
