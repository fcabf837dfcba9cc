#include <gtest/gtest.h>

#include "core/basFolderPath.h"
#include "core/basStore.h"
#include "tests/support/World.h"

namespace {

using namespace kr;

class FolderPathTest : public ::testing::Test {
protected:
    FolderPathTest() { world.LogOn(); }
    RDOSession& rdo() { return *world.session->rdo; }
    /// The path leads back to the folder.
    void expectPath(const RDOFolder& folder, const std::string& path) {
        EXPECT_EQ(FolderPath(folder), path);
        const RDOFolderPtr again = GetRDOFolder(*world.session, path);
        ASSERT_NE(again, nullptr) << path;
        EXPECT_EQ(again->ID(), folder.ID());
    }

    World world;
};

TEST_F(FolderPathTest, LeadsBackToTheFolder) {
    const RDOFolderPtr pub = rdo().Stores().AllPublicFolders();
    const std::string root = "\\\\Public Folders\\All Public Folders";
    expectPath(*pub, root);
    const RDOFolderPtr below = pub->Folders()->Item("Shared")->Folders()->Item("R & D");
    expectPath(*below, root + "\\Shared\\R & D");
    const RDOFolderPtr inbox = rdo().GetDefaultFolder(static_cast<int>(DefaultFolder::Inbox));
    expectPath(*inbox, "\\\\Mailbox - Agent Mailbox\\Inbox");
    expectPath(*inbox->Folders()->Add("Deep"), "\\\\Mailbox - Agent Mailbox\\Inbox\\Deep");
}

TEST_F(FolderPathTest, FoldersBesideTheShownOnesLieBelowTheStore) {
    const RDOFolderPtr root = rdo().Stores().DefaultStore()->RootFolder();
    EXPECT_EQ(FolderPath(*root->Folders()->Add("Hidden")), "\\\\Mailbox - Agent Mailbox\\Hidden");
    EXPECT_EQ(FolderPath(*root), "\\\\Mailbox - Agent Mailbox");
    EXPECT_EQ(FolderPath(*rdo().Stores().DefaultStore()->IPMRootFolder()),
              "\\\\Mailbox - Agent Mailbox");
}

TEST_F(FolderPathTest, AnotherMailboxHasItsOwnName) {
    const RDOStorePtr alice = rdo().GetSharedMailbox("SMTP:alice@example.test");
    const int contacts = static_cast<int>(DefaultFolder::Contacts);
    EXPECT_EQ(FolderPath(*alice->GetDefaultFolder(contacts)),
              "\\\\Mailbox - Alice Adams\\Contacts");
}

} // namespace
