#pragma once

#include <string>
#include <vector>

#include "platform/store/sqlite/Arena.h"
#include "platform/store/sqlite/Blob.h"
#include "platform/store/sqlite/Objects.h"

namespace kr::sqlite {

/// The columns of a row that RowCells reads, in this order.
#define KR_ROW_COLUMNS "id,flags,class,ctime,mtime,subject,body"

/// Fills the cells of one row for a set of columns: promoted ones from the row itself, all others
/// in one pass over its blob, with the columns in the order of their ids.
class RowCells {
public:
    RowCells(SessionPtr session, const StoreRef& store, int64_t folder, std::vector<PropTag> tags);

    size_t Count() const { return m_tags.size(); }
    uint16_t IdOfColumn(size_t column) const { return PropId(m_tags[column]); }
    /// Whether the row itself answers that column.
    bool Promoted(size_t column) const { return m_isPromoted[column]; }
    /// A value of the blob that is kept outside it, for the caller to fetch.
    struct LongValue {
        size_t column;
        PropType type;
    };
    /// With `keep`, cells point into the arena; without, they may point into the statement's row,
    /// until its next step.
    void FillPromoted(Statement& row, TableCell* cells, Arena& arena, bool keep) const;
    void FillFromBlob(Statement& row, TableCell* cells, Arena& arena, bool keep,
                      std::vector<LongValue>& longValues) const;

private:
    enum Source : uint8_t {
        Blob_,
        Subject,
        NormalSubject,
        Class,
        Created,
        Modified,
        ShortId,
        LongId,
        Parent,
        StoreOfRow,
        Flags,
        Size,
        HasAttach,
        Associated,
        HasNamed
    };
    struct Column {
        uint16_t id;
        uint32_t place;
    };
    struct PromotedColumn {
        Source source;
        uint32_t place;
    };
    static Source sourceOf(uint16_t id);
    void fill(Source source, Statement& row, TableCell& cell, Arena& arena, bool keep) const;
    int64_t sizeOf(Statement& row) const;

    SessionPtr m_session;
    std::vector<PropTag> m_tags;
    std::vector<bool> m_isPromoted;
    std::vector<Column> m_columns;
    std::vector<PromotedColumn> m_promoted;
    std::string m_longId, m_shortId, m_parentId, m_storeId; // models to put numbers into
};

} // namespace kr::sqlite
