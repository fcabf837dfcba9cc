#include "contacts/ContactKinds.h"
#include "contacts/basPrivacy.h"
#include "core/basStore.h"
#include "tests/console/ConsoleTest.h"

namespace {

using namespace kr;

class PrivacyCommands : public ConsoleTest {
protected:
    PrivacyCommands() {
        for (const char* name : {"Carol", "Dave"}) {
            auto message = world.session->rdo->GetDefaultFolder(10)->Items()->Add("IPM.Contact");
            message->SetSubject(name);
            message->Save();
            ids.push_back(message->ID());
        }
        ContactForms forms;
        const auto form = [this](std::string which) {
            return [this, which](const std::string& contacts, const std::string& name) {
                opened.push_back(which + " " + contacts + " " + name);
                if (change)
                    SavePrivacy(*world.session, ids, *change);
                return change.has_value();
            };
        };
        forms.frmPrivateFieldsMC = form("private");
        forms.frmAccessListMC = form("access");
        forms.showMembers = [this](std::string_view title, const std::string& addresses) {
            opened.push_back(std::string(title) + "|" + addresses);
        };
        RegisterPrivacyCommands(*console, forms);
        kind("mcr").load = [this](Console& c, TreeNode&) {
            ++loads;
            c.LoadList({"",
                        "",
                        {{"Name", ""},
                         {"E-mail 1", ""},
                         {"Granted Access", ""},
                         {"Additional Restricted Fields", ""},
                         {"", "sortdupes"}},
                        "1 contact",
                        " contacts",
                        [this](Console& list) {
                            for (size_t i = 0; i < ids.size(); ++i) {
                                ListRow made =
                                    row(ids[i].text(), "mastercntct", i == 0 ? "Carol" : "Dave");
                                made.texts.resize(5);
                                made.texts[1] = "mail";
                                list.AddRow(made);
                            }
                            return std::string();
                        }});
        };
        console->LoadTreeRoot();
        console->tree().Add("acfroot", "mcr", "mcr", "Master Contact Repository", "imgContact");
        click("mcr");
    }
    std::string texts(size_t at) {
        std::string all;
        for (const std::string& text : console->list().At(at).texts)
            all += text + "|";
        return all;
    }

    std::vector<EntryID> ids;
    Names opened;
    std::optional<PrivacyChange> change;
    int loads = 0;
};

TEST_F(PrivacyCommands, TheDialogsGetTheSelectedContacts) {
    select({0});
    console->RunCommand("mnuMcSetPrivate");
    select({0, 1});
    console->RunCommand("mnuMcSetACL");
    EXPECT_EQ(opened, (Names{"private " + ids[0].text() + " Carol",
                             "access " + ids[0].text() + ";" + ids[1].text() + " Carol"}));
    EXPECT_EQ(texts(0), "Carol|mail||||"); // nothing was written
}

TEST_F(PrivacyCommands, RowsShowWhatWasWritten) {
    change.emplace();
    change->fields = "Notes;PIN";
    change->access = {"Alice Adams", "alice@example.test"};
    select({0, 1});
    console->RunCommand("mnuMcSetPrivate");
    EXPECT_EQ(texts(0), "Carol|mail|Alice Adams|Notes;PIN||");
    EXPECT_EQ(texts(1), "Dave|mail|Alice Adams|Notes;PIN||");
    EXPECT_EQ(loads, 1); // the list wasn't loaded again, so the selection stands
    EXPECT_EQ(view.selection, (std::vector<size_t>{0, 1}));
}

TEST_F(PrivacyCommands, ShowsWhoHasAccess) {
    change.emplace();
    change->access = {"Alice Adams;Sales", "alice@example.test;sales@example.test"};
    SavePrivacy(*world.session, {ids[1]}, *change);
    select({1});
    console->RunCommand("mnuMcShowAccess");
    EXPECT_EQ(opened, Names{"Dave - access granted to:|alice@example.test;sales@example.test"});
    select({0});
    world.ui.Expect("No access has been granted for Carol");
    console->RunCommand("mnuMcShowAccess");
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Information);
    EXPECT_EQ(opened.size(), 1U);
}

TEST_F(PrivacyCommands, NothingHappensWithoutARow) {
    console->TreeContext();
    for (const char* command : {"mnuMcSetPrivate", "mnuMcSetACL", "mnuMcShowAccess"})
        console->RunCommand(command);
    EXPECT_TRUE(opened.empty());
}

} // namespace
