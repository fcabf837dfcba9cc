#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "core/Recordset.h"

namespace kr {

/// ADO's XML form of a persisted recordset: a schema and a row element for each row, with an
/// attribute for each field that isn't null.

/// Gives up to `size` bytes of a file into `buffer`; 0 at its end.
using XmlInput = std::function<size_t(char* buffer, size_t size)>;
/// Takes the next bytes of a file.
using XmlOutput = std::function<void(std::string_view)>;

/// Reads UTF-8, UTF-16 with its mark, or what the declaration names. Plain, inserted and updated
/// rows are kept, deleted ones are not; a cell that its type doesn't hold is null. Throws
/// PlatformError for what is no flat recordset.
std::shared_ptr<Recordset> ReadRecordsetXml(const XmlInput& input);
std::shared_ptr<Recordset> ReadRecordsetXml(std::string_view xml);
std::shared_ptr<Recordset> ReadRecordsetFile(const std::string& path);

/// Writes the rows that the recordset's filter shows, in its order. Characters that XML can't hold
/// are left out.
void WriteRecordsetXml(const Recordset& rows, const XmlOutput& output);
std::string RecordsetXml(const Recordset& rows);
/// The file is there whole or as it was before. Throws PlatformError.
void WriteRecordsetFile(const Recordset& rows, const std::string& path);

} // namespace kr
