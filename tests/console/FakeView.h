#pragma once

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "console/Console.h"
#include "console/MainView.h"

namespace kr {

/// The window of a console under test: keeps what it was told.
class FakeView : public MainView {
public:
    std::string title, status, report;
    bool reportShown = false;
    bool frozen = false;
    bool timer = false;
    bool closed = false;
    int fits = 0;
    int activations = 0;
    int viewMode = 3;
    std::string selectedNode;
    std::set<std::string> expanded;
    std::vector<size_t> selection;
    std::vector<MenuEntryState> menu;
    /// Forms that there are; each runs when it is shown.
    std::map<std::string, std::function<void()>, std::less<>> forms;
    std::vector<std::string> shown;
    /// Where programmatic expanding ends up, as with a real tree.
    Console* console = nullptr;

    /// Names of the visible entries, in order.
    std::vector<std::string> visible() const {
        std::vector<std::string> names;
        for (const MenuEntryState& entry : menu)
            if (entry.visible)
                names.push_back(entry.name);
        return names;
    }
    bool enabled(std::string_view name) const {
        const auto found = std::ranges::find(menu, name, &MenuEntryState::name);
        return found != menu.end() && found->visible && found->enabled;
    }

    void SetTitle(std::string_view text) override { title = text; }
    void SetStatus(std::string_view text) override { status = text; }
    void SetProgress(int64_t, int64_t) override {}
    void ShowReport(std::string_view html) override {
        report = html;
        reportShown = true;
    }
    void ShowList() override { reportShown = false; }
    void FreezeList(bool freeze) override { frozen = freeze; }
    void FitColumns() override { ++fits; }
    void SelectNode(TreeNode& node) override { selectedNode = node.key; }
    void ExpandNode(TreeNode& node, bool expand) override {
        if (expand && console->Expand(node))
            expanded.insert(node.key);
    }
    std::vector<size_t> SelectedRows() const override { return selection; }
    void SelectRow(size_t position) override { selection = {position}; }
    void SetMenuEntries(const std::vector<MenuEntryState>& entries) override { menu = entries; }
    void EnableTaskTimer(bool enable) override { timer = enable; }
    bool ShowForm(std::string_view form) override {
        const auto found = forms.find(form);
        if (found == forms.end())
            return false;
        shown.emplace_back(form);
        found->second();
        return true;
    }
    void Close() override { closed = true; }
    void Activate() override { ++activations; }
    void SetViewMode(int mode) override { viewMode = mode; }
};

} // namespace kr
