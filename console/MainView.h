#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kr {

struct TreeNode;

/// One entry of a menu as it is to be shown now.
struct MenuEntryState {
    std::string name;
    bool visible = false;
    bool enabled = true;
    /// Instead of that of the menu table, where it isn't empty.
    std::string caption = {};
};

/// What the console asks of the window that shows it: frmFleetMain, or the twin of the tests.
class MainView {
public:
    virtual ~MainView() = default;
    virtual void SetTitle(std::string_view text) = 0;  // lblTitle
    virtual void SetStatus(std::string_view text) = 0; // panel 1
    virtual void SetProgress(int64_t done, int64_t total) = 0;
    /// Brings wb1 to the front with that HTML, or the list.
    virtual void ShowReport(std::string_view html) = 0;
    virtual void ShowList() = 0;
    /// The list is filled unseen between Freeze(true) and Freeze(false).
    virtual void FreezeList(bool freeze) = 0;
    virtual void FitColumns() = 0;

    virtual void SelectNode(TreeNode& node) = 0;
    virtual void ExpandNode(TreeNode& node, bool expand) = 0;
    /// Positions of the selected rows, ascending.
    virtual std::vector<size_t> SelectedRows() const = 0;
    virtual void SelectRow(size_t position) = 0;
    /// Shown and enabled entries of the menus; all others are hidden.
    virtual void SetMenuEntries(const std::vector<MenuEntryState>& entries) = 0;
    /// Entries below another one that are only known at run time, such as the languages below
    /// "mnuSSULanguage": name and caption. They replace the former ones.
    virtual void SetSubEntries(std::string_view /*parent*/,
                               const std::vector<std::pair<std::string, std::string>>&) {}
    /// tmrTasks ticks every two seconds while enabled.
    virtual void EnableTaskTimer(bool enable) = 0;
    /// Modal forms by name ("frmLogon", "frmFirstRun", ...). False when the form isn't there yet.
    virtual bool ShowForm(std::string_view form) = 0;
    virtual void Close() = 0;
    virtual void Activate() = 0;
    /// 0 large icons, 1 small icons, 2 list, 3 details.
    virtual void SetViewMode(int mode) = 0;
};

} // namespace kr
