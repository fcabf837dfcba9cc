#pragma once

#include <string>
#include <vector>

namespace kr::journeys {

/// One command of a script: its words, and where it stands.
struct Line {
    std::string file;
    int number = 0;
    std::string text;
    std::vector<std::string> words;
    std::string where() const { return file + ":" + std::to_string(number); }
};

/// Splits a line into words at blanks. "..." keeps blanks; \n, \t, \" and \\ stand for themselves
/// inside quotes; a # outside quotes, with a blank behind it, begins a comment. Throws
/// std::runtime_error for an open quote.
std::vector<std::string> SplitWords(const std::string& text);

/// All commands of a text; empty lines and comments are left out.
std::vector<Line> ParseScript(const std::string& name, const std::string& text);

} // namespace kr::journeys
