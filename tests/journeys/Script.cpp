#include "tests/journeys/Script.h"

#include <sstream>
#include <stdexcept>

namespace kr::journeys {

namespace {

char escaped(char c) {
    switch (c) {
    case 'n':
        return '\n';
    case 't':
        return '\t';
    default:
        return c;
    }
}

// Reads the rest of a quoted word; `at` stands behind the opening quote and ends behind the other.
std::string quoted(const std::string& text, size_t& at) {
    std::string word;
    for (; at < text.size(); ++at) {
        if (text[at] == '"') {
            ++at;
            return word;
        }
        if (text[at] == '\\' && at + 1 < text.size())
            word += escaped(text[++at]);
        else
            word += text[at];
    }
    throw std::runtime_error("a quote isn't closed");
}

} // namespace

std::vector<std::string> SplitWords(const std::string& text) {
    std::vector<std::string> words;
    for (size_t at = 0; at < text.size();) {
        // "#3" is a word, the third row
        if (text[at] == '#' && (at + 1 == text.size() || text[at + 1] == ' '))
            break;
        if (text[at] == ' ' || text[at] == '\t' || text[at] == '\r') {
            ++at;
            continue;
        }
        if (text[at] == '"') {
            words.push_back(quoted(text, ++at));
            continue;
        }
        const size_t end = text.find_first_of(" \t\r\"", at);
        words.push_back(text.substr(at, end == std::string::npos ? end : end - at));
        at = end == std::string::npos ? text.size() : end;
    }
    return words;
}

std::vector<Line> ParseScript(const std::string& name, const std::string& text) {
    std::vector<Line> lines;
    std::istringstream in(text);
    Line line;
    line.file = name;
    while (std::getline(in, line.text)) {
        ++line.number;
        try {
            line.words = SplitWords(line.text);
        } catch (const std::exception& error) {
            throw std::runtime_error(line.where() + ": " + error.what());
        }
        if (!line.words.empty())
            lines.push_back(line);
    }
    return lines;
}

} // namespace kr::journeys
