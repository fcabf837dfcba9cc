// Previews of data files: a query that picks columns, and one that filters, against reading the
// same file alone.
#include <unistd.h>
#include <zip.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>

#include "platform/database/Provider.h"
#include "platform/database/local/TableSource.h"
#include "platform/events/epoll/EpollEvents.h"
#include "tests/support/JetFile.h"

namespace {

namespace fs = std::filesystem;
using namespace kr;

constexpr int kRows = 100'000;
constexpr int kRounds = 7;
constexpr double kTarget = 1.5;

double millisecondsOf(const std::function<void()>& work) {
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
        .count();
}

/// Reads and drops.
struct Drop : TableSink {
    int64_t rows = 0;
    void Columns(const std::vector<std::string>&) override {}
    bool Row(std::vector<Value>&) override {
        ++rows;
        return true;
    }
};

std::string nameOf(int row) { return "Person Number " + std::to_string(row); }
std::string mailOf(int row) { return "person." + std::to_string(row) + "@example.test"; }

void writeText(const fs::path& path) {
    std::ofstream out(path);
    out << "DisplayName,Email1,UniqueID,BusPhone,Rate\n";
    for (int i = 0; i < kRows; ++i)
        out << '"' << nameOf(i) << "\"," << mailOf(i) << ',' << i << ",+49 89 " << i << ','
            << i % 100 << ".5\n";
}

void writeAccess(const fs::path& path) {
    JetTable people{"people",
                    {{"DisplayName"},
                     {"Email1"},
                     {"UniqueID", JetColumn::Long},
                     {"BusPhone"},
                     {"Rate", JetColumn::Double}},
                    {}};
    for (int i = 0; i < kRows; ++i)
        people.rows.push_back(
            {nameOf(i), mailOf(i), i, "+49 89 " + std::to_string(i), i % 100 + 0.5});
    std::ofstream(path, std::ios::binary) << JetFileBytes({people});
}

/// The parts of a sheet with shared strings.
class SheetParts {
public:
    void Text(char column, int row, const std::string& value) {
        strings += "<si><t>" + value + "</t></si>";
        cell(column, row) += " t=\"s\"><v>" + std::to_string(m_count++) + "</v></c>";
    }
    void Number(char column, int row, const std::string& number) {
        cell(column, row) += "><v>" + number + "</v></c>";
    }
    void Row(int row) { sheet += "<row r=\"" + std::to_string(row) + "\">"; }
    void EndRow() { sheet += "</row>"; }
    std::string strings = "<sst>";
    std::string sheet = "<worksheet><sheetData>";

private:
    std::string& cell(char column, int row) {
        return sheet += std::string("<c r=\"") + column + std::to_string(row) + "\"";
    }
    int m_count = 0;
};

void writeWorkbook(const fs::path& path) {
    SheetParts made;
    made.Row(1);
    char column = 'A';
    for (const char* name : {"DisplayName", "Email1", "UniqueID", "BusPhone", "Rate"})
        made.Text(column++, 1, name);
    made.EndRow();
    for (int i = 0; i < kRows; ++i) {
        const int row = i + 2;
        made.Row(row);
        made.Text('A', row, nameOf(i));
        made.Text('B', row, mailOf(i));
        made.Number('C', row, std::to_string(i));
        made.Text('D', row, "+49 89 " + std::to_string(i));
        made.Number('E', row, std::to_string(i % 100) + ".5");
        made.EndRow();
    }
    const std::pair<const char*, std::string> parts[] = {
        {"xl/workbook.xml", "<workbook xmlns:r='urn:r'><sheets><sheet name='people' r:id='r1'/>"
                            "</sheets></workbook>"},
        {"xl/_rels/workbook.xml.rels",
         "<Relationships><Relationship Id='r1' Target='worksheets/s.xml'/></Relationships>"},
        {"xl/sharedStrings.xml", made.strings + "</sst>"},
        {"xl/worksheets/s.xml", made.sheet + "</sheetData></worksheet>"}};
    int error = 0;
    zip_t* package = zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, &error);
    for (const auto& [name, body] : parts)
        zip_file_add(package, name, zip_source_buffer(package, body.data(), body.size(), 0), 0);
    if (zip_close(package) != 0)
        throw std::runtime_error("the workbook can't be written");
}

struct Subject {
    const char* name;
    std::string cxn;
    std::string table;
    std::function<std::unique_ptr<TableSource>()> source;
};

void measure(DatabaseProvider& provider, const Subject& subject) {
    const std::string table = subject.table;
    double floor = 1e9, preview = 1e9, filtered = 1e9;
    const auto run = [&](const std::string& query, size_t rows) {
        const DbRows result = provider.Open(subject.cxn)->Query(query);
        if (result.rows.size() != rows)
            throw std::runtime_error("rows are missing");
    };
    // the best of some rounds, floor and preview in turn: others use the machine as well
    for (int i = 0; i < kRounds; ++i) {
        floor = std::min(floor, millisecondsOf([&] {
                             Drop drop;
                             subject.source()->Read(table, drop);
                             if (drop.rows != kRows)
                                 throw std::runtime_error("rows are missing");
                         }));
        preview =
            std::min(preview, millisecondsOf([&] { run("SELECT * FROM [" + table + "]", kRows); }));
        filtered = std::min(
            filtered, millisecondsOf([&] {
                run("SELECT DisplayName, Email1 FROM [" + table + "] WHERE Rate > 50", kRows / 2);
            }));
    }
    std::printf("%s: read alone %.1f ms, preview %.1f ms, through the engine %.1f ms\n",
                subject.name, floor, preview, filtered);
    std::printf("ratio database.%s_preview/read %.2f target %.1f\n", subject.name, preview / floor,
                kTarget);
}

} // namespace

int main() {
    char pattern[] = "/tmp/kr-bench-XXXXXX";
    const fs::path folder = mkdtemp(pattern);
    writeText(folder / "people.csv");
    writeWorkbook(folder / "people.xlsx");
    writeAccess(folder / "people.mdb");
    const auto path = [&](const char* name) { return (folder / name).string(); };
    EpollEvents events;
    const auto provider = MakeDatabaseProvider(events);
    const std::string jet = "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=";
    const Subject subjects[] = {
        {"text", jet + folder.string() + ";Extended Properties=\"text;HDR=Yes;FMT=Delimited\";",
         "people.csv", [&] { return OpenTextFolder(folder.string(), true, "Delimited"); }},
        {"sheet",
         "Provider=Microsoft.ACE.OLEDB.12.0;Data Source=" + path("people.xlsx") +
             ";Extended Properties=\"Excel 12.0 Xml;HDR=YES\";",
         "people$", [&] { return OpenWorkbook(path("people.xlsx"), true, nullptr); }},
        {"access", jet + path("people.mdb") + ";", "people",
         [&] { return OpenAccess(path("people.mdb"), 30, nullptr); }}};
    for (const Subject& subject : subjects)
        measure(*provider, subject);
    fs::remove_all(folder);
    return 0;
}
