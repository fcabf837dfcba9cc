#include <gtest/gtest.h>

#include <set>

#include "console/Menus.h"

namespace {

using namespace kr;
using Names = std::vector<std::string_view>;

const char* const kKinds[] = {"agent",         "langroot",
                              "language",      "message",
                              "mgmt",          "lookup",
                              "domain",        "reg",
                              "regbes",        "reghh",
                              "server",        "mcr",
                              "mclf",          "mcl",
                              "mclacf",        "mclacds",
                              "cclroot",       "ccl",
                              "pdlroot",       "pdl",
                              "pdlt",          "pdlrootX",
                              "pushuser",      "mplroot",
                              "mpl",           "epsroot",
                              "acfroot",       "mastercntct",
                              "altcntct",      "acf",
                              "acds",          "acfmbx",
                              "epsuser",       "epsrestoreuser",
                              "ssuroot",       "ssuser",
                              "installed",     "zpa",
                              "catroot",       "catalog",
                              "zpa:cat",       "bsrroot",
                              "epsnotes",      "epsnote",
                              "xepsnote",      "epsnotesPF",
                              "epsnotePF",     "mbl-eps",
                              "mbl-bsr",       "mbl:channel",
                              "mbl:message",   "besconnectorroot",
                              "connector:sql", "connector:mbx",
                              "bes",           "chklstroot",
                              "chklst",        "chklstx",
                              "censusroot",    "census",
                              "user"};

TEST(Menus, EveryEntryOfEverySetHasACaption) {
    for (const char* kind : kKinds) {
        EXPECT_FALSE(MenuSet(kind).empty()) << kind;
        for (const std::string_view name : MenuSet(kind)) {
            const MenuEntry* entry = FindMenuEntry(name);
            ASSERT_NE(entry, nullptr) << kind << ": " << name;
            EXPECT_EQ(entry->menu, "Sub") << name;
            EXPECT_FALSE(entry->caption.empty()) << name;
        }
    }
}

TEST(Menus, NamesAreUniqueAndParentsExist) {
    std::set<std::string_view> names;
    const std::set<std::string_view> tops{"Action", "View", "Help", "Sub"};
    for (const MenuEntry& entry : MenuEntries()) {
        EXPECT_TRUE(tops.contains(entry.menu) || names.contains(entry.menu)) << entry.name;
        EXPECT_TRUE(names.insert(entry.name).second) << entry.name;
    }
}

TEST(Menus, SetsOfAFewKinds) {
    EXPECT_EQ(MenuSet("agent"),
              (Names{"mnuActionmnuProps", "mnuSubmnuConnect", "mnuSubmnuBackupConfig",
                     "mnuSubmnuRestoreConfig", "mnuSubmnuBackupMCL", "mnuSubmnuRestoreMCL",
                     "mnuSubmnuBackupAll", "mnuProxy"}));
    EXPECT_EQ(MenuSet("mclacds"), MenuSet("mcl"));
    EXPECT_EQ(MenuSet("pdlt").size(), 5U);
    EXPECT_EQ(MenuSet("server").size(), 11U);
    EXPECT_EQ(MenuSet("epsuser"), (Names{"mnuRestore", "mnuCustomEPS", "mnuActionmnuDeleteUser",
                                         "mnuActionmnuDisable", "mnuRestoreView"}));
}

TEST(Menus, KindsAreTakenWholeAndExactly) {
    EXPECT_TRUE(MenuSet("").empty());
    EXPECT_TRUE(MenuSet("mc").empty());
    EXPECT_TRUE(MenuSet("MCL").empty());
    EXPECT_TRUE(MenuSet("persroot").empty());
    EXPECT_NE(MenuSet("epsnote"), MenuSet("epsnotes"));
    EXPECT_NE(MenuSet("zpa"), MenuSet("zpa:cat"));
}

TEST(Menus, Captions) {
    const std::pair<std::string_view, std::string_view> captions[] = {
        {"mnuActionmnuProps", "Properties"},
        {"mnuActionActivate", "Make Active"},
        {"mnuActionInactivate", "Make Inactive"},
        {"mnuSubmnuConnect", "Connect to mailbox"},
        {"mnuSubmnuBackupAll", "Backup All"},
        {"mnuSubmnuBackupConfig", "Backup Configuration"},
        {"mnuProxy", "Proxy Configuration"},
        {"mnuServerTasks", "Server Tasks..."},
        {"mnuServerEndTask", "End Current Task"},
        {"mnuActionWizard", "Run Startup Wizard"},
        {"mnuActionmnuDelete", "&Delete All Users"},
        {"mnuActionmnuLoad", "&Load Users"},
        {"mnuMclAddPF", "Add MCL (Target is Public Folder)"},
        {"mnuPDLTextEnable", "Enable for Text Blast"},
        {"mnuListViewMode(0)", "Lar&ge Icons"},
        {"mnuListViewMode(1)", "S&mall Icons"},
        {"mnuListViewMode(2)", "&List"},
        {"mnuListViewMode(3)", "&Details"},
        {"mnuViewQuick", "&Quick Load"},
        {"mnuViewRefresh", "&Refresh"},
        {"mnuHelpSupport", "Contact Support"},
        {"mnuHelpUpdates", "Check for Updates"},
        {"mnuHelpAbout", "About zandrelAgent Administrator"},
    };
    for (const auto& [name, caption] : captions) {
        ASSERT_NE(FindMenuEntry(name), nullptr) << name;
        EXPECT_EQ(FindMenuEntry(name)->caption, caption);
    }
}

TEST(Menus, DoubleClick) {
    EXPECT_EQ(ActivationOf("mclacf"), "mnuActionmnuProps");
    EXPECT_EQ(ActivationOf("message"), "mnuLanguageEdit");
    EXPECT_EQ(ActivationOf("reghh"), "mnuRegDetail");
    EXPECT_EQ(ActivationOf("altcntct"), "mnuMcDetails");
    EXPECT_EQ(ActivationOf("chklst"), "mnuCheckListEdit");
    EXPECT_EQ(ActivationOf("epsuser"), "mnuRestore");
    for (const char* kind : {"language", "domain", "mcr", "acf", "acds", "acfmbx", "bes"})
        EXPECT_EQ(ActivationOf(kind), "goto");
    EXPECT_EQ(ActivationOf("pushuser"), "");
    EXPECT_EQ(ActivationOf(""), "");
}

} // namespace
