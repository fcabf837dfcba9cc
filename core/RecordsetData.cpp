#include "core/RecordsetData.h"

#include <bit>
#include <limits>
#include <stdexcept>

#include "core/RecordsetConvert.h"
#include "core/RecordsetFilter.h"
#include "core/Text.h"

namespace kr {

namespace {

constexpr size_t kArenaBlock = 64 * 1024;
constexpr size_t kCachedFilters = 256;
/// Entries that an index may have beyond the live rows before it is built anew.
constexpr size_t kStaleEntries = 4096;

RawCell cellOf(int64_t number) { return static_cast<RawCell>(number); }
RawCell cellOf(const char* place) { return std::bit_cast<RawCell>(place); }
const char* placeOf(RawCell cell) { return std::bit_cast<const char*>(cell); }
static_assert(sizeof(const char*) == sizeof(RawCell));

bool isAscii(std::string_view text) {
    unsigned char bits = 0;
    for (const char c : text)
        bits |= static_cast<unsigned char>(c);
    return bits < 0x80;
}

/// Length and the ASCII mark share the four bytes before a text.
StoredText readText(const char* place) {
    uint32_t header = 0;
    std::memcpy(&header, place, sizeof header);
    return {{place + sizeof header, header >> 1}, (header & 1) != 0};
}

char* writeText(char* place, std::string_view text) {
    const auto header = static_cast<uint32_t>(text.size() << 1 | (isAscii(text) ? 1U : 0U));
    std::memcpy(place, &header, sizeof header);
    if (!text.empty())
        std::memcpy(place + sizeof header, text.data(), text.size());
    return place;
}

void checkLength(std::string_view text) {
    if (text.size() > std::numeric_limits<int32_t>::max())
        throw std::invalid_argument("text too long for a recordset");
}

/// Types of a variant that fit eight bytes; a text and null have no number.
int64_t bitsOf(const Value& value) {
    if (const auto* number = value.get<double>())
        return std::bit_cast<int64_t>(*number);
    if (const auto* amount = value.get<Currency>())
        return amount->scaled;
    if (const auto* time = value.get<Time>())
        return time->time_since_epoch().count();
    if (const auto* flag = value.get<bool>())
        return *flag ? 1 : 0;
    return value.integerOr(0);
}

Value dateValue(int64_t seconds) { return Time(std::chrono::seconds(seconds)); }

/// The types that a variant can have, by the letter that stands before its content.
Value variantOf(char letter, int64_t bits) {
    switch (letter) {
    case 's':
        return static_cast<int16_t>(bits);
    case 'i':
        return static_cast<int32_t>(bits);
    case 'c':
        return Currency{bits};
    case 'b':
        return bits != 0;
    case 't':
        return dateValue(bits);
    default:
        return std::bit_cast<double>(bits);
    }
}

char letterOf(const Value& value) {
    if (value.is<int16_t>())
        return 's';
    if (value.is<int32_t>())
        return 'i';
    if (value.is<Currency>())
        return 'c';
    if (value.is<bool>())
        return 'b';
    return value.is<Time>() ? 't' : 'd';
}

} // namespace

// --- TextArena

char* TextArena::room(size_t size) {
    if (size > kArenaBlock / 4) { // a large text gets a block of its own
        m_blocks.push_back(std::make_unique_for_overwrite<char[]>(size));
        m_bytes += size;
        return m_blocks.back().get();
    }
    if (size > m_left) {
        // the first block of a small recordset is a small one
        const size_t block = m_blocks.empty() ? kArenaBlock / 16 : kArenaBlock;
        m_left = std::max(block, size);
        m_blocks.push_back(std::make_unique_for_overwrite<char[]>(m_left));
        m_next = m_blocks.back().get();
        m_bytes += m_left;
    }
    char* place = m_next;
    m_next += size;
    m_left -= size;
    return place;
}

RawCell TextArena::AddText(std::string_view text) {
    checkLength(text);
    return cellOf(writeText(room(sizeof(uint32_t) + text.size()), text));
}

RawCell TextArena::AddVariant(const Value& value) {
    if (const auto* text = value.get<std::string>()) {
        checkLength(*text);
        char* place = room(1 + sizeof(uint32_t) + text->size());
        *place = 'x';
        writeText(place + 1, *text);
        return cellOf(place);
    }
    char* place = room(1 + sizeof(int64_t));
    *place = letterOf(value);
    const int64_t bits = bitsOf(value);
    std::memcpy(place + 1, &bits, sizeof bits);
    return cellOf(place);
}

StoredText TextArena::Text(RawCell cell) { return readText(placeOf(cell)); }

bool TextArena::VariantText(RawCell cell, StoredText& text) {
    if (*placeOf(cell) != 'x')
        return false;
    text = readText(placeOf(cell) + 1);
    return true;
}

Value TextArena::Variant(RawCell cell) {
    StoredText text;
    if (VariantText(cell, text))
        return text.text;
    int64_t bits = 0;
    std::memcpy(&bits, placeOf(cell) + 1, sizeof bits);
    return variantOf(*placeOf(cell), bits);
}

double CellNumber(FieldType type, RawCell cell) {
    switch (type) {
    case FieldType::Double:
        return std::bit_cast<double>(cell);
    case FieldType::Currency:
        return static_cast<double>(static_cast<int64_t>(cell)) / 10000;
    case FieldType::Boolean:
        return cell != 0 ? -1 : 0;
    default:
        return static_cast<double>(static_cast<int64_t>(cell));
    }
}

// --- RecordsetData

RecordsetData::RecordsetData(std::vector<Field> fields)
    : m_fields(std::move(fields)), m_lastText(m_fields.size(), kNullCell),
      m_indexes(m_fields.size()) {
    for (size_t i = 0; i < m_fields.size(); ++i)
        m_fieldNumbers.emplace(Fold(m_fields[i].name), static_cast<int>(i));
}

int RecordsetData::FieldIndex(std::string_view name) const {
    const auto found = m_fieldNumbers.find(Fold(name));
    return found == m_fieldNumbers.end() ? -1 : found->second;
}

int RecordsetData::RequireField(std::string_view name) const {
    const int field = FieldIndex(name);
    if (field < 0)
        throw std::invalid_argument("no field [" + std::string(name) + "]");
    return field;
}

Value RecordsetData::Get(RowId row, int field) const {
    const RawCell cell = Cell(row, field);
    if (cell == kNullCell)
        return {};
    switch (m_fields[static_cast<size_t>(field)].type) {
    case FieldType::SmallInt:
        return static_cast<int16_t>(cell);
    case FieldType::Integer:
        return static_cast<int32_t>(cell);
    case FieldType::Double:
        return std::bit_cast<double>(cell);
    case FieldType::Currency:
        return Currency{static_cast<int64_t>(cell)};
    case FieldType::Date:
        return dateValue(static_cast<int64_t>(cell));
    case FieldType::Boolean:
        return cell != 0;
    case FieldType::Variant:
        return TextArena::Variant(cell);
    case FieldType::Text:
    case FieldType::LongText:
        return TextArena::Text(cell).text;
    }
    return {};
}

std::string_view RecordsetData::Text(RowId row, int field) const {
    const RawCell cell = Cell(row, field);
    if (cell == kNullCell)
        return {};
    const FieldType type = m_fields[static_cast<size_t>(field)].type;
    if (IsTextField(type))
        return TextArena::Text(cell).text;
    StoredText text;
    if (type == FieldType::Variant && TextArena::VariantText(cell, text))
        return text.text;
    return {};
}

RawCell RecordsetData::addText(int field, std::string_view text) {
    RawCell& last = m_lastText[static_cast<size_t>(field)];
    if (last == kNullCell || TextArena::Text(last).text != text)
        last = m_arena.AddText(text);
    return last;
}

RawCell RecordsetData::encode(int field, const Value& converted) {
    if (converted.empty())
        return kNullCell;
    const FieldType type = m_fields[static_cast<size_t>(field)].type;
    if (type == FieldType::Variant)
        return m_arena.AddVariant(converted);
    if (IsTextField(type))
        return addText(field, *converted.get<std::string>());
    return cellOf(bitsOf(converted));
}

RawCell RecordsetData::encodeText(int field, std::string_view text) {
    const auto size = static_cast<size_t>(m_fields[static_cast<size_t>(field)].size);
    // as tables of a store do, which cut a long text too
    return addText(field, text.size() <= size ? text : CutText(text, size));
}

RawCell RecordsetData::encodeVariant(const RecordsetCell& cell) {
    switch (cell.kind) {
    case RecordsetCell::Kind::Text:
        return m_arena.AddVariant(cell.text);
    case RecordsetCell::Kind::Integer:
        return m_arena.AddVariant(static_cast<int32_t>(cell.integer));
    case RecordsetCell::Kind::Real:
        return m_arena.AddVariant(cell.real);
    default:
        return kNullCell;
    }
}

/// A cell of another kind than the field's, or out of its range, is null.
inline RawCell RecordsetData::encodeCell(int field, const RecordsetCell& cell) {
    using Kind = RecordsetCell::Kind;
    const FieldType type = m_fields[static_cast<size_t>(field)].type;
    if (cell.kind == Kind::Integer) {
        const bool whole =
            type == FieldType::Date || type == FieldType::Boolean || type == FieldType::Currency ||
            (type == FieldType::Integer && cell.integer == static_cast<int32_t>(cell.integer)) ||
            (type == FieldType::SmallInt && cell.integer == static_cast<int16_t>(cell.integer));
        if (whole)
            return cellOf(cell.integer);
    } else if (cell.kind == Kind::Text && IsTextField(type)) {
        return encodeText(field, cell.text);
    } else if (cell.kind == Kind::Real && type == FieldType::Double) {
        return std::bit_cast<RawCell>(cell.real);
    }
    return type == FieldType::Variant ? encodeVariant(cell) : kNullCell;
}

RowId RecordsetData::newRow() {
    if (m_rowCount == m_groups.size() * kGroupRows) {
        Group group; // each row's cells are written when it is made
        group.cells = std::make_unique_for_overwrite<RawCell[]>(m_fields.size() * kStride);
        m_groups.push_back(std::move(group));
    }
    const RowId row = m_rowCount++;
    m_groups[row / kGroupRows].live[row % kGroupRows] = 1;
    ++m_liveCount;
    return row;
}

void RecordsetData::announceAdded(RowId row) {
    indexRow(row);
    for (RecordsetObserver* observer : m_observers)
        observer->RowAdded(row);
}

RowId RecordsetData::Add() { return AppendCells({}); }

RowId RecordsetData::Append(std::span<const Value> row) {
    if (row.size() > m_fields.size())
        throw std::invalid_argument("more values than fields");
    std::vector<RawCell> cells(m_fields.size(), kNullCell);
    for (size_t i = 0; i < row.size(); ++i) // converted first: a bad value leaves no half row
        cells[i] = encode(static_cast<int>(i), ConvertToField(m_fields[i], row[i]));
    const RowId id = newRow();
    for (size_t i = 0; i < cells.size(); ++i)
        cellAt(id, static_cast<int>(i)) = cells[i];
    announceAdded(id);
    return id;
}

RowId RecordsetData::AppendCells(std::span<const RecordsetCell> row) {
    const RowId id = newRow();
    RawCell* cells = &cellAt(id, 0);
    for (size_t i = 0; i < m_fields.size(); ++i)
        cells[i * kStride] = i < row.size() && row[i].kind != RecordsetCell::Kind::Null
                                 ? encodeCell(static_cast<int>(i), row[i])
                                 : kNullCell;
    announceAdded(id);
    return id;
}

void RecordsetData::Set(RowId row, int field, const Value& value) {
    const RawCell cell = encode(field, ConvertToField(m_fields[static_cast<size_t>(field)], value));
    cellAt(row, field) = cell;
    indexCell(row, field);
    for (RecordsetObserver* observer : m_observers)
        observer->RowChanged(row, field);
}

void RecordsetData::Delete(RowId row) {
    m_groups[row / kGroupRows].live[row % kGroupRows] = 0;
    --m_liveCount;
    while (m_firstLive < m_rowCount && !Live(m_firstLive))
        ++m_firstLive;
    for (RecordsetObserver* observer : m_observers)
        observer->RowDeleted(row);
}

// --- Indexes and filters

void RecordsetData::AddIndex(int field) {
    auto& index = m_indexes[static_cast<size_t>(field)];
    if (!index && m_fields[static_cast<size_t>(field)].type != FieldType::Variant)
        index = std::make_unique<RowIndex>();
}

const RowIndex* RecordsetData::Index(int field) {
    RowIndex* index = m_indexes[static_cast<size_t>(field)].get();
    if (index != nullptr && !index->Built()) {
        index->SetBuilt();
        for (RowId row = m_firstLive; row < m_rowCount; ++row)
            if (Live(row))
                indexCell(row, field);
    }
    return index;
}

void RecordsetData::indexCell(RowId row, int field) {
    RowIndex* index = m_indexes[static_cast<size_t>(field)].get();
    const RawCell cell = Cell(row, field);
    if (index == nullptr || !index->Built() || cell == kNullCell)
        return;
    if (index->Size() > 2 * static_cast<size_t>(m_liveCount) + kStaleEntries) {
        index->Drop();
        return;
    }
    const FieldType type = m_fields[static_cast<size_t>(field)].type;
    if (!IsTextField(type)) {
        index->Add(RowIndex::HashNumber(CellNumber(type, cell)), row);
        return;
    }
    FoldBuffer fold;
    const StoredText text = TextArena::Text(cell);
    index->Add(RowIndex::HashText(fold(text.text, text.ascii)), row);
}

void RecordsetData::indexRow(RowId row) {
    for (size_t i = 0; i < m_indexes.size(); ++i)
        if (m_indexes[i] && m_indexes[i]->Built())
            indexCell(row, static_cast<int>(i));
}

std::shared_ptr<const RecordsetFilter> RecordsetData::Filter(std::string_view text) {
    std::string key(text);
    if (const auto found = m_filters.find(key); found != m_filters.end())
        return found->second;
    if (m_filters.size() >= kCachedFilters)
        m_filters.clear();
    auto filter = RecordsetFilter::Parse(text, *this);
    m_filters.emplace(std::move(key), filter);
    return filter;
}

size_t RecordsetData::MemoryUse() const {
    size_t bytes = m_arena.MemoryUse() + m_groups.capacity() * sizeof(Group);
    bytes += m_groups.size() * m_fields.size() * kStride * sizeof(RawCell);
    for (const auto& index : m_indexes)
        if (index)
            bytes += index->MemoryUse();
    return bytes;
}

} // namespace kr
