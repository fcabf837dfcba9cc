#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kr {

class Shell;

/// Small text helpers. None of them fails.

/// The value of a text that people and programs take for a number: blanks around, a sign on either
/// side, parentheses for a negative, "$", thousands commas, a decimal point, an exponent with E or
/// D, or "&H" and hexadecimal digits. Nothing for all else; the desktop's language is not asked.
std::optional<double> ParseNumber(std::string_view text);
bool IsNumeric(std::string_view text);

/// The "!~" marker, which keeps a text of digits from being taken for a number. With `add` it is
/// put before a numeric text, else taken off.
std::string NumericMark(std::string_view text, bool add);
/// Without `token` at the end and at the start, however often it stands there.
std::string TrimToken(std::string_view text, std::string_view token);
/// A text for a recordset filter in single quotes: the ones at both ends go, doubled ones within
/// become one, and then each is doubled.
std::string EscapeQuotes(std::string_view text);
/// The address holds "/cn=", ignoring case.
bool IsX500(std::string_view address);

/// The five characters that XML reserves, as entities; see XmlText for text from outside.
std::string XmlEscape(std::string_view text);
/// XmlEscape without the characters that XML 1.0 can't hold; bytes that are no UTF-8 become U+FFFD.
std::string XmlText(std::string_view text);
/// An element's name from a column title: its last word without what a name can't hold, and an
/// underscore before a character that can't start one.
std::string XmlTagName(std::string_view title);
/// The trimmed text behind the last blank, or the whole text when there is none.
std::string LastWord(std::string_view text);

/// Results of the shell above this are successes.
inline constexpr int kShellSuccess = 32;

/// Puts "http://" before an address that doesn't begin with "http" and hands it to the desktop;
/// true when the desktop took it.
bool OpenURL(Shell& shell, std::string_view url);

/// The upper or lower 16 bits of a property tag as a non-negative number.
int32_t HiWord(int32_t tag);
int32_t LoWord(int32_t tag);

} // namespace kr
