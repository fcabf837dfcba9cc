// AgentProps: the lists, people and choices.
#include <algorithm>

#include "tests/hosts/AgentPropsTest.h"

namespace {

using namespace kr;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class AgentPropsListsTest : public AgentPropsTest {};

// --- lists

TEST_F(AgentPropsListsTest, AddsDomains) {
    load();
    for (const char* domain : {"a.b", " example.test ", "x.y.z", ".a.b", "b.c."}) {
        world.ui.ExpectInput(domain);
        EXPECT_TRUE(props->AddDomain()) << domain;
    }
    EXPECT_THAT(props->fields.senderDomains,
                ElementsAre("a.b", "example.test", "x.y.z", ".a.b", "b.c."));
    EXPECT_TRUE(props->dirty);
    EXPECT_THAT(props->fields.refuseDomains, IsEmpty());
}

TEST_F(AgentPropsListsTest, AWrongDomainIsAskedForAgain) {
    load();
    for (const char* wrong : {"abc", ".abc", "abc.", ".", "a;b.c"}) {
        world.ui.ExpectInput(wrong);
        world.ui.Expect(std::string(wrong) +
                            " is not in the correct format. Please re-enter the domain.",
                        BoxAnswer::OK);
    }
    world.ui.ExpectInput("good.test");
    EXPECT_TRUE(props->AddRefuse());
    EXPECT_THAT(props->fields.refuseDomains, ElementsAre("good.test"));
}

TEST_F(AgentPropsListsTest, AskingEndsWithCancelOrNothing) {
    load();
    world.ui.ExpectInput("abc");
    world.ui.Expect("abc is not in the correct format. Please re-enter the domain.",
                    BoxAnswer::Cancel);
    EXPECT_FALSE(props->AddDomain());
    world.ui.ExpectInput("abc");
    world.ui.Expect("", BoxAnswer::OK);
    world.ui.ExpectInput("");
    EXPECT_FALSE(props->AddDomain());
    for (const std::optional<std::string>& nothing :
         {std::optional<std::string>(), std::optional<std::string>("  ")}) {
        world.ui.ExpectInput(nothing);
        EXPECT_FALSE(props->AddRefuse());
        world.ui.ExpectInput(nothing);
        EXPECT_FALSE(props->AddExt());
        world.ui.ExpectInput(nothing);
        EXPECT_FALSE(props->AddTrusted());
    }
    EXPECT_FALSE(props->dirty);
}

TEST_F(AgentPropsListsTest, ADomainTwiceIsRefused) {
    put("SenderDomains", "a.test");
    load();
    world.ui.ExpectInput("A.TEST");
    world.ui.Expect("A.TEST has already been added to the list.");
    EXPECT_FALSE(props->AddDomain());
    EXPECT_FALSE(props->dirty);
    world.ui.ExpectInput("a.test"); // the other list is another one
    EXPECT_TRUE(props->AddRefuse());
}

TEST_F(AgentPropsListsTest, AddsExtensions) {
    put("ExcludeExt", "exe");
    load();
    for (const char* extension : {"js", ".docm", "7z", "\xC3\xA4\xC3\xB6\xC3\xBC\xC3\x9F"}) {
        world.ui.ExpectInput(extension);
        EXPECT_TRUE(props->AddExt()) << extension;
    }
    EXPECT_THAT(props->fields.excludeExt,
                ElementsAre("exe", "js", "docm", "7z", "\xC3\xA4\xC3\xB6\xC3\xBC\xC3\x9F"));
    world.ui.ExpectInput(".EXE");
    world.ui.Expect("EXE has already been added to the list.");
    EXPECT_FALSE(props->AddExt());
}

TEST_F(AgentPropsListsTest, AWrongExtensionIsAskedForAgain) {
    load();
    for (const char* wrong : {"x", "abcde", "a;b"}) {
        world.ui.ExpectInput(wrong);
        world.ui.Expect(std::string(wrong) + " is not a valid file extension. Please re-enter.",
                        BoxAnswer::OK);
    }
    world.ui.ExpectInput(".c"); // one letter without its dot
    world.ui.Expect("c is not a valid file extension. Please re-enter.", BoxAnswer::Cancel);
    EXPECT_FALSE(props->AddExt());
    EXPECT_FALSE(props->dirty);
}

TEST_F(AgentPropsListsTest, RemovesEntries) {
    put("BPE.TrustedDomains", "a.test;b.test;c.test");
    load();
    EXPECT_FALSE(props->Remove(props->fields.trustedDomains, 3));
    EXPECT_FALSE(props->dirty);
    EXPECT_TRUE(props->Remove(props->fields.trustedDomains, 1));
    EXPECT_TRUE(props->dirty);
    props->Apply();
    EXPECT_EQ(key("BPE.TrustedDomains"), Value("a.test;c.test"));
}

// --- trusted domains

constexpr const char* kVerifying = "Verifying access to global catalog for partner.test\n"
                                   "This may take a few seconds...";
constexpr const char* kInaccessible =
    "The global catalog for partner.test is not accessible from this machine.\n"
    "Are you sure you want to add it?";

TEST_F(AgentPropsListsTest, ATrustedDomainIsVerified) {
    load();
    world.directory.answers["(objectClass=*)"] = {{{"objectClass", {"domain"}}}};
    world.ui.ExpectInput("sub.partner.test");
    world.ui.Expect("Verifying access to global catalog for sub.partner.test\n"
                    "This may take a few seconds...",
                    BoxAnswer::OK);
    std::vector<bool> running;
    EXPECT_TRUE(props->AddTrusted([&](bool on) { running.push_back(on); }));
    EXPECT_THAT(props->fields.trustedDomains, ElementsAre("sub.partner.test"));
    EXPECT_TRUE(props->dirty);
    EXPECT_THAT(running, ElementsAre(true, false));
    ASSERT_EQ(world.directory.queries.size(), 1U);
    const DirectoryQuery& query = world.directory.queries[0];
    EXPECT_EQ(query.base, "DC=sub,DC=partner,DC=test");
    EXPECT_EQ(query.port, DirectoryQuery::Port::GlobalCatalog);
    EXPECT_EQ(query.scope, DirectoryQuery::Scope::Base);
    EXPECT_EQ(world.ui.boxes().back().title, "Add Trusted Domain");
    EXPECT_EQ(world.ui.waitCursors(), 0);
}

TEST_F(AgentPropsListsTest, ADomainThatIsNoneIsRefused) {
    load();
    for (const char* wrong : {"partner", "me@partner.test", "a.b;c.d"}) {
        world.ui.ExpectInput(wrong);
        world.ui.Expect(std::string(wrong) + " does not appear to be a valid domain namespace");
        EXPECT_FALSE(props->AddTrusted());
        EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Stop);
    }
    EXPECT_THAT(world.directory.queries, IsEmpty());
    EXPECT_FALSE(props->dirty);
}

