#pragma once

#include <string_view>

namespace kr {

/// The window behind a long piece of web work, as loops see it.
class WebProgress {
public:
    virtual ~WebProgress() = default;
    /// The current step, such as "Requesting http://...".
    virtual void ShowStep(std::string_view text) = 0;
    /// A line of results.
    virtual void AppendResult(std::string_view text) = 0;
    /// `total` 0: the length isn't known.
    virtual void SetValue(int done, int total) = 0;
    /// True from the moment the person asked to stop; every long loop tests it.
    virtual bool Cancelled() const = 0;
};

} // namespace kr
