#include <algorithm>
#include <fstream>

#include "core/AtomicFile.h"
#include "core/Keys.h"
#include "core/Text.h"
#include "core/Trap.h"
#include "core/basDate.h"
#include "core/basStore.h"
#include "core/basText.h"
#include "handhelds/basHandhelds.h"

/// Imports, exports and deletes of handheld records.
namespace kr {

namespace {

constexpr int kNoColumn = -1;
constexpr std::string_view kArchive = "Registration Archive";

/// The fields of an import, by a word in the heading. Kept: the first word that fits wins, so
/// "Not In Service Date" counts as "Not In Service".
struct ImportField {
    std::string_view word;
    std::string_view key;
    bool isDate = false;
};
constexpr ImportField kImportFields[] = {{"ESN", "ESN"},
                                         {"PIN", "PIN"},
                                         {"Activation Date", "Activation Date", true},
                                         {"Renewal Date", "Airtime Renewal Date", true},
                                         {"Not In Service", "Not In Service"},
                                         {"Not In Service Date", "Not In Service Date", true},
                                         {"Vendor", "Vendor"}};
constexpr size_t kEsn = 0, kPin = 1, kImportCount = std::size(kImportFields);

bool contains(std::string_view text, std::string_view word) {
    return ToLower(text).find(ToLower(word)) != std::string::npos;
}

/// Column of each import field in the first line; kNoColumn where there is none.
std::vector<int> columnsOf(const std::string& line) {
    std::vector<int> columns(kImportCount, kNoColumn);
    const auto headings = Split(line, ",");
    for (size_t i = 0; i < headings.size(); ++i)
        for (size_t field = 0; field < kImportCount; ++field)
            if (contains(headings[i], kImportFields[field].word)) {
                if (columns[field] == kNoColumn)
                    columns[field] = static_cast<int>(i);
                break;
            }
    return columns;
}

bool readLine(std::istream& file, std::string& line) {
    if (!std::getline(file, line))
        return false;
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    return true;
}

std::string cellOf(const std::vector<std::string>& cells, int column) {
    const auto at = static_cast<size_t>(column);
    return column != kNoColumn && at < cells.size() ? std::string(Trim(cells[at])) : std::string();
}

void refuse(AgentSession& session, const std::string& text) {
    session.ui().MsgBox(text, BoxIcon::Exclamation);
}

RDOMessagePtr findBy(AgentSession& session, RDOFolder& folder, std::string_view key,
                     const std::string& value) {
    const auto ids =
        GetFilteredIDs(session, folder, {{std::string(key), PropType::String, 0, value}}, false);
    return ids.empty() ? nullptr : GetMessage(session, ids.front());
}

/// Positions a clone of the recordset on the record of that value; nullptr when it has none.
std::shared_ptr<Recordset> rowOf(AgentSession& session, std::string_view field,
                                 std::string_view value) {
    if (!session.handhelds)
        return nullptr;
    auto row = session.handhelds->Clone();
    return row->SetFilter(HandheldFilter(field, value)) && !row->EOF_() ? row : nullptr;
}

/// The row of a record that an import has made.
void addRow(AgentSession& session, const std::string& esn, const std::string& pin,
            const EntryID& id) {
    if (!session.handhelds)
        return;
    std::vector<Value> row(kHandheldFieldCount);
    row[Index(HandheldField::ESN)] = esn;
    row[Index(HandheldField::PIN)] = pin;
    row[Index(HandheldField::EntryID)] = id.text();
    session.handhelds->Append(row);
}

/// Writes the cells of one line to a record and its row; a date that is none is left out.
void importLine(AgentSession& session, RDOMessage& record, const std::vector<std::string>& cells,
                const std::vector<int>& columns, Recordset* row) {
    const Clock& clock = session.platform.clock;
    for (size_t field = 0; field < kImportCount; ++field) {
        if (field == kPin || columns[field] == kNoColumn)
            continue;
        const ImportField& import = kImportFields[field];
        const std::string text = cellOf(cells, columns[field]);
        if (!import.isDate) {
            SetKey(record, import.key, text);
            if (row)
                row->Set(import.key, text);
        } else if (const auto date = ParseDate(text)) {
            SetKey(record, import.key, LocalToUTC(*date, clock));
            if (row)
                row->Set(import.key, *date);
        }
    }
    record.Save();
}

/// A file that was opened, with its first line read.
struct CsvFile {
    std::ifstream stream;
    std::string heading;
};

/// Runs `import` for each further line until the person stops it; gives how many it took.
int64_t eachLine(AgentSession& session, CsvFile& file,
                 const std::function<bool(const std::vector<std::string>&)>& import) {
    const auto progress =
        session.ui().StartProgress("Importing handheld data...", ProgressKind::Plain);
    int64_t taken = 0;
    int64_t lines = 0;
    for (std::string line; !progress->Cancelled() && readLine(file.stream, line);) {
        const bool good = Trap([&] { return import(Split(line, ",")); },
                               [&](const Trapped& error) {
                                   session.log("error importing line " + std::to_string(lines + 2) +
                                               ": " + error.text());
                               });
        taken += good ? 1 : 0;
        progress->SetValue(++lines, 0);
        session.ui().DoEvents();
    }
    return taken;
}

} // namespace

bool ImportHandheldData(AgentSession& session, const std::string& file) {
    CsvFile csv{std::ifstream(file), {}};
    if (!csv.stream) {
        refuse(session, "Unable to open " + file + " for import!");
        return false;
    }
    readLine(csv.stream, csv.heading);
    const std::vector<int> columns = columnsOf(csv.heading);
    if (columns[kPin] == kNoColumn) {
        refuse(session, "Unable to identify PIN column in " + file + "; unable to import!");
        return false;
    }
    std::string names;
    for (size_t field = 0; field < kImportCount; ++field)
        if (field != kPin && columns[field] != kNoColumn)
            names += std::string(kImportFields[field].word) + ", ";
    if (names.empty()) {
        refuse(session, "Unable to identify valid data column in " + file + "; unable to import!");
        return false;
    }
    if (session.ui().MsgBox("The following fields wll be imported by PIN: " + names +
                                "\r\nProceed?",
                            BoxIcon::Question, BoxButtons::YesNo) != BoxAnswer::Yes)
        return false;
    const RDOFolderPtr folder = GetHandheldsFolder(session);
    if (!folder)
        return false;
    const int64_t count = eachLine(session, csv, [&](const std::vector<std::string>& cells) {
        const std::string pin = cellOf(cells, columns[kPin]);
        if (pin.empty())
            return false;
        RDOMessagePtr record = findBy(session, *folder, "PIN", pin);
        if (!record)
            record = findBy(session, *folder, "DeviceID", pin);
        if (!record)
            return false;
        importLine(session, *record, cells, columns, rowOf(session, "PIN", pin).get());
        return true;
    });
    session.ui().MsgBox("Imported " + std::to_string(count) + " records.", BoxIcon::Information);
    return true;
}

bool ImportHandheldPINs(AgentSession& session, const std::string& file) {
    CsvFile csv{std::ifstream(file), {}};
    if (!csv.stream) {
        refuse(session, "Unable to open " + file + " for import!");
        return false;
    }
    readLine(csv.stream, csv.heading);
    const std::vector<int> columns = columnsOf(csv.heading);
    for (const size_t field : {kEsn, kPin}) {
        if (columns[field] != kNoColumn)
            continue;
        refuse(session, "Unable to identify " + std::string(kImportFields[field].word) +
                            " column in " + file + " for import!");
        return false;
    }
    const RDOFolderPtr folder = GetHandheldsFolder(session);
    if (!folder)
        return false;
    const int64_t count = eachLine(session, csv, [&](const std::vector<std::string>& cells) {
        const std::string esn = cellOf(cells, columns[kEsn]);
        const std::string pin = cellOf(cells, columns[kPin]);
        if (esn.empty())
            return false;
        RDOMessagePtr record = findBy(session, *folder, "ESN", esn);
        if (!record) {
            record = folder->Items()->Add(kHandheldClass);
            SetKey(*record, "ESN", esn);
        }
        SetKey(*record, "PIN", pin);
        record->Save();
        if (const auto row = rowOf(session, "ESN", esn))
            row->Set(Index(HandheldField::PIN), pin);
        else
            addRow(session, esn, pin, record->ID());
        return true;
    });
    session.ui().MsgBox("Successfully imported " + std::to_string(count) + " PINs.",
                        BoxIcon::Information);
    return true;
}

// --- History

namespace {

/// Keys of a history's columns, in their order, with their headings.
struct HistoryColumn {
    std::string_view key;
    std::string_view heading;
};
constexpr HistoryColumn kHistory[] = {{"PIN", "PIN"},
                                      {"ESN", "ESN"},
                                      {"Model", "Model"},
                                      {"RAM", "RAM"},
                                      {"OS", "OS"},
                                      {"KR-Applet", "Applet"},
                                      {"Vendor", "Vendor"},
                                      {"Activation Date", "Activation Date"},
                                      {"Airtime Renewal Date", "Airtime Renewal Date"},
                                      {"RMA Date", "RMA Date"},
                                      {"Not In Service", "Not In Service"},
                                      {"Not In Service Date", "Not In Service Date"},
                                      {"AssetXferDate", "Transfer Date"},
                                      {"Email", "Email"},
                                      {"DisplayName", "Display Name"},
                                      {"FirstName", "First Name"},
                                      {"LastName", "Last Name"},
                                      {"Phone", "Phone"}};

std::string historyText(RDOMessage& record, std::string_view key, const Clock& clock) {
    if (key == "Email") {
        const std::string email = record.Fields(PR_CONVERSATION_TOPIC).text();
        return email == kNone ? std::string() : email;
    }
    const Value value = GetKey(record, key);
    const Time* date = value.get<Time>();
    std::string text = date ? FormatShortDate(UTCToLocal(*date, clock)) : value.text();
    std::erase_if(text, [](char c) { return c == ',' || c == '\r' || c == '\n'; });
    return text;
}

std::string historyLine(RDOMessage& record, const Clock& clock) {
    std::string line = FormatDate(UTCToLocal(record.CreationTime(), clock));
    for (const HistoryColumn& column : kHistory)
        line += "," + historyText(record, column.key, clock);
    return line + "\r\n";
}

std::string historyHeading() {
    std::string line = "Registration Date";
    for (const HistoryColumn& column : kHistory)
        line += "," + std::string(column.heading);
    return line + "\r\n";
}

/// Records of the archive that match; none where there is no archive yet.
std::vector<EntryID> archived(AgentSession& session, const FieldFilter& filter) {
    const RDOFolderPtr folder = GetHandheldsFolder(session);
    const RDOFolderPtr archive = folder ? folder->Folders()->Item(kArchive) : nullptr;
    return archive ? GetFilteredIDs(session, *archive, {filter}, false) : std::vector<EntryID>();
}

/// What a name may hold in a file's name.
std::string fileName(std::string_view name) {
    std::string plain(name);
    std::ranges::replace_if(
        plain,
        [](char c) {
            return static_cast<unsigned char>(c) < 0x20 ||
                   std::string_view("/\\:*?\"<>|").find(c) != std::string_view::npos;
        },
        '_');
    return "RegHistory-" + plain + ".csv";
}

bool exportHistory(AgentSession& session, std::string_view name, const EntryID& handheld,
                   const std::vector<EntryID>& earlier) {
    const Clock& clock = session.platform.clock;
    std::string text = historyHeading();
    const auto add = [&](const EntryID& id) {
        if (const RDOMessagePtr record = GetMessage(session, id))
            text += historyLine(*record, clock);
    };
    add(handheld);
    for (const EntryID& id : earlier)
        add(id);
    const std::string path = session.platform.shell.TempFolder() + "/" + fileName(name);
    if (std::string error; !WriteFileAtomically(path, text, error)) {
        session.log("unable to write " + path + ": " + error);
        refuse(session, "Unable to write " + path + ": " + error);
        return false;
    }
    session.platform.shell.OpenFile(path);
    return true;
}

} // namespace

bool ExportHandheldHistory(AgentSession& session, std::string_view pin, const EntryID& handheld) {
    return Trap(
        [&] {
            const auto earlier = archived(session, {"PIN", PropType::String, 0, std::string(pin)});
            return exportHistory(session, pin, handheld, earlier);
        },
        [&](const Trapped& error) { session.log("ExportHandheldHistory:" + error.text()); });
}

bool ExportUserHistory(AgentSession& session, std::string_view email, const EntryID& handheld) {
    return Trap(
        [&] {
            const auto earlier = archived(
                session, {"", PropType::String, PR_CONVERSATION_TOPIC, std::string(email)});
            if (earlier.empty()) {
                session.ui().MsgBox("No previous registrations for this user.",
                                    BoxIcon::Information);
                return false;
            }
            return exportHistory(session, email, handheld, earlier);
        },
        [&](const Trapped& error) { session.log("ExportUserHistory:" + error.text()); });
}

// --- Delete

bool DeleteHandheld(AgentSession& session, const EntryID& handheld) {
    return Trap(
        [&] {
            const RDOMessagePtr record = GetMessage(session, handheld);
            if (!record)
                return false;
            record->Delete();
            if (const auto row = rowOf(session, "EntryID", handheld.text()))
                row->Delete();
            return true;
        },
        [&](const Trapped& error) { session.log("DeleteHandheld:" + error.text()); });
}

bool DeleteAllHandhelds(AgentSession& session) {
    const RDOFolderPtr folder = GetHandheldsFolder(session);
    if (!folder)
        return false;
    const auto progress =
        session.ui().StartProgress("Deleting handhelds, please wait...", ProgressKind::Plain);
    bool whole = true;
    Trap(
        [&] {
            const RDOItemsPtr items = folder->Items();
            const int64_t total = items->Count();
            for (int64_t done = 0; items->Count() > 0; ++done) {
                if (progress->Cancelled()) {
                    whole = false;
                    return;
                }
                items->Item(items->Count())->Delete();
                progress->SetValue(done, total);
                session.ui().DoEvents();
            }
        },
        [&](const Trapped& error) {
            session.log("DeleteAllHandhelds:" + error.text());
            whole = false;
        });
    session.handhelds.reset(); // the next look-up loads what is left
    return whole;
}

} // namespace kr
