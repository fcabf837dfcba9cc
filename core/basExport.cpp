#include "core/basExport.h"

#include "core/AgentSession.h"
#include "core/AtomicFile.h"
#include "core/ListModel.h"
#include "core/basRegistry.h"
#include "core/basText.h"

namespace kr {

namespace {

constexpr std::string_view kViewQuestion =
    "The results have been saved. Do you want to view the file?";

/// Numbers of the columns that are exported.
std::vector<int> visibleColumns(const ListModel& list) {
    std::vector<int> columns;
    for (size_t i = 0; i < list.Columns().size(); ++i)
        if (list.Columns()[i].visible())
            columns.push_back(static_cast<int>(i));
    return columns;
}

/// A cell of the CSV file. Commas are removed and not quoted: deliberate, the format stays so. A
/// line break would end the item's line and becomes a blank.
void appendCsvCell(std::string& out, std::string_view text) {
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == ',' || c == '\0' || (c == '\r' && text.substr(i + 1).starts_with('\n')))
            continue;
        out += c == '\r' || c == '\n' ? ' ' : c;
    }
}

std::string csvOf(const ListModel& list) {
    const std::vector<int> columns = visibleColumns(list);
    std::string out;
    for (const int column : columns) {
        if (column != columns.front())
            out += ',';
        appendCsvCell(out, list.Columns()[static_cast<size_t>(column)].title);
    }
    out += "\r\n";
    for (size_t row = 0; row < list.Count(); ++row) {
        // The item's own text always leads the line, also when its column is hidden.
        appendCsvCell(out, list.Text(row, 0));
        for (const int column : columns) {
            if (column == 0)
                continue;
            out += ',';
            appendCsvCell(out, list.Text(row, column));
        }
        out += "\r\n";
    }
    return out;
}

std::string xmlOf(const ListModel& list) {
    const std::vector<int> columns = visibleColumns(list);
    std::vector<std::string> tags;
    for (const int column : columns)
        tags.push_back(XmlTagName(list.Columns()[static_cast<size_t>(column)].title));
    std::string out = "<?xml version=\"1.0\" standalone=\"yes\"?>\r\n<rows>\r\n";
    for (size_t row = 0; row < list.Count(); ++row) {
        out += "<row>\r\n";
        for (size_t i = 0; i < columns.size(); ++i)
            out += '<' + tags[i] + '>' + XmlText(list.Text(row, columns[i])) + "</" + tags[i] +
                   ">\r\n";
        out += "</row>\r\n";
    }
    return out + "</rows>\r\n";
}

bool save(AgentSession& session, std::string_view procedure, const std::string& path,
          std::string_view content) {
    std::string error;
    if (WriteFileAtomically(path, content, error))
        return true;
    session.log(std::string(procedure) + ": no file at " + path + ": " + error);
    session.ui().MsgBox("The save operation has failed!", BoxIcon::Stop);
    return false;
}

/// The program that the classes name for CSV files, or the desktop's default one.
bool hasCsvViewer(Platform& platform) {
    const Value command =
        RegRead(platform.registry, Hive::ClassesRoot, "Excel.CSV\\shell\\Open\\command", "");
    return !command.text().empty() || platform.shell.HasViewer("text/csv");
}

void offerToView(AgentSession& session, std::string_view procedure, const std::string& path) {
    const BoxAnswer answer =
        session.ui().MsgBox(kViewQuestion, BoxIcon::Question, BoxButtons::YesNo);
    if (answer != BoxAnswer::Yes)
        return;
    const int result = session.platform.shell.OpenFile(path);
    if (result <= kShellSuccess)
        session.log(std::string(procedure) + ": could not open " + path + ": " +
                    std::to_string(result));
}

} // namespace

bool ExportCSV(AgentSession& session, const ListModel& list) {
    const auto path = session.ui().SaveFileName("Export to CSV", "CSV file (*.csv)|*.csv");
    if (!path || path->empty() || !save(session, "ExportCSV", *path, csvOf(list)))
        return false;
    if (hasCsvViewer(session.platform))
        offerToView(session, "ExportCSV", *path);
    else
        session.ui().MsgBox("The results have been saved to " + *path, BoxIcon::Information);
    return true;
}

bool ExportXML(AgentSession& session, const ListModel& list) {
    const auto path = session.ui().SaveFileName("Export to XML", "XML file (*.xml)|*.xml");
    if (!path || path->empty() || !save(session, "ExportXML", *path, xmlOf(list)))
        return false;
    offerToView(session, "ExportXML", *path);
    return true;
}

} // namespace kr
