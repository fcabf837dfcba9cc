#pragma once

#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace kr {

/// The command line was wrong; what() says how. The program answers with exit code 2.
class UsageError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The words after a command: values by position, and options "--name value" or "--name=value".
class Args {
public:
    /// `flags` are the options without a value, `options` those with one; others are refused.
    Args(std::span<const std::string> words, std::span<const std::string_view> flags,
         std::span<const std::string_view> options);

    size_t count() const { return m_positions.size(); }
    /// Refuses a missing value in the words "<what> is missing".
    const std::string& at(size_t position, std::string_view what) const;
    /// The value at a position that count() covers; it may be empty.
    const std::string& valueAt(size_t position) const { return m_positions.at(position); }
    bool flag(std::string_view name) const;
    std::optional<std::string> option(std::string_view name) const;
    /// A whole number within the bounds; the default when the option is absent.
    uint64_t number(std::string_view name, uint64_t fallback, uint64_t low, uint64_t high) const;
    /// Refuses values beyond that position.
    void atMost(size_t positions) const;

private:
    std::vector<std::string> m_positions;
    std::vector<std::string> m_flags;
    std::vector<std::pair<std::string, std::string>> m_options;
};

} // namespace kr
