// Imports of files as large as an inventory's export.

#include <gtest/gtest.h>

#include <ctime>
#include <fstream>

#include "core/basAgent.h"
#include "core/basDate.h"
#include "core/basStore.h"
#include "handhelds/basHandhelds.h"
#include "tests/support/World.h"

namespace {

using namespace kr;

constexpr int kHandhelds = 2000;
constexpr int kLines = 100'000;

class HandheldImport : public ::testing::Test {
protected:
    HandheldImport() {
        world.LogOnConfigured();
        Organisation other(world.storePath());
        other.Begin();
        const RDOSessionPtr rdo = other.OpenSession("agentbox");
        const RDOFolderPtr made =
            rdo->Stores().DefaultStore()->RootFolder()->Folders()->Add("Handhelds");
        for (int i = 0; i < kHandhelds; ++i) {
            const RDOMessagePtr record = made->Items()->Add(kHandheldClass);
            record->SetFields(PR_CONVERSATION_TOPIC, "p" + std::to_string(i) + "@x.test");
            SetKey(*record, i % 10 == 0 ? "DeviceID" : "PIN", pin(i));
            SetKey(*record, "ESN", esn(i));
            record->Save();
        }
        const std::string id = made->ID().text();
        other.Commit();
        const RDOMessagePtr agent = GetAgentMessage(session());
        SetKey(*agent, "HHEntryID", id);
        agent->Save();
        folder = GetHandheldsFolder(session());
    }
    AgentSession& session() { return *world.session; }
    static std::string pin(int i) { return "2" + std::to_string(1000000 + i); }
    static std::string esn(int i) { return "E" + std::to_string(i); }
    std::string path(const std::string& name) const { return world.folder() + "/" + name; }
    /// What the row of that PIN has in a field.
    std::string cell(const std::string& pinText, HandheldField field) {
        const auto row = session().handhelds->Clone();
        row->SetFilter(HandheldFilter("PIN", pinText));
        return row->EOF_() ? "(none)" : std::string(row->Text(Index(field)));
    }

    World world;
    RDOFolderPtr folder;
};

/// Each handheld has one good line; the rest are unknown PINs, PINs in quotes, lines cut short,
/// lines with a comma inside quotes, and empty ones.
TEST_F(HandheldImport, AHundredThousandLinesOfData) {
    {
        std::ofstream csv(path("data.csv"));
        csv << "\xEF\xBB\xBFPIN,Vendor,Airtime Renewal Date,Comments\r\n";
        for (int i = 0; i < kLines; ++i) {
            const int known = i / 50;
            switch (i % 50) {
            case 0:
                csv << pin(known) << ",North " << known << ",3/9/2026\r\n";
                break;
            case 1:
                csv << '"' << pin(known) << "\",Quoted,3/9/2026\r\n";
                break;
            case 2:
                csv << "\r\n";
                break;
            case 3:
                csv << ",no PIN,3/9/2026\r\n";
                break;
            default:
                csv << "3FFF" << i << ",\"North, Mobile\",3/9/2026,x,y,z\r\n";
            }
        }
        csv << pin(7) << ",Cut"; // no line break, and no date
    }
    ASSERT_TRUE(DeviceInfo(session()));
    world.ui.Expect("The following fields wll be imported by PIN: Renewal Date, Vendor, \r\n"
                    "Proceed?",
                    BoxAnswer::Yes);
    world.ui.Expect("Imported 2001 records.");
    const std::clock_t start = std::clock();
    EXPECT_TRUE(ImportHandheldData(session(), path("data.csv")));
    const auto took = static_cast<int>((std::clock() - start) / CLOCKS_PER_SEC);
    RecordProperty("seconds", took);
    EXPECT_LT(took, 120) << "of the processor; unknown PINs must not read the whole folder";
    EXPECT_EQ(folder->Items()->Count(), kHandhelds) << "an unknown PIN makes no record";
    EXPECT_EQ(cell(pin(1999), HandheldField::Vendor), "North 1999");
    EXPECT_EQ(cell(pin(10), HandheldField::Vendor), "North 10") << "known by its older name";
    EXPECT_EQ(cell(pin(7), HandheldField::Vendor), "Cut");
    ASSERT_TRUE(DeviceInfo(session(), true));
    EXPECT_EQ(cell(pin(1999), HandheldField::Vendor), "North 1999");
    EXPECT_EQ(cell(pin(7), HandheldField::Vendor), "Cut");
}

/// By ESN, in the order of the file: the last line of an ESN wins, and an unknown one gets a
/// record.
TEST_F(HandheldImport, PinsWithQuotesAndMissingColumns) {
    constexpr int kNew = 500;
    {
        std::ofstream csv(path("pins.csv"));
        csv << "Model,\"New PIN\",ESN (hex)\n";
        for (int i = 0; i < kHandhelds; ++i)
            csv << "8700g,3" << i << "," << esn(i) << "\n";
        for (int i = 0; i < kNew; ++i)
            csv << "8800,4" << i << ",NEW" << i << ",more\n";
        csv << "8700g,5555\n";                     // no ESN
        csv << "8700g,," << esn(1) << "\n";        // no PIN: the old one goes
        csv << "8700g,\"6,6\"," << esn(2) << "\n"; // the comma parts the quotes: an unknown ESN
    }
    ASSERT_TRUE(DeviceInfo(session()));
    world.ui.Expect("Successfully imported 2502 PINs.");
    EXPECT_TRUE(ImportHandheldPINs(session(), path("pins.csv")));
    ASSERT_TRUE(DeviceInfo(session(), true));
    EXPECT_EQ(session().handhelds->RecordCount(), kHandhelds + kNew + 1);
    EXPECT_EQ(cell("31999", HandheldField::ESN), "E1999");
    EXPECT_EQ(cell("4499", HandheldField::ESN), "NEW499");
    EXPECT_EQ(cell("31", HandheldField::ESN), "(none)");
    EXPECT_EQ(cell("32", HandheldField::ESN), "E2");
    EXPECT_EQ(cell("\"6", HandheldField::ESN), "6\"");
}

} // namespace
