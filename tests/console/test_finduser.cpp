#include <gtest/gtest.h>

#include "console/FindUser.h"
#include "console/basUsers.h"
#include "tests/support/World.h"

namespace {

using namespace kr;
using Op = FindOperator;

TEST(FindFilter, IsBuiltFromOperatorAndText) {
    EXPECT_EQ(kFindOperators[0], "Any");
    EXPECT_EQ(kFindOperators[1], "is (exactly)");
    EXPECT_EQ(kFindOperators[2], "contains");
    EXPECT_EQ(kFindOperators[3], "starts with");
    EXPECT_EQ(FindUserFilter({Op::Exactly, "Bob"}, {}), "[DisplayName] like 'Bob'");
    EXPECT_EQ(FindUserFilter({Op::Contains, "Bob"}, {}), "[DisplayName] like '*Bob*'");
    EXPECT_EQ(FindUserFilter({}, {Op::StartsWith, "bob"}), "[Email] like 'bob*'");
    EXPECT_EQ(FindUserFilter({Op::StartsWith, "B"}, {Op::Contains, "@x"}),
              "[DisplayName] like 'B*' and [Email] like '*@x*'");
    EXPECT_EQ(FindUserFilter({Op::Exactly, "'O''Brien'"}, {}), "[DisplayName] like 'O''Brien'");
    EXPECT_EQ(FindUserFilter({Op::Any, "Bob"}, {Op::Exactly, "  "}), "");
    EXPECT_EQ(FindUserFilter({}, {}), "");
}

class FindUser : public testing::Test {
protected:
    FindUser() {
        world.LogOnConfigured();
        world.AddUserRecord("obrien@example.test", "Séan O'Brien");
        id = world.AddUserRecord("bob@example.test", "Bob Baker");
        world.AddUserRecord("nameless@example.test", "");
        world.AddUserRecord("odd@example.test", "100% [Bob]");
        EXPECT_TRUE(LoadUsers(*world.session));
    }
    std::string found(const FindCriterion& name, const FindCriterion& email) {
        const int64_t count = FindUsers(*world.session, list, name, email);
        EXPECT_EQ(list.Count(), static_cast<size_t>(count));
        std::string all;
        for (size_t i = 0; i < list.Count(); ++i)
            all += list.At(i).texts[0] + "|";
        return all;
    }
    World world;
    ListModel list;
    EntryID id;
};

TEST_F(FindUser, FindsByNameAndAddress) {
    EXPECT_EQ(found({Op::Exactly, "BOB baker"}, {}), "Bob Baker|");
    EXPECT_EQ(list.At(0).key, id.text());
    EXPECT_EQ(list.At(0).icon, "imgUser");
    EXPECT_EQ(list.At(0).texts[1], "bob@example.test");
    EXPECT_EQ(found({Op::Contains, "bob"}, {}), "100% [Bob]|Bob Baker|");
    EXPECT_EQ(found({Op::StartsWith, "bob"}, {}), "Bob Baker|");
    EXPECT_EQ(found({Op::Contains, "[Bob]"}, {}), "100% [Bob]|");
    EXPECT_EQ(found({}, {Op::StartsWith, "nameless"}), "nameless@example.test|");
    EXPECT_EQ(found({Op::Contains, "b"}, {Op::StartsWith, "o"}), "100% [Bob]|Séan O'Brien|");
    EXPECT_EQ(world.session->users->Filter(), ""); // a clone was filtered
    EXPECT_TRUE(world.ui.boxes().empty());
}

TEST_F(FindUser, ANameWithAnApostropheFindsItself) {
    for (const Op op : {Op::Exactly, Op::Contains, Op::StartsWith})
        EXPECT_EQ(found({op, "Séan O'Brien"}, {}), "Séan O'Brien|");
}

TEST_F(FindUser, BothEmptyAsksForSomething) {
    world.ui.Expect("You must supply a Display Name or Email Address on which to search.");
    EXPECT_EQ(found({Op::Any, "Bob"}, {Op::Contains, ""}), "");
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Exclamation);
}

TEST_F(FindUser, NobodyFound) {
    const char* const nobody = "No users found matching supplied parameters.";
    world.ui.Expect(nobody);
    EXPECT_EQ(found({Op::Exactly, "Bob"}, {}), "");
    EXPECT_EQ(world.ui.boxes().back().icon, BoxIcon::Information);
    world.ui.Expect(nobody);
    EXPECT_EQ(found({Op::Exactly, "B%b"}, {}), ""); // no filter can hold it; not all users
    EXPECT_TRUE(world.logHas("filter can't be read: [DisplayName] like 'B%b'"));
}

} // namespace
