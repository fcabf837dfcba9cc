#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "console/kinds/FixedKinds.h"
#include "tests/console/FakeView.h"
#include "tests/support/World.h"

namespace kr {

using Names = std::vector<std::string>;

inline constexpr std::string_view kMissing = "This feature is not there yet.";

/// A kind whose answers the test sets.
class TestKind : public NodeKind {
public:
    using NodeKind::NodeKind;
    std::function<void(Console&, TreeNode&)> load;
    std::function<bool(Console&, TreeNode&)> expand;
    std::function<bool(Console&, std::string_view)> run;
    std::function<void(std::vector<MenuEntryState>&)> adjust;
    std::string deleteCommand;
    bool report = false;
    bool tasks = false;
    int loads = 0, ticks = 0;
    std::vector<std::pair<size_t, bool>> checks;

    void Load(Console& console, TreeNode& node) override {
        ++loads;
        if (load)
            load(console, node);
    }
    bool Expand(Console& console, TreeNode& node) override {
        return expand ? expand(console, node) : true;
    }
    bool Run(Console& console, std::string_view command) override {
        return run && run(console, command);
    }
    void AdjustMenu(Console&, std::vector<MenuEntryState>& entries) override {
        if (adjust)
            adjust(entries);
    }
    std::string_view DeleteCommand() const override { return deleteCommand; }
    void Checked(Console&, size_t position, bool checked) override {
        checks.emplace_back(position, checked);
    }
    bool ShowsReport() const override { return report; }
    bool WatchesTasks() const override { return tasks; }
    void Tick(Console&) override { ++ticks; }
};

class ConsoleTest : public ::testing::Test {
protected:
    ConsoleTest() {
        world.LogOnConfigured();
        world.session->agentName = "Agent Mailbox";
        console = std::make_unique<Console>(*world.session, view);
        view.console = console.get();
        RegisterFixedKinds(*console);
    }
    TestKind& kind(std::string tag) {
        auto made = std::make_unique<TestKind>(std::move(tag));
        TestKind& answer = *made;
        console->RegisterKind(std::move(made));
        return answer;
    }
    void click(std::string_view key) {
        ASSERT_NE(console->tree().Find(key), nullptr) << key;
        console->NodeClick(*console->tree().Find(key));
    }
    Names children(std::string_view key) {
        Names keys;
        for (const auto& child : console->tree().Find(key)->children)
            keys.push_back(child->key);
        return keys;
    }
    static ListRow row(std::string key, std::string tag, std::string text) {
        ListRow made;
        made.key = std::move(key);
        made.tag = std::move(tag);
        made.texts = {std::move(text)};
        return made;
    }
    Console::LoadPlan plan(std::vector<std::string> texts, std::string tag = "mcl") {
        return {"Loading things, please wait...",
                "loading things",
                {{"Name", ""}, {"S", "sorts"}},
                "1 thing",
                " things",
                [texts, tag](Console& c) {
                    for (const std::string& text : texts)
                        c.AddRow(row("key-" + text, tag, text));
                    return std::string();
                }};
    }
    void select(std::vector<size_t> rows) {
        view.selection = std::move(rows);
        console->SelectionChanged();
    }

    World world;
    FakeView view;
    std::unique_ptr<Console> console;
};

} // namespace kr
