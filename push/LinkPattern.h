#pragma once

#include <functional>
#include <memory>
#include <string_view>
#include <vector>

namespace kr {

/// A compiled regular expression over bytes, ignoring the case of ASCII letters. Matching has
/// limits, and takes a time that grows with the length of the text alone.
class LinkPattern {
public:
    /// `pattern` in the syntax of PCRE2; throws std::invalid_argument for what is none.
    explicit LinkPattern(const char* pattern);
    ~LinkPattern();
    LinkPattern(const LinkPattern&) = delete;
    LinkPattern& operator=(const LinkPattern&) = delete;

    /// Calls for each match in order with its sub-matches ("" for one that took no part).
    void EachMatch(std::string_view text,
                   const std::function<void(const std::vector<std::string_view>&)>& match) const;
    bool Matches(std::string_view text) const;

private:
    struct Compiled;
    std::unique_ptr<Compiled> m_compiled;
};

} // namespace kr
