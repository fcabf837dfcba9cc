#include <gtest/gtest.h>

#include "console/FolderTree.h"
#include "tests/support/FailingWorld.h"

namespace {

using namespace kr;

class FolderFailures : public ::testing::Test {
protected:
    void SetUp() override { world.LogOnConfigured(); }
    bool load(const Arm& arm, const FolderPickOptions& options) {
        FailingSession failing(world);
        failing.LogOn();
        arm(failing.store.plan());
        FolderTree tree(*failing.session.rdo, failing.session.log, options);
        bool loaded = false;
        EXPECT_NO_THROW(loaded = tree.LoadRoots());
        EXPECT_EQ(loaded, !tree.Roots().empty());
        EXPECT_NO_THROW(tree.FindPath("\\\\Public Folders\\All Public Folders\\Shared\\R & D"));
        for (const auto& root : tree.Roots())
            EXPECT_NO_THROW(tree.Expand(*root));
        unloaded += !loaded;
        partly += loaded && tree.Roots().size() == 1;
        return failing.store.plan().Failed();
    }
    World world;
    int unloaded = 0; // runs that end with the window closing
    int partly = 0;   // runs with one of the two stores
};

TEST_F(FolderFailures, EachStepHasItsReasonAndOneStoreIsEnough) {
    EXPECT_GT(ForEachFailure([this](const Arm& arm) { return load(arm, {}); }), 20);
    for (const char* step :
         {"DefaultStore ", "IPMRootFolder ", "IPMRootFolder.Folders ", "AllPublicFolders "})
        EXPECT_TRUE(world.logHas("frmFolderPicker: unable to retrieve " + std::string(step) +
                                 std::to_string(MAPI_E_CALL_FAILED) + " " + std::string(kFailure)))
            << step;
    EXPECT_GT(partly, 0);
    EXPECT_GT(unloaded, 0);
    EXPECT_TRUE(world.logHas("frmFolderPicker: unable to read \\\\"));
}

TEST_F(FolderFailures, TheMailboxAloneClosesWithEachOfItsFailures) {
    FolderPickOptions options;
    options.showPublicFolders = false;
    ForEachFailure([&](const Arm& arm) { return load(arm, options); });
    // the store, its name, its root, that one's id and store id, its sub-folders and their number
    EXPECT_GE(unloaded, 2 * 7);
    EXPECT_TRUE(world.logHas("frmFolderPicker: unloading due to LoadStores error"));
    EXPECT_FALSE(world.logHas("AllPublicFolders"));
}

} // namespace
