#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "core/AgentSession.h"
#include "core/AtomicFile.h"
#include "core/ListModel.h"
#include "core/basExport.h"
#include "core/basListView.h"
#include "platform/events/epoll/EpollEvents.h"
#include "platform/registry/regfile/RegFileRegistry.h"
#include "tests/fakes/FakeDatabase.h"
#include "tests/fakes/FakeHttp.h"
#include "tests/fakes/FakePlatform.h"
#include "tests/fakes/ScriptedUi.h"

namespace kr {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;

constexpr const char* kQuestion = "The results have been saved. Do you want to view the file?";

/// An export touches no mailbox.
class NoStore : public StoreLibrary {
public:
    RDOSessionPtr CreateSession() override { throw PlatformError(MAPI_E_NOT_FOUND, "no store"); }
    std::shared_ptr<MailProfiles> CreateProfiles() override { return nullptr; }
};

class Export : public ::testing::Test {
protected:
    Export() {
        std::string pattern = (fs::temp_directory_path() / "kr-export-XXXXXX").string();
        m_folder = mkdtemp(pattern.data());
        registry = MakeRegFileRegistry(m_folder + "/user", m_folder + "/machine");
        events = MakeEpollEvents();
        platform =
            std::make_unique<Platform>(Platform{store, *registry, ui, *events, services, directory,
                                                shell, database, http, secrets, clock});
        session = std::make_unique<AgentSession>(*platform, m_folder + "/KR-Admin.log");
        list.SetColumns({{"Name", "name"},
                         {"Last Update, UTC", "datLast"},
                         {"Hidden Key", "sortKey"},
                         {"Size (KB)", "intSize"}});
    }
    ~Export() override {
        std::error_code ignored;
        fs::remove_all(m_folder, ignored);
    }
    void add(Strings texts) {
        ListRow row;
        row.texts = std::move(texts);
        list.Add(row);
    }
    std::string file(const std::string& name) const { return m_folder + "/" + name; }
    static std::string content(const std::string& path) {
        std::ifstream in(path, std::ios::binary);
        std::ostringstream out;
        out << in.rdbuf();
        return out.str();
    }
    std::string log() const { return content(m_folder + "/KR-Admin.log"); }
    /// Names and texts of the elements of each row; fails when it isn't well-formed.
    static std::vector<std::vector<std::pair<std::string, std::string>>>
    parse(const std::string& xml);

