#include "app/ctl/Args.h"

#include <algorithm>
#include <charconv>

namespace kr {

namespace {

bool has(std::span<const std::string_view> names, std::string_view name) {
    return std::ranges::find(names, name) != names.end();
}

} // namespace

Args::Args(std::span<const std::string> words, std::span<const std::string_view> flags,
           std::span<const std::string_view> options) {
    bool onlyValues = false;
    for (size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        if (onlyValues || !word.starts_with("--")) {
            m_positions.push_back(word);
            continue;
        }
        if (word == "--") {
            onlyValues = true;
            continue;
        }
        const size_t equals = word.find('=');
        const std::string name = word.substr(2, equals == std::string::npos ? equals : equals - 2);
        if (has(flags, name) && equals == std::string::npos) {
            m_flags.push_back(name);
        } else if (!has(options, name)) {
            throw UsageError("unknown option --" + name);
        } else if (equals != std::string::npos) {
            m_options.emplace_back(name, word.substr(equals + 1));
        } else if (i + 1 < words.size()) {
            m_options.emplace_back(name, words[++i]);
        } else {
            throw UsageError("option --" + name + " needs a value");
        }
    }
}

const std::string& Args::at(size_t position, std::string_view what) const {
    if (position >= m_positions.size() || m_positions[position].empty())
        throw UsageError(std::string(what) + " is missing");
    return m_positions[position];
}

bool Args::flag(std::string_view name) const {
    return std::ranges::find(m_flags, name) != m_flags.end();
}

std::optional<std::string> Args::option(std::string_view name) const {
    // the last one counts, as with most programs
    for (auto it = m_options.rbegin(); it != m_options.rend(); ++it)
        if (it->first == name)
            return it->second;
    return std::nullopt;
}

uint64_t Args::number(std::string_view name, uint64_t fallback, uint64_t low, uint64_t high) const {
    const auto text = option(name);
    if (!text)
        return fallback;
    uint64_t value = 0;
    const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), value);
    if (error != std::errc{} || end != text->data() + text->size() || value < low || value > high)
        throw UsageError("option --" + std::string(name) + " takes a number from " +
                         std::to_string(low) + " to " + std::to_string(high));
    return value;
}

void Args::atMost(size_t positions) const {
    if (m_positions.size() > positions)
        throw UsageError("unexpected \"" + m_positions[positions] + "\"");
}

} // namespace kr
