#pragma once

#include <functional>
#include <string>
#include <vector>

#include "net/WebProgress.h"

namespace kr {

/// Keeps what a push says, and stops it when a test wants.
class RecordedProgress : public WebProgress {
public:
    std::vector<std::string> steps, results;
    std::function<bool()> cancel = [] { return false; };
    void ShowStep(std::string_view text) override { steps.emplace_back(text); }
    void AppendResult(std::string_view text) override { results.emplace_back(text); }
    void SetValue(int, int) override {}
    bool Cancelled() const override { return cancel(); }
};

} // namespace kr
