#include "platform/database/Database.h"

#include "core/Text.h"

namespace kr {

int DbRows::Column(std::string_view name) const {
    for (size_t i = 0; i < columns.size(); ++i)
        if (EqualNoCase(columns[i], name))
            return static_cast<int>(i);
    return -1;
}

DbRows Database::Query(std::string_view query, const DbLimits& limits) {
    DbRows result;
    Execute(
        query, limits, [&](const std::vector<std::string>& names) { result.columns = names; },
        [&](std::vector<Value>& row) { result.rows.push_back(std::move(row)); });
    return result;
}

} // namespace kr
