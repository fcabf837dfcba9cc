#pragma once

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/RecordsetData.h"

namespace kr {

/// `field op value` of a filter, with the value in the form that the field's cells compare with.
struct FilterClause {
    enum class Op { Equal, NotEqual, Less, Greater, LessEqual, GreaterEqual, StartsWith, Contains };
    int field = 0;
    FieldType type = FieldType::Text;
    Op op = Op::Equal;
    /// Folded; for texts and for variants that hold a text.
    std::string text;
    /// For all other fields, and for variants that hold anything else.
    std::optional<double> number;

    bool Matches(RawCell cell) const;

private:
    bool matchesText(const StoredText& cell) const;
    bool matchesNumber(double cell) const;
    bool matchesVariant(RawCell cell) const;
};

struct FilterNode {
    enum class Kind { Clause, And, Or };
    Kind kind = Kind::Clause;
    FilterClause clause;
    std::vector<FilterNode> parts;
};

/// A parsed filter; the grammar stands at Recordset.
class RecordsetFilter {
public:
    /// nullptr when it doesn't parse: bad syntax, an unknown field, a value that the field's type
    /// can't compare with, LIKE with a wildcard elsewhere than 'x*' and '*x*', too many brackets.
    static std::shared_ptr<const RecordsetFilter> Parse(std::string_view text,
                                                        const RecordsetData& data);

    bool Matches(const RecordsetData& data, RowId row) const;
    /// Live rows that match, ascending; by hash where every OR branch has an equality on an
    /// indexed field, else by a scan.
    std::vector<RowId> Select(RecordsetData& data) const;
    /// A change of that field can change whether a row matches.
    bool Uses(int field) const;

private:
    explicit RecordsetFilter(FilterNode root) : m_root(std::move(root)) {}
    FilterNode m_root;
};

} // namespace kr
