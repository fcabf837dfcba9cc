#include <algorithm>

#include "console/Console.h"
#include "console/Menus.h"
#include "core/Text.h"
#include "core/Trap.h"

namespace kr {

namespace {

constexpr std::string_view kProperties = "mnuActionmnuProps";

/// What Ctrl+F runs, by the node's tag; everywhere else mnuActionmnuFind.
struct FindCommand {
    std::string_view tag;
    std::string_view command;
};
constexpr FindCommand kFind[] = {
    {"reg", "mnuRegFindHandheld"},
    {"language", "mnuLanguageFind"},
};

MenuEntryState* find(std::vector<MenuEntryState>& entries, std::string_view name) {
    const auto found = std::ranges::find(entries, name, &MenuEntryState::name);
    return found == entries.end() ? nullptr : &*found;
}

} // namespace

void Console::RegisterCommand(std::string_view name, Command command) {
    m_commands[std::string(name)] = std::move(command);
}

void Console::RunCommand(std::string_view name) {
    const std::string command(name); // the caller's text may go with its menu
    Trap(
        [&] {
            if (NodeKind* kind = Kind(ContextTag()); kind && kind->Run(*this, command))
                return;
            const auto found = m_commands.find(command);
            if (found == m_commands.end())
                missingFeature();
            else
                found->second(*this);
        },
        [&](const Trapped& trapped) {
            m_session.log(command + ": " + trapped.text());
            ShowStatus(trapped.description);
        });
}

void Console::missingFeature() { ShowStatus(kMissingFeature); }

void Console::showForm(std::string_view form) {
    if (!m_view.ShowForm(form))
        missingFeature();
}

void Console::registerFrameCommands() {
    RegisterCommand("mnuViewRefresh", [](Console& c) { c.RefreshView(); });
    RegisterCommand("mnuViewQuick", [](Console& c) { c.ToggleQuickLoad(); });
    RegisterCommand("mnuActionmnuConnect", [](Console& c) { c.Connect(); });
    RegisterCommand("mnuSubmnuConnect", [](Console& c) { c.Connect(); });
    RegisterCommand("mnuActionWizard", [](Console& c) { c.RunWizard(); });
    RegisterCommand("mnuActionmnuFind", [](Console& c) { c.showForm("frmFindUser"); });
    RegisterCommand("mnuActionmnuExit", [](Console& c) { c.view().Close(); });
    RegisterCommand("mnuHelpAbout", [](Console& c) { c.showForm("frmAbout"); });
    for (int mode = 0; mode < 4; ++mode)
        RegisterCommand("mnuListViewMode(" + std::to_string(mode) + ")",
                        [mode](Console& c) { c.view().SetViewMode(mode); });
}

void Console::UpdateMenu() {
    const auto rows = SelectedRows();
    SetMenu(ContextTag(), rows.empty() ? m_currentKey : rows.front()->key);
}

void Console::SetMenu(std::string_view tag, std::string_view) {
    std::vector<std::string> tags{std::string(tag)};
    for (const ListRow* row : SelectedRows())
        if (std::ranges::find(tags, row->tag) == tags.end())
            tags.push_back(row->tag);
    Entries entries = commonEntries(tags);
    swapActivate(entries);
    m_view.SetMenuEntries(entries);
}

/// The context entries as the kind of that tag has them: all hidden but Properties, then its set.
Console::Entries Console::entriesOf(std::string_view tag) {
    const auto shown = MenuSet(tag);
    const auto has = [&](std::string_view name) {
        return std::ranges::find(shown, name) != shown.end();
    };
    Entries entries;
    for (const MenuEntry& entry : MenuEntries())
        if (entry.menu == "Sub")
            entries.push_back({std::string(entry.name), has(entry.name), true});
    // Properties stays visible for every kind; where a kind has none, it can't be chosen
    if (MenuEntryState* properties = find(entries, kProperties)) {
        properties->visible = true;
        properties->enabled = has(kProperties) || ActivationOf(tag) == kProperties;
    }
    if (NodeKind* kind = Kind(tag))
        kind->AdjustMenu(*this, entries);
    return entries;
}

/// For rows of several kinds: offered is what all have, enabled what is enabled for all.
Console::Entries Console::commonEntries(const std::vector<std::string>& tags) {
    Entries common = entriesOf(tags.front());
    for (size_t i = 1; i < tags.size(); ++i) {
        const Entries other = entriesOf(tags[i]);
        for (size_t e = 0; e < common.size() && e < other.size(); ++e) {
            common[e].visible = common[e].visible && other[e].visible;
            common[e].enabled = common[e].enabled && other[e].enabled;
        }
    }
    return common;
}

/// "Make Active" and "Make Inactive" swap by whether the record is inactive, which rows and nodes
/// show ghosted; for a mixed selection both stand.
void Console::swapActivate(Entries& entries) {
    MenuEntryState* activate = find(entries, "mnuActionActivate");
    MenuEntryState* inactivate = find(entries, "mnuActionInactivate");
    if (!activate || !inactivate || !activate->visible)
        return;
    bool inactive = false;
    bool active = false;
    const auto rows = SelectedRows();
    for (const ListRow* row : rows)
        (row->ghosted ? inactive : active) = true;
    if (rows.empty()) {
        const TreeNode* node = CurrentNode();
        inactive = node && node->ghosted;
        active = node && !node->ghosted;
    }
    activate->visible = inactive;
    inactivate->visible = active;
}

void Console::DeleteKey() {
    NodeKind* kind = Kind(ContextTag());
    const std::string_view command = kind ? kind->DeleteCommand() : std::string_view{};
    if (!command.empty())
        RunCommand(command);
}

void Console::FindKey() {
    const auto found = std::ranges::find(kFind, m_currentTag, &FindCommand::tag);
    RunCommand(found == std::end(kFind) ? "mnuActionmnuFind" : found->command);
}

void Console::TaskTick() {
    if (NodeKind* kind = Kind(m_currentTag); kind && kind->WatchesTasks())
        kind->Tick(*this);
}

void Console::ToggleQuickLoad() { m_session.quickLoad = !m_session.quickLoad; }

} // namespace kr