TEST_F(AgentPropsListsTest, CancelledVerifyingAddsNothing) {
    load();
    world.ui.ExpectInput("partner.test");
    world.ui.Expect(kVerifying, BoxAnswer::Cancel);
    EXPECT_FALSE(props->AddTrusted());
    EXPECT_THAT(world.directory.queries, IsEmpty());
    EXPECT_THAT(props->fields.trustedDomains, IsEmpty());
}

TEST_F(AgentPropsListsTest, ATrustedDomainTwiceIsRefused) {
    put("BPE.TrustedDomains", "partner.test");
    load();
    world.ui.ExpectInput("Partner.test");
    world.ui.Expect("Partner.test has already been added to the list.");
    EXPECT_FALSE(props->AddTrusted());
}

TEST_F(AgentPropsListsTest, AnInaccessibleCatalogIsAskedAbout) {
    load();
    world.directory.failOpen = true;
    for (const BoxAnswer answer : {BoxAnswer::No, BoxAnswer::Yes}) {
        world.ui.ExpectInput("partner.test");
        world.ui.Expect(kVerifying, BoxAnswer::OK);
        world.ui.Expect(kInaccessible, answer);
        EXPECT_EQ(props->AddTrusted(), answer == BoxAnswer::Yes);
        EXPECT_EQ(props->fields.trustedDomains.size(), answer == BoxAnswer::Yes ? 1U : 0U);
    }
    EXPECT_TRUE(world.logHas("error retrieving Domain object for partner.test: "
                             "The server is not operational."));
}

