#include "platform/store/sqlite/RowCells.h"

#include <algorithm>

#include "platform/store/sqlite/Message.h"

namespace kr::sqlite {

namespace {

constexpr size_t kFewColumns = 4;

/// The columns of KR_ROW_COLUMNS.
enum RowColumn { kId, kFlags, kClass, kCreated, kModified, kSubject, kBody };

TableCell textCell(std::string_view text, Arena& arena, bool keep) {
    TableCell cell;
    cell.type = PropType::String;
    cell.bytes = keep ? arena.Keep(text) : text;
    return cell;
}

TableCell numberCell(PropType type, int64_t number) {
    TableCell cell;
    cell.type = type;
    cell.integer = number;
    return cell;
}

TableCell binaryCell(std::string_view bytes) {
    TableCell cell;
    cell.type = PropType::Binary;
    cell.bytes = bytes;
    return cell;
}

TableCell timeCell(int64_t ticks) {
    return numberCell(PropType::Time, TimeOfTicks(ticks).time_since_epoch().count());
}

/// The model's bytes with the number of a row put in.
template <class Put>
TableCell idCell(const std::string& model, Arena& arena, Put put) {
    char* place = arena.Take(model.size());
    model.copy(place, model.size());
    put(place);
    return binaryCell({place, model.size()});
}

bool hasNamed(std::string_view blob) {
    BlobReader reader(blob);
    for (RawProperty property; reader.Next(property);)
        if (PropId(property.tag) >= 0x8000)
            return true;
    return false;
}

} // namespace

RowCells::RowCells(SessionPtr session, const StoreRef& store, int64_t folder,
                   std::vector<PropTag> tags)
    : m_session(std::move(session)), m_tags(std::move(tags)),
      m_longId(MessageIdBytes(store->guid, store->isPublic, MessageRowId(folder, false, 0))),
      m_shortId(ShortIdBytes(static_cast<uint64_t>(m_session->number()), ObjectId::Message, 0)),
      m_parentId(FolderIdBytes(store->guid, store->isPublic, folder)),
      m_storeId(StoreIdBytes(store->guid, store->isPublic)) {
    for (uint32_t i = 0; i < m_tags.size(); ++i) {
        const uint16_t id = PropId(m_tags[i]);
        const Source source = sourceOf(id);
        m_isPromoted.push_back(source != Blob_);
        if (source == Blob_)
            m_columns.push_back({id, i});
        else
            m_promoted.push_back({source, i});
    }
    std::ranges::stable_sort(m_columns, {}, &Column::id);
}

RowCells::Source RowCells::sourceOf(uint16_t id) {
    struct Entry {
        PropTag tag;
        Source source;
    };
    static constexpr Entry kSources[] = {{PR_SUBJECT, Subject},
                                         {PR_NORMALIZED_SUBJECT, NormalSubject},
                                         {PR_MESSAGE_CLASS, Class},
                                         {PR_CREATION_TIME, Created},
                                         {PR_LAST_MODIFICATION_TIME, Modified},
                                         {PR_ENTRYID, ShortId},
                                         {PR_LONGTERM_ENTRYID_FROM_TABLE, LongId},
                                         {PR_PARENT_ENTRYID, Parent},
                                         {PR_STORE_ENTRYID, StoreOfRow},
                                         {PR_MESSAGE_FLAGS, Flags},
                                         {PR_MESSAGE_SIZE, Size},
                                         {PR_HASATTACH, HasAttach},
                                         {PR_ASSOCIATED, Associated},
                                         {PR_HAS_NAMED_PROPERTIES, HasNamed}};
    const auto it = std::ranges::find(kSources, id, [](const Entry& e) { return PropId(e.tag); });
    return it == std::end(kSources) ? Blob_ : it->source;
}

void RowCells::FillPromoted(Statement& row, TableCell* cells, Arena& arena, bool keep) const {
    for (const PromotedColumn& column : m_promoted) {
        TableCell& cell = cells[column.place];
        cell = TableCell();
        fill(column.source, row, cell, arena, keep);
    }
}

/// Bytes of all that belongs to the message.
int64_t RowCells::sizeOf(Statement& row) const {
    const std::string_view body = row.Text(kBody);
    auto size = static_cast<int64_t>(body.size() + row.Text(kSubject).size());
    BlobReader reader(body);
    for (RawProperty property; reader.Next(property);)
        if (property.isLong)
            size += static_cast<int64_t>(property.length);
    if (row.Integer(kFlags) & kFlagHasAttach)
        size += m_session->file().Number(0, "SELECT sum(size) FROM attach WHERE msg=?",
                                         row.Integer(kId));
    return std::min<int64_t>(size, INT32_MAX);
}

void RowCells::fill(Source source, Statement& row, TableCell& cell, Arena& arena, bool keep) const {
    switch (source) {
    case Subject:
        if (!row.Null(kSubject))
            cell = textCell(row.Text(kSubject), arena, keep);
        break;
    case NormalSubject:
        if (!row.Null(kSubject))
            cell = textCell(NormalizedSubject(row.Text(kSubject)), arena, keep);
        break;
    case Class:
        cell = textCell(m_session->file().ClassName(row.Integer(kClass)), arena, keep);
        break;
    case Created:
        cell = timeCell(row.Integer(kCreated));
        break;
    case Modified:
        cell = timeCell(row.Integer(kModified));
        break;
    case ShortId:
        cell = idCell(m_shortId, arena, [&](char* at) { PutShort(at, row.Integer(kId)); });
        break;
    case LongId:
        cell = idCell(m_longId, arena, [&](char* at) { PutMessage(at, row.Integer(kId)); });
        break;
    case Parent:
        cell = binaryCell(m_parentId);
        break;
    case StoreOfRow:
        cell = binaryCell(m_storeId);
        break;
    case Flags:
        cell = numberCell(PropType::Long, row.Integer(kFlags) & kMessageFlags);
        break;
    case Size:
        cell = numberCell(PropType::Long, sizeOf(row));
        break;
    case HasAttach:
        cell = numberCell(PropType::Boolean, (row.Integer(kFlags) & kFlagHasAttach) != 0);
        break;
    case Associated:
        cell = numberCell(PropType::Boolean, IsAssociated(row.Integer(kId)));
        break;
    case HasNamed:
        cell = numberCell(PropType::Boolean, hasNamed(row.Text(kBody)));
        break;
    case Blob_:
        break;
    }
}

void RowCells::FillFromBlob(Statement& row, TableCell* cells, Arena& arena, bool keep,
                            std::vector<LongValue>& longValues) const {
    if (m_columns.empty())
        return;
    const std::string_view stored = row.Text(kBody);
    BlobReader reader(keep ? arena.Keep(stored) : stored);
    auto column = m_columns.begin();
    const auto end = m_columns.end();
    // few columns lie far apart, many close together
    const bool passOver = m_columns.size() <= kFewColumns;
    const auto next = [&](RawProperty& property) {
        return passOver ? reader.NextFrom(column->id, property) : reader.Next(property);
    };
    for (RawProperty property; column != end && next(property);) {
        const uint16_t id = PropId(property.tag);
        for (; column != end && column->id < id; ++column)
            cells[column->place] = TableCell();
        for (; column != end && column->id == id; ++column) {
            TableCell& cell = cells[column->place];
            const PropType type = TypeOf(property.tag);
            if (type == PropType::String && !property.isLong) { // most are
                cell = TableCell{type, {0}, property.payload};
                continue;
            }
            cell = TableCell();
            if (property.isLong)
                longValues.push_back({column->place, type});
            else
                DecodeCell(type, property.payload, cell);
        }
    }
    for (; column != end; ++column)
        cells[column->place] = TableCell();
}

} // namespace kr::sqlite
