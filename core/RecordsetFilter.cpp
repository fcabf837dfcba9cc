#include "core/RecordsetFilter.h"

#include <algorithm>

#include "core/RecordsetConvert.h"
#include "core/Text.h"

namespace kr {

namespace {

using Op = FilterClause::Op;
using Mask = std::array<uint8_t, RecordsetData::kGroupRows>;

bool sameFolded(const char* text, std::string_view folded) {
    for (size_t i = 0; i < folded.size(); ++i) {
        const char c = text[i];
        const char lower = c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
        if (lower != folded[i])
            return false;
    }
    return true;
}

bool equalFolded(const StoredText& cell, std::string_view folded) {
    if (cell.ascii)
        return cell.text.size() == folded.size() && sameFolded(cell.text.data(), folded);
    return Fold(cell.text) == folded;
}

bool startsFolded(const StoredText& cell, std::string_view folded) {
    if (cell.ascii)
        return cell.text.size() >= folded.size() && sameFolded(cell.text.data(), folded);
    return Fold(cell.text).starts_with(folded);
}

template <class T>
bool compares(Op op, const T& a, const T& b) {
    switch (op) {
    case Op::Equal:
        return a == b;
    case Op::NotEqual:
        return a != b;
    case Op::Less:
        return a < b;
    case Op::Greater:
        return a > b;
    case Op::LessEqual:
        return a <= b;
    case Op::GreaterEqual:
        return a >= b;
    default:
        return false;
    }
}

// --- Scanning: a mask holds the rows of one group that are still in question

void narrow(const FilterNode& node, const RecordsetData& data, RowId group, Mask& mask);

void narrowByClause(const FilterClause& clause, const RawCell* column, Mask& mask) {
    for (size_t i = 0; i < mask.size(); ++i)
        if (mask[i] != 0)
            mask[i] = clause.Matches(column[i]) ? 1 : 0;
}

void narrowByOr(const FilterNode& node, const RecordsetData& data, RowId group, Mask& mask) {
    Mask open = mask;
    mask.fill(0);
    for (const FilterNode& part : node.parts) {
        Mask hits = open;
        narrow(part, data, group, hits);
        for (size_t i = 0; i < mask.size(); ++i) {
            mask[i] |= hits[i];
            open[i] = static_cast<uint8_t>(open[i] & (hits[i] ^ 1U));
        }
    }
}

void narrow(const FilterNode& node, const RecordsetData& data, RowId group, Mask& mask) {
    switch (node.kind) {
    case FilterNode::Kind::Clause:
        narrowByClause(node.clause, data.Column(group, node.clause.field), mask);
        break;
    case FilterNode::Kind::And:
        for (const FilterNode& part : node.parts)
            narrow(part, data, group, mask);
        break;
    case FilterNode::Kind::Or:
        narrowByOr(node, data, group, mask);
        break;
    }
}

std::vector<RowId> scan(const FilterNode& root, const RecordsetData& data) {
    std::vector<RowId> rows;
    for (RowId group = 0; group < data.GroupCount(); ++group) {
        Mask mask = data.LiveMarks(group);
        narrow(root, data, group, mask);
        for (RowId i = 0; i < RecordsetData::kGroupRows; ++i)
            if (mask[i] != 0)
                rows.push_back(group * RecordsetData::kGroupRows + i);
    }
    return rows;
}

// --- Probing: rows that an index names, a superset of those that match

using Candidates = std::optional<std::vector<RowId>>;

Candidates candidatesOf(const FilterNode& node, RecordsetData& data);

Candidates ofClause(const FilterClause& clause, RecordsetData& data) {
    if (clause.op != Op::Equal)
        return std::nullopt;
    const RowIndex* index = data.Index(clause.field);
    if (index == nullptr)
        return std::nullopt;
    return index->Find(IsTextField(clause.type) ? RowIndex::HashText(clause.text)
                                                : RowIndex::HashNumber(*clause.number));
}

/// The shortest list that one of the parts gives; a list this short is taken at once.
Candidates ofAnd(const FilterNode& node, RecordsetData& data) {
    constexpr size_t kShort = 16;
    Candidates best;
    for (const FilterNode& part : node.parts) {
        Candidates rows = candidatesOf(part, data);
        if (rows && (!best || rows->size() < best->size()))
            best = std::move(rows);
        if (best && best->size() <= kShort)
            break;
    }
    return best;
}

Candidates ofOr(const FilterNode& node, RecordsetData& data) {
    std::vector<RowId> all;
    for (const FilterNode& part : node.parts) {
        const Candidates rows = candidatesOf(part, data);
        if (!rows)
            return std::nullopt;
        all.insert(all.end(), rows->begin(), rows->end());
    }
    std::sort(all.begin(), all.end());
    all.erase(std::unique(all.begin(), all.end()), all.end());
    return all;
}

Candidates candidatesOf(const FilterNode& node, RecordsetData& data) {
    switch (node.kind) {
    case FilterNode::Kind::Clause:
        return ofClause(node.clause, data);
    case FilterNode::Kind::And:
        return ofAnd(node, data);
    case FilterNode::Kind::Or:
        return ofOr(node, data);
    }
    return std::nullopt;
}

bool matchesRow(const FilterNode& node, const RecordsetData& data, RowId row) {
    const auto matches = [&](const FilterNode& part) { return matchesRow(part, data, row); };
    switch (node.kind) {
    case FilterNode::Kind::Clause:
        return node.clause.Matches(data.Cell(row, node.clause.field));
    case FilterNode::Kind::And:
        return std::all_of(node.parts.begin(), node.parts.end(), matches);
    case FilterNode::Kind::Or:
        return std::any_of(node.parts.begin(), node.parts.end(), matches);
    }
    return false;
}

bool usesField(const FilterNode& node, int field) {
    if (node.kind == FilterNode::Kind::Clause)
        return node.clause.field == field;
    return std::any_of(node.parts.begin(), node.parts.end(),
                       [&](const FilterNode& part) { return usesField(part, field); });
}

} // namespace

bool FilterClause::matchesText(const StoredText& cell) const {
    FoldBuffer fold;
    switch (op) {
    case Op::Equal:
        return equalFolded(cell, text);
    case Op::NotEqual:
        return !equalFolded(cell, text);
    case Op::StartsWith:
        return startsFolded(cell, text);
    case Op::Contains:
        return fold(cell.text, cell.ascii).find(text) != std::string_view::npos;
    default:
        return compares(op, fold(cell.text, cell.ascii), std::string_view(text));
    }
}

bool FilterClause::matchesNumber(double cell) const { return compares(op, cell, *number); }

bool FilterClause::matchesVariant(RawCell cell) const {
    StoredText stored;
    if (TextArena::VariantText(cell, stored))
        return matchesText(stored);
    const Value value = TextArena::Variant(cell);
    if (!number)
        return op == Op::NotEqual;
    if (const auto* time = value.get<Time>())
        return compares(op, static_cast<double>(time->time_since_epoch().count()), *number);
    return compares(op, NumberOf(value).value_or(0), *number);
}

bool FilterClause::Matches(RawCell cell) const {
    if (cell == kNullCell) // null is unlike every value, and comparable with none
        return op == Op::NotEqual;
    if (IsTextField(type))
        return matchesText(TextArena::Text(cell));
    if (type == FieldType::Variant)
        return matchesVariant(cell);
    return matchesNumber(CellNumber(type, cell));
}

bool RecordsetFilter::Matches(const RecordsetData& data, RowId row) const {
    return data.Live(row) && matchesRow(m_root, data, row);
}

std::vector<RowId> RecordsetFilter::Select(RecordsetData& data) const {
    Candidates rows = candidatesOf(m_root, data);
    if (!rows)
        return scan(m_root, data);
    std::erase_if(*rows, [&](RowId row) { return !Matches(data, row); });
    return std::move(*rows);
}

bool RecordsetFilter::Uses(int field) const { return usesField(m_root, field); }

} // namespace kr
