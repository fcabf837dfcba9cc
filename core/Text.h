#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kr {

/// UTF-8 text: case folding, comparing and collating. Everything that has to ignore case comes
/// through here (ICU, Unicode simple case folding); bytes that are no UTF-8 fold to themselves.

/// The text with simple case folding applied; the form that indexes and look-ups use as key.
std::string Fold(std::string_view text);
bool EqualNoCase(std::string_view a, std::string_view b);
/// -1, 0 or 1 by the folded code points.
int CompareNoCase(std::string_view a, std::string_view b);
bool ContainsNoCase(std::string_view text, std::string_view part);
bool StartsWithNoCase(std::string_view text, std::string_view prefix);
/// Position of part in text, ignoring case, in bytes of text; npos when absent.
size_t FindNoCase(std::string_view text, std::string_view part);
std::string ToLower(std::string_view text);
std::string ToUpper(std::string_view text);

/// Blanks, tabs and line ends removed at both ends.
std::string Trim(std::string_view text);
/// Split at each separator; an empty text gives one empty piece, as the original's Split followed
/// by its loops expects; see SplitNonEmpty for lists.
std::vector<std::string> Split(std::string_view text, std::string_view separator);
/// Split with trimmed pieces and without the empty ones.
std::vector<std::string> SplitNonEmpty(std::string_view text, std::string_view separator);
std::string Join(const std::vector<std::string>& parts, std::string_view separator);
std::string ReplaceAll(std::string_view text, std::string_view from, std::string_view to);

/// Two upper-case digits a byte.
std::string HexOf(const void* data, size_t size);

/// Orders text as a person expects (root collation, ICU). Keys compare with memcmp; one Collator
/// is not shared between threads.
class Collator {
public:
    Collator();
    ~Collator();
    Collator(const Collator&) = delete;
    Collator& operator=(const Collator&) = delete;
    int compare(std::string_view a, std::string_view b) const;
    std::string sortKey(std::string_view text) const;

private:
    void* m_collator;
};

} // namespace kr