    std::string m_folder;
    std::unique_ptr<Registry> registry;
    std::unique_ptr<Events> events;
    NoStore store;
    ScriptedUi ui;
    FakeServices services;
    FakeDirectory directory;
    FakeShell shell;
    FakeDatabase database;
    FakeHttp http;
    FakeSecrets secrets;
    SettableClock clock;
    std::unique_ptr<Platform> platform;
    std::unique_ptr<AgentSession> session;
    ListModel list;
};

std::vector<std::vector<std::pair<std::string, std::string>>>
Export::parse(const std::string& xml) {
    std::vector<std::vector<std::pair<std::string, std::string>>> rows;
    xmlDoc* doc = xmlReadMemory(xml.data(), static_cast<int>(xml.size()), nullptr, nullptr,
                                XML_PARSE_NONET | XML_PARSE_NOBLANKS);
    EXPECT_NE(doc, nullptr) << xml;
    if (!doc)
        return rows;
    const xmlNode* root = xmlDocGetRootElement(doc);
    EXPECT_STREQ(reinterpret_cast<const char*>(root->name), "rows");
    for (const xmlNode* row = root->children; row; row = row->next) {
        EXPECT_STREQ(reinterpret_cast<const char*>(row->name), "row");
        rows.emplace_back();
        for (xmlNode* cell = row->children; cell; cell = cell->next) {
            xmlChar* text = xmlNodeGetContent(cell);
            rows.back().emplace_back(reinterpret_cast<const char*>(cell->name),
                                     reinterpret_cast<const char*>(text));
            xmlFree(text);
        }
    }
    xmlFreeDoc(doc);
    return rows;
}

TEST_F(Export, NothingChosenDoesNothing) {
    ui.ExpectSaveFile(std::nullopt);
    EXPECT_FALSE(ExportCSV(*session, list));
    EXPECT_EQ(ui.lastFilter(), "CSV file (*.csv)|*.csv");
    ui.ExpectSaveFile("");
    EXPECT_FALSE(ExportXML(*session, list));
    EXPECT_EQ(ui.lastFilter(), "XML file (*.xml)|*.xml");
    EXPECT_TRUE(ui.boxes().empty());
    EXPECT_EQ(log(), "");
}

TEST_F(Export, CsvLeavesCommasAndHiddenColumnsOut) {
    add({"Smith, John", "3/9/2026 4:05:06 PM", "hidden", "1,234"});
    add({"\"quoted\"", "Never"});
    add({"two\r\nlines\nof", "", "", "a\0b"s});
    ui.ExpectSaveFile(file("a.csv"));
    ui.Expect("The results have been saved to " + file("a.csv"));
    EXPECT_TRUE(ExportCSV(*session, list));
    EXPECT_EQ(content(file("a.csv")), "Name,Last Update UTC,Size (KB)\r\n"
                                      "Smith John,3/9/2026 4:05:06 PM,1234\r\n"
                                      "\"quoted\",Never,\r\n"
                                      "two lines of,,ab\r\n");
    EXPECT_EQ(ui.boxes().back().icon, BoxIcon::Information);
    EXPECT_EQ(ui.boxes().back().title, "zandrelAgent Administrator");
    EXPECT_TRUE(shell.files.empty());
    EXPECT_EQ(log(), "");
}

TEST_F(Export, CsvFollowsTheOrderShown) {
    add({"b"});
    add({"a"});
    SortListView(list, 0, SortOrder::Ascending);
    ui.ExpectSaveFile(file("a.csv"));
    ui.Expect("");
    EXPECT_TRUE(ExportCSV(*session, list));
    EXPECT_NE(content(file("a.csv")).find("a,,\r\nb,,\r\n"), std::string::npos);
}

TEST_F(Export, AnEmptyListIsItsTitles) {
    ui.ExpectSaveFile(file("a.csv"));
    ui.Expect("");
    EXPECT_TRUE(ExportCSV(*session, list));
    EXPECT_EQ(content(file("a.csv")), "Name,Last Update UTC,Size (KB)\r\n");
    ui.ExpectSaveFile(file("a.xml"));
    ui.Expect(kQuestion, BoxAnswer::No);
    EXPECT_TRUE(ExportXML(*session, list));
    EXPECT_EQ(content(file("a.xml")),
              "<?xml version=\"1.0\" standalone=\"yes\"?>\r\n<rows>\r\n</rows>\r\n");
}

TEST_F(Export, AKnownCsvProgramIsOffered) {
    RegValue command;
    command.type = RegType::Sz;
    command.text = "/usr/bin/sheet \"%1\"";
    registry->Write(Hive::ClassesRoot, "Excel.CSV\\shell\\Open\\command", "", command);
    ui.ExpectSaveFile(file("a.csv"));
    ui.Expect(kQuestion, BoxAnswer::No);
    EXPECT_TRUE(ExportCSV(*session, list));
    EXPECT_TRUE(shell.files.empty());
    ui.ExpectSaveFile(file("a.csv"));
    ui.Expect(kQuestion, BoxAnswer::Yes);
    EXPECT_TRUE(ExportCSV(*session, list));
    EXPECT_EQ(shell.files, Strings{file("a.csv")});
    EXPECT_EQ(ui.boxes().back().icon, BoxIcon::Question);
}

TEST_F(Export, TheDesktopsViewerCountsAsWell) {
    shell.viewer = true;
    shell.result = 2;
    ui.ExpectSaveFile(file("a.csv"));
    ui.Expect(kQuestion, BoxAnswer::Yes);
    EXPECT_TRUE(ExportCSV(*session, list));
    EXPECT_EQ(shell.files, Strings{file("a.csv")});
    EXPECT_TRUE(log().ends_with(":ExportCSV: could not open " + file("a.csv") + ": 2\n")) << log();
}

TEST_F(Export, AFailureIsToldAndLogged) {
    const std::string path = file("no/such/folder/a.csv");
    ui.ExpectSaveFile(path);
    ui.Expect("The save operation has failed!");
    EXPECT_FALSE(ExportCSV(*session, list));
    EXPECT_EQ(ui.boxes().back().icon, BoxIcon::Stop);
    EXPECT_TRUE(log().ends_with(":ExportCSV: no file at " + path + ": No such file or directory\n"))
        << log();
    ui.ExpectSaveFile("/dev/full");
    ui.Expect("The save operation has failed!");
    EXPECT_FALSE(ExportXML(*session, list));
    EXPECT_TRUE(log().ends_with(":ExportXML: no file at /dev/full: No space left on device\n"))
        << log();
    EXPECT_TRUE(fs::is_character_file("/dev/full"));
}

TEST_F(Export, XmlNamesElementsByTheTitlesLastWord) {
    add({"Smith, John", "Never", "hidden", "5"});
    ui.ExpectSaveFile(file("a.xml"));
    ui.Expect(kQuestion, BoxAnswer::Yes);
    EXPECT_TRUE(ExportXML(*session, list));
    EXPECT_EQ(
        content(file("a.xml")),
        "<?xml version=\"1.0\" standalone=\"yes\"?>\r\n<rows>\r\n<row>\r\n"
        "<Name>Smith, John</Name>\r\n<UTC>Never</UTC>\r\n<KB>5</KB>\r\n</row>\r\n</rows>\r\n");
    EXPECT_EQ(shell.files, Strings{file("a.xml")});
}

TEST_F(Export, XmlStaysWellFormedWhateverTheCellsHold) {
    const std::string rtl = "\xE2\x80\xAE\xD7\xA9\xD7\x9C\xD7\x95\xD7\x9D\xE2\x80\xAC";
    list.SetColumns({{"", "a"}, {"<x>", "b"}, {"9 9", "c"}, {"a &amp;", "d"}, {"\xFF\xFE", "e"}});
    add({"O'Brien & <Sons> \"Ltd\"", "nul\0 bell\x07"s, rtl, "]]>", "\xFF\xED\xA0\x80"});
    add({"<!-- --", "<![CDATA[", "&#0;", "\xEF\xBF\xBF", "<?pi"});
    ui.ExpectSaveFile(file("a.xml"));
    ui.Expect(kQuestion, BoxAnswer::No);
    EXPECT_TRUE(ExportXML(*session, list));
    const auto rows = parse(content(file("a.xml")));
    ASSERT_EQ(rows.size(), 2U);
    ASSERT_EQ(rows[0].size(), 5U);
    EXPECT_EQ(rows[0][0].second, "O'Brien & <Sons> \"Ltd\"");
    EXPECT_EQ(rows[0][1].first, "x");
    EXPECT_EQ(rows[0][1].second, "nul bell");
    EXPECT_EQ(rows[0][2].first, "_9");
    EXPECT_EQ(rows[0][2].second, rtl);
    EXPECT_EQ(rows[0][3].second, "]]>");
    EXPECT_EQ(rows[1][2].second, "&#0;");
    EXPECT_EQ(rows[1][3].second, "");
}

TEST_F(Export, AWholeFileTakesTheOldOnesPlace) {
    const std::string path = file("old");
    std::ofstream(path) << "old content";
    chmod(path.c_str(), 0640);
    fs::create_symlink(path, file("link"));
    std::string error;
    EXPECT_TRUE(WriteFileAtomically(file("link"), "new", error));
    EXPECT_EQ(content(path), "new");
    EXPECT_TRUE(fs::is_symlink(file("link")));
    EXPECT_EQ(fs::status(path).permissions(), fs::perms(0640));
    fs::create_directory(file("folder"));
    EXPECT_FALSE(WriteFileAtomically(file("folder"), "new", error));
    EXPECT_EQ(error, "Is a directory");
    size_t files = 0;
    for ([[maybe_unused]] const auto& entry : fs::directory_iterator(m_folder))
        ++files;
    EXPECT_EQ(files, 3U) << "nothing is left beside it";
}

} // namespace
} // namespace kr
