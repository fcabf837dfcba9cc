#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "core/Value.h"

namespace kr {

/// A small Access file (Jet 4) of the tests' own making, with as many rows as wanted.
struct JetColumn {
    enum Type : uint8_t { Boolean = 1, Long = 4, Double = 7, Date = 8, Text = 10 };
    std::string name;
    Type type = Text;
};
struct JetTable {
    std::string name;
    std::vector<JetColumn> columns;
    /// Boolean, int32_t, double (a date counts days from 30 December 1899) or text by column.
    std::vector<std::vector<Value>> rows;
};

std::string JetFileBytes(const std::vector<JetTable>& tables);

} // namespace kr