TEST_F(AgentPropsListsTest, ACatalogWithoutTheDomainIsNoAccess) {
    load();
    world.ui.ExpectInput("partner.test");
    world.ui.Expect(kVerifying, BoxAnswer::OK);
    world.ui.Expect(kInaccessible, BoxAnswer::No);
    EXPECT_FALSE(props->AddTrusted());
    EXPECT_TRUE(
        world.logHas("error retrieving Domain object for partner.test: There is no such object."));
}

// --- people

TEST_F(AgentPropsListsTest, PicksPeople) {
    load();
    world.ui.ExpectAddressBook(std::nullopt);
    EXPECT_FALSE(props->PickAdmin());
    EXPECT_FALSE(props->dirty);
    const auto alice = world.Entry("alice");
    const auto bob = world.Entry("bob");
    const std::vector<PickedRecipient> both = {{alice->ID(), alice->Name()},
                                               {bob->ID(), bob->Name()}};
    world.ui.ExpectAddressBook(both);
    EXPECT_TRUE(props->PickAdmin());
    EXPECT_TRUE(props->dirty);
    world.ui.ExpectAddressBook(std::vector<PickedRecipient>{both[1]});
    EXPECT_TRUE(props->PickReport());
    world.ui.ExpectAddressBook(both); // shown as chosen, and nothing changes
    EXPECT_FALSE(props->PickAdmin());
    EXPECT_EQ(world.ui.preselected().back().size(), 2U);
    props->Apply();
    EXPECT_EQ(key("AdminNames"), Value("Alice Adams;Bob Baker"));
    EXPECT_EQ(key("AdminEmail"), Value("alice@example.test;bob@example.test"));
    EXPECT_EQ(key("ReportNames"), Value("Bob Baker"));
    EXPECT_EQ(key("ReportEmail"), Value("bob@example.test"));
}

// --- custom attributes and fax

TEST_F(AgentPropsListsTest, AnAttributeIsMappedOnce) {
    load();
    EXPECT_TRUE(props->MapAttribute(0, "extensionAttribute1"));
    EXPECT_TRUE(props->dirty);
    props->dirty = false;
    EXPECT_TRUE(props->MapAttribute(0, "extensionAttribute1"));
    EXPECT_FALSE(props->dirty);
    world.ui.Expect("Attribute extensionAttribute1 is already mapped!");
    EXPECT_FALSE(props->MapAttribute(3, "extensionAttribute1"));
    EXPECT_EQ(props->fields.custom[3], "");
    EXPECT_FALSE(props->dirty);
    EXPECT_TRUE(props->MapAttribute(0, ""));
    EXPECT_TRUE(props->MapAttribute(1, "")); // none may stand in all of them
    EXPECT_TRUE(props->MapAttribute(3, "extensionAttribute1"));
}

TEST_F(AgentPropsListsTest, TheAttributesOfTheLists) {
    const auto all = CustomAttributes();
    EXPECT_EQ(all.front(), "");
    for (int i = 1; i <= 15; ++i)
        EXPECT_EQ(std::ranges::count(all, "extensionAttribute" + std::to_string(i)), 1) << i;
    for (const std::string_view attribute : all)
        EXPECT_EQ(std::ranges::count(all, attribute), 1) << attribute;
}

TEST_F(AgentPropsListsTest, SyntaxChoicesFollowTheFaxSupport) {
    put("FaxSyntax", "[OWN:x];relay@fax.test");
    load();
    props->fields.fax = kFaxGateway;
    EXPECT_THAT(props->SyntaxChoices(),
                ElementsAre("[FAX:recipient_name@phone_number]",
                            "[RFAX:recipient_name@/FN=phone_number]", "[FAX:phone_number]",
                            "[FAXINAT:phone_number]", "[OWN:x]"));
    props->fields.faxSyntax.syntax = "[FAX:phone_number]";
    EXPECT_EQ(props->SyntaxChoices().size(), 4U);
    props->fields.fax = kFaxSecure;
    EXPECT_THAT(props->SyntaxChoices(), ElementsAre("relay@fax.test"));
    props->fields.faxSyntax.relay.clear();
    EXPECT_THAT(props->SyntaxChoices(), IsEmpty());
    EXPECT_EQ(AgentProps::MissingRelay(), "The fax relay address isn't set: value FaxRelay of "
                                          "HKEY_LOCAL_MACHINE\\Software\\zandrel\\zandrelAgent");
}

} // namespace
