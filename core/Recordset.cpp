#include "core/Recordset.h"

#include <stdexcept>

#include "core/RecordsetData.h"
#include "core/RecordsetView.h"

namespace kr {

namespace {

RowId requireCurrent(const RecordsetView& view) {
    const std::optional<RowId> row = view.Current();
    if (!row)
        throw std::invalid_argument("the recordset has no current row");
    return *row;
}

bool isField(const RecordsetData& data, int field) {
    return field >= 0 && static_cast<size_t>(field) < data.Fields().size();
}

} // namespace

Recordset::Recordset(std::vector<Field> fields)
    : Recordset(std::make_shared<RecordsetData>(std::move(fields))) {}

Recordset::Recordset(std::shared_ptr<RecordsetData> data)
    : m_data(std::move(data)), m_view(std::make_unique<RecordsetView>(*m_data)) {}

Recordset::~Recordset() = default;

const std::vector<Field>& Recordset::Fields() const { return m_data->Fields(); }
int Recordset::FieldIndex(std::string_view name) const { return m_data->FieldIndex(name); }
void Recordset::AddIndex(std::string_view field) { m_data->AddIndex(m_data->RequireField(field)); }

std::shared_ptr<Recordset> Recordset::Clone() const {
    return std::shared_ptr<Recordset>(new Recordset(m_data));
}

int64_t Recordset::RecordCount() const { return m_view->Count(); }
bool Recordset::BOF() const { return m_view->AtBegin(); }
bool Recordset::EOF_() const { return m_view->AtEnd(); }
void Recordset::MoveFirst() { m_view->First(); }
void Recordset::MoveNext() { m_view->Next(); }
void Recordset::MovePrevious() { m_view->Previous(); }
void Recordset::MoveLast() { m_view->Last(); }

uint64_t Recordset::Bookmark() const {
    const std::optional<RowId> row = m_view->Current();
    return row ? uint64_t{*row} + 1 : 0;
}

bool Recordset::SetBookmark(uint64_t bookmark) {
    if (bookmark == 0 || bookmark > m_data->RowCount())
        return false;
    return m_view->GoTo(static_cast<RowId>(bookmark - 1));
}

Value Recordset::Get(std::string_view field) const { return Get(m_data->FieldIndex(field)); }

Value Recordset::Get(int field) const {
    const std::optional<RowId> row = m_view->Current();
    return row && isField(*m_data, field) ? m_data->Get(*row, field) : Value();
}

std::string_view Recordset::Text(int field) const {
    const std::optional<RowId> row = m_view->Current();
    return row && isField(*m_data, field) ? m_data->Text(*row, field) : std::string_view();
}

void Recordset::Set(std::string_view field, const Value& value) {
    m_data->Set(requireCurrent(*m_view), m_data->RequireField(field), value);
}

void Recordset::Set(int field, const Value& value) {
    if (!isField(*m_data, field))
        throw std::invalid_argument("no such field");
    m_data->Set(requireCurrent(*m_view), field, value);
}

void Recordset::AddNew() { m_view->Add(); }
void Recordset::Append(const std::vector<Value>& row) { m_data->Append(row); }
void Recordset::AppendCells(std::span<const RecordsetCell> row) { m_data->AppendCells(row); }

void Recordset::Delete() {
    if (const std::optional<RowId> row = m_view->Current())
        m_data->Delete(*row);
}

bool Recordset::SetFilter(std::string_view filter) { return m_view->SetFilter(filter); }
const std::string& Recordset::Filter() const { return m_view->Filter(); }
bool Recordset::SetSort(std::string_view sort) { return m_view->SetSort(sort); }
const std::string& Recordset::Sort() const { return m_view->Sort(); }
size_t Recordset::MemoryUse() const { return m_data->MemoryUse(); }

} // namespace kr
