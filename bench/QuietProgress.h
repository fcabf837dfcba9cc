#pragma once

#include <functional>

#include "net/WebProgress.h"

namespace kr::bench {

/// A window that shows nothing, and can be stopped.
class QuietProgress : public WebProgress {
public:
    std::function<bool()> cancel = [] { return false; };
    void ShowStep(std::string_view) override {}
    void AppendResult(std::string_view) override {}
    void SetValue(int, int) override {}
    bool Cancelled() const override { return cancel(); }
};

} // namespace kr::bench
