#include <gtest/gtest.h>

#include "core/Text.h"
#include "platform/store/sqlite/TestSwitches.h"
#include "tests/support/World.h"

namespace {

using namespace kr;

class StoreTables : public ::testing::Test {
protected:
    void SetUp() override {
        world.LogOn();
        inbox = rdo().GetDefaultFolder(static_cast<int>(DefaultFolder::Inbox));
        pin = key("PIN");
        email = key("Email");
        note = key("Some Note");
    }
    RDOSession& rdo() { return *world.session->rdo; }
    PropTag key(std::string_view name, PropType type = PropType::String) {
        return inbox->GetIDsFromNames(PS_PUBLIC_STRINGS, name) | static_cast<PropTag>(type);
    }
    RDOMessagePtr add(std::string_view subject,
                      const std::vector<std::pair<PropTag, Value>>& values = {},
                      std::string_view messageClass = "IPM.Note") {
        auto message = inbox->Items()->Add(messageClass);
        message->SetSubject(subject);
        for (const auto& [tag, value] : values)
            message->SetFields(tag, value);
        message->Save();
        return message;
    }
    static Restriction content(PropTag tag, uint32_t level, const Value& value) {
        Restriction r = CreateRestriction(Restriction::Content);
        r.tag = tag;
        r.fuzzyLevel = level;
        r.value = value;
        return r;
    }
    static Restriction both(Restriction a, Restriction b) {
        Restriction r = CreateRestriction(Restriction::And);
        r.parts = {std::move(a), std::move(b)};
        return r;
    }
    static Strings subjects(MAPITable& table, size_t batch = 500) {
        Strings found;
        for (TableRows rows = table.GetRows(batch); !rows.empty(); rows = table.GetRows(batch))
            for (size_t i = 0; i < rows.rows; ++i)
                found.push_back(rows.at(i, 0).value().text());
        return found;
    }
    Strings find(const Restriction& restriction) {
        auto table = inbox->Items()->Table();
        table->Columns({PR_SUBJECT});
        table->Restrict(restriction);
        return subjects(*table);
    }
    Strings find(PropTag tag, uint32_t level, const Value& value) {
        return find(content(tag, level, value));
    }

    World world;
    RDOFolderPtr inbox;
    PropTag pin = 0, email = 0, note = 0;
};

TEST_F(StoreTables, RowsComeInBatchesInTheOrderOfCreation) {
    Strings expected;
    for (int i = 0; i < 23; ++i)
        expected.push_back(add("s" + std::to_string(i))->Subject());
    auto table = inbox->Items()->Table();
    table->Columns({PR_SUBJECT});
    EXPECT_EQ(expected, subjects(*table, 5));
    EXPECT_TRUE(table->GetRows(5).empty()) << "the end stays the end";
    table->Columns({PR_SUBJECT});
    EXPECT_EQ(expected, subjects(*table, 23));
    table->Columns({PR_SUBJECT});
    EXPECT_EQ(expected, subjects(*table, 1'000'000'000));
}

TEST_F(StoreTables, CellsOfABatchStayWhileMoreRowsAreRead) {
    for (int i = 0; i < 300; ++i)
        add("s" + std::to_string(i), {{note, std::string(900, static_cast<char>('a' + i % 26))}});
    auto table = inbox->Items()->Table();
    table->Columns({note, PR_SUBJECT});
    const TableRows rows = table->GetRows(300);
    ASSERT_EQ(300u, rows.rows);
    for (size_t i = 0; i < rows.rows; ++i) {
        EXPECT_EQ(std::string(900, static_cast<char>('a' + i % 26)), rows.at(i, 0).bytes) << i;
        EXPECT_EQ("s" + std::to_string(i), rows.at(i, 1).bytes);
    }
}

TEST_F(StoreTables, EveryTypeStandsInItsCell) {
    const std::vector<std::pair<PropTag, Value>> values = {
        {key("T"), "text"},
        {key("S", PropType::Short), int16_t{-1}},
        {key("L", PropType::Long), int32_t{-1}},
        {key("D", PropType::Double), -2.5},
        {key("C", PropType::Currency), Currency{-1}},
        {key("B", PropType::Boolean), false},
        {key("Z", PropType::Time), Time(std::chrono::seconds(-1))},
        {key("Y", PropType::Binary), Bytes{0, 255}},
        {key("X", PropType::StringList), Strings{"a", ""}},
    };
    add("all", values);
    add("none");
    auto table = inbox->Items()->Table();
    std::vector<PropTag> columns;
    for (auto it = values.rbegin(); it != values.rend(); ++it) // not in the order of their ids
        columns.push_back(it->first);
    table->Columns(columns);
    const TableRows rows = table->GetRows();
    ASSERT_EQ(2u, rows.rows);
    for (size_t i = 0; i < columns.size(); ++i) {
        EXPECT_EQ(values[values.size() - 1 - i].second, rows.at(0, i).value()) << i;
        EXPECT_TRUE(rows.at(1, i).empty()) << i;
        EXPECT_TRUE(rows.at(1, i).bytes.empty()) << i;
    }
}

TEST_F(StoreTables, AColumnMayStandTwiceAndATagWithoutIdIsEmpty) {
    add("x", {{note, "n"}});
    auto table = inbox->Items()->Table();
    table->Columns({note, 0x0000001E, note, PR_SUBJECT, PR_SUBJECT});
    const TableRows rows = table->GetRows();
    ASSERT_EQ(1u, rows.rows);
    EXPECT_EQ("n", rows.at(0, 0).bytes);
    EXPECT_TRUE(rows.at(0, 1).empty());
    EXPECT_EQ("n", rows.at(0, 2).bytes);
    EXPECT_EQ("x", rows.at(0, 3).bytes);
    EXPECT_EQ("x", rows.at(0, 4).bytes);
}

TEST_F(StoreTables, WhatTheRowItselfAnswersAgreesWithTheMessage) {
    auto message = add("subject", {{note, "n"}}, "zandrel.Test");
    message->Attachments()->AddContent("a.txt", Bytes{1});
    message->Save();
    auto hidden = inbox->HiddenItems()->Add("zandrel.Hidden");
    hidden->Save();
    const std::vector<PropTag> columns = {
        PR_SUBJECT,        PR_NORMALIZED_SUBJECT,     PR_MESSAGE_CLASS,
        PR_CREATION_TIME,  PR_LAST_MODIFICATION_TIME, PR_LONGTERM_ENTRYID_FROM_TABLE,
        PR_PARENT_ENTRYID, PR_STORE_ENTRYID,          PR_HASATTACH,
        PR_ASSOCIATED,     PR_HAS_NAMED_PROPERTIES};
    const auto compare = [&](RDOItemsPtr items, const RDOMessagePtr& expected) {
        auto table = items->Table();
        table->Columns(columns);
        const TableRows rows = table->GetRows();
        ASSERT_EQ(1u, rows.rows);
        auto again = rdo().GetMessageFromID(expected->ID(), {});
        for (size_t i = 0; i < columns.size(); ++i)
            EXPECT_EQ(again->Fields(columns[i]), rows.at(0, i).value()) << std::hex << columns[i];
    };
    compare(inbox->Items(), message);
    compare(inbox->HiddenItems(), hidden);
}

TEST_F(StoreTables, TheTwoIdsOfARowLeadToItsMessage) {
    std::vector<EntryID> made;
    for (int i = 0; i < 3; ++i)
        made.push_back(add("s")->ID());
    auto table = inbox->Items()->Table();
    table->Columns({PR_ENTRYID, PR_LONGTERM_ENTRYID_FROM_TABLE});
    const TableRows rows = table->GetRows();
    ASSERT_EQ(3u, rows.rows);
    for (size_t i = 0; i < rows.rows; ++i)
        for (size_t column = 0; column < 2; ++column) {
            const std::string_view bytes = rows.at(i, column).bytes;
            const EntryID id(HexOf(bytes.data(), bytes.size()));
            EXPECT_EQ(made[i], rdo().GetMessageFromID(id, {})->ID());
            EXPECT_EQ(column == 1, id == made[i]) << "the other one is short-term";
        }
}

TEST_F(StoreTables, FullSubstringAndPrefixWithAndWithoutCase) {
    for (const char* text : {"Abc", "abc", "xABCx", "abcd", "ab"})
        add(text, {{note, text}});
    for (const PropTag tag : {PR_SUBJECT, note}) {
        EXPECT_EQ(Strings({"abc"}), find(tag, FL_FULLSTRING, "abc"));
        EXPECT_EQ(Strings({"Abc", "abc"}), find(tag, FL_FULLSTRING | FL_IGNORECASE, "ABC"));
        EXPECT_EQ(Strings({"Abc", "abc", "abcd"}), find(tag, FL_SUBSTRING, "bc"));
        EXPECT_EQ(Strings({"Abc", "abc", "xABCx", "abcd"}),
                  find(tag, FL_SUBSTRING | FL_IGNORECASE, "bC"));
        EXPECT_EQ(Strings({"abc", "abcd"}), find(tag, FL_PREFIX, "abc"));
        EXPECT_EQ(Strings({"Abc", "abc", "abcd"}), find(tag, FL_PREFIX | FL_IGNORECASE, "aBC"));
    }
}

TEST_F(StoreTables, IgnoringCaseFoldsAccents) {
    const std::string kelvin = std::string("\xE2\x84\xAA") + "elvin"; // the Kelvin sign
    for (const std::string& text : {std::string("M\xC3\x9CLLER"), std::string("m\xC3\xBCller"),
                                    std::string("Muller"), std::string("Andr\xC3\x89 x"), kelvin})
        add(text, {{note, text}});
    for (const PropTag tag : {PR_SUBJECT, note}) {
        EXPECT_EQ(Strings({"M\xC3\x9CLLER", "m\xC3\xBCller"}),
                  find(tag, FL_FULLSTRING | FL_IGNORECASE, "M\xC3\xBClleR"));
        EXPECT_EQ(Strings({"M\xC3\x9CLLER", "m\xC3\xBCller"}),
                  find(tag, FL_SUBSTRING | FL_IGNORECASE, "\xC3\x9CL"));
        EXPECT_EQ(Strings({"Andr\xC3\x89 x"}),
                  find(tag, FL_PREFIX | FL_IGNORECASE, "andr\xC3\xA9"));
        // the sign of Kelvin folds to an ASCII letter
        EXPECT_EQ(Strings({"\xE2\x84\xAA"
                           "elvin"}),
                  find(tag, FL_FULLSTRING | FL_IGNORECASE, "kelvin"));
        EXPECT_TRUE(find(tag, FL_FULLSTRING, "m\xC3\x9Cller").empty());
    }
}

TEST_F(StoreTables, EveryCharacterMeansItself) {
    const Strings odd = {"50% off",
                         "a*b",
                         "[a-z]?",
                         "it's \"quoted\"",
                         "back\\slash",
                         std::string("nul\0inside", 10),
                         "\xD7\xA9\xD7\x9C\xD7\x95\xD7\x9D",
                         "under_score",
                         "semi;colon--"};
    for (const std::string& text : odd)
        add(text, {{note, text}, {pin, text}});
    for (const std::string& text : odd)
        for (const PropTag tag : {PR_SUBJECT, note, pin})
            for (const uint32_t level :
                 {FL_FULLSTRING, FL_SUBSTRING, FL_PREFIX, FL_FULLSTRING | FL_IGNORECASE})
                EXPECT_EQ(Strings{text}, find(tag, level, text)) << text << ' ' << level;
    EXPECT_TRUE(find(note, FL_SUBSTRING, "a%b").empty());
    EXPECT_TRUE(find(note, FL_FULLSTRING, "nul").empty());
}

TEST_F(StoreTables, AMissingPropertyMatchesNothing) {
    add("without");
    add("with", {{note, ""}});
    EXPECT_EQ(Strings{"with"}, find(note, FL_FULLSTRING, ""));
    EXPECT_EQ(Strings{"with"}, find(note, FL_SUBSTRING, ""));
    EXPECT_TRUE(find(pin, FL_FULLSTRING, "").empty());
    EXPECT_TRUE(find(note, FL_FULLSTRING, Value()).empty());
    EXPECT_TRUE(find(0x0000001E, FL_FULLSTRING, "").empty());
}

TEST_F(StoreTables, WhatIsNoTextMatchesWhenEqual) {
    const PropTag number = key("Number", PropType::Long), flag = key("Flag", PropType::Boolean),
                  bytes = key("Bytes", PropType::Binary), time = key("Time", PropType::Time);
    const Time noon(std::chrono::seconds(1'700'000'000));
    add("one", {{number, int32_t{1}}, {flag, true}, {bytes, Bytes{1, 2}}, {time, noon}});
    add("two", {{number, int32_t{-1}}, {flag, false}, {bytes, Bytes{1}}, {time, Time()}});
    for (const uint32_t level : {FL_FULLSTRING, FL_SUBSTRING | FL_IGNORECASE}) {
        EXPECT_EQ(Strings{"one"}, find(number, level, int32_t{1}));
        EXPECT_EQ(Strings{"two"}, find(number, level, int32_t{-1}));
        EXPECT_EQ(Strings{"two"}, find(flag, level, false));
        EXPECT_EQ(Strings{"one"}, find(bytes, level, Bytes{1, 2}));
        EXPECT_EQ(Strings{"one"}, find(time, level, noon));
    }
    EXPECT_TRUE(find(number, FL_FULLSTRING, "1").empty()) << "another type is never equal";
    EXPECT_TRUE(find(PR_ASSOCIATED, FL_FULLSTRING, true).empty());
    EXPECT_EQ(2u, find(PR_ASSOCIATED, FL_FULLSTRING, false).size());
}

TEST_F(StoreTables, AllPartsOfAnAndMustHold) {
    add("a", {{note, "x"}}, "IPM.Note");
    add("a", {{note, "y"}}, "IPM.Task");
    add("b", {{note, "x"}}, "IPM.Task");
    const auto classIs = [](const char* name) {
        return content(PR_MESSAGE_CLASS, FL_FULLSTRING | FL_IGNORECASE, name);
    };
    EXPECT_EQ(Strings({"a", "b"}), find(classIs("ipm.task")));
    EXPECT_EQ(Strings{"b"}, find(both(classIs("IPM.TASK"), content(note, FL_FULLSTRING, "x"))));
    EXPECT_EQ(Strings{"a"},
              find(both(content(PR_SUBJECT, FL_FULLSTRING, "a"), classIs("IPM.Task"))));
    EXPECT_TRUE(find(both(classIs("IPM.Note"), content(PR_SUBJECT, FL_FULLSTRING, "b"))).empty());
    EXPECT_EQ(Strings{"b"}, find(both(both(classIs("IPM.Task"), content(note, FL_PREFIX, "x")),
                                      content(PR_SUBJECT, FL_SUBSTRING, "b"))));
    EXPECT_EQ(3u, find(CreateRestriction(Restriction::And)).size());
}

TEST_F(StoreTables, IndexedSearchesFollowEveryChange) {
    auto message = add("first", {{pin, "AB12"}, {email, "Zo\xC3\x8B@example.test"}});
    add("second", {{pin, "ab12"}});
    EXPECT_EQ(Strings({"first", "second"}), find(pin, FL_FULLSTRING | FL_IGNORECASE, "aB12"));
    EXPECT_EQ(Strings{"second"}, find(pin, FL_FULLSTRING, "ab12"));
    EXPECT_EQ(Strings{"first"},
              find(email, FL_FULLSTRING | FL_IGNORECASE, "zo\xC3\xAB@EXAMPLE.test"));
    message->SetFields(pin, "other");
    message->SetSubject("renamed");
    message->Save();
    EXPECT_EQ(Strings{"second"}, find(pin, FL_FULLSTRING | FL_IGNORECASE, "ab12"));
    EXPECT_EQ(Strings{"renamed"}, find(pin, FL_FULLSTRING, "other"));
    EXPECT_TRUE(find(PR_SUBJECT, FL_FULLSTRING, "first").empty());
    EXPECT_EQ(Strings{"renamed"}, find(PR_SUBJECT, FL_FULLSTRING, "renamed"));
    message->SetFields(pin, Value());
    message->Save();
    EXPECT_TRUE(find(pin, FL_FULLSTRING, "other").empty());
    message->Delete();
    EXPECT_TRUE(find(PR_SUBJECT, FL_FULLSTRING, "renamed").empty());
    EXPECT_TRUE(Organisation(world.storePath()).Check().empty());
}

TEST_F(StoreTables, AnIndexedSearchStaysWithinItsSideOfItsFolder) {
    auto drafts = rdo().GetDefaultFolder(static_cast<int>(DefaultFolder::Drafts));
    for (auto items : {drafts->Items(), inbox->HiddenItems()}) {
        auto message = items->Add("IPM.Note");
        message->SetSubject("elsewhere");
        message->SetFields(pin, "1");
        message->Save();
    }
    EXPECT_TRUE(find(pin, FL_FULLSTRING, "1").empty());
    EXPECT_TRUE(find(PR_SUBJECT, FL_FULLSTRING, "elsewhere").empty());
    add("here", {{pin, "1"}});
    EXPECT_EQ(Strings{"here"}, find(pin, FL_FULLSTRING, "1"));
}

TEST_F(StoreTables, AKeyThatAnotherSessionMadeIsIndexedToo) {
    auto other = world.OtherSession();
    auto theirs = other->GetDefaultFolder(static_cast<int>(DefaultFolder::Inbox));
    add("knows no device"); // this session has read the names by now
    const PropTag device =
        theirs->GetIDsFromNames(PS_PUBLIC_STRINGS, "DeviceID") | PropTag(PropType::String);
    add("device", {{device, "42"}}); // the tag comes from there, not by name
    auto table = theirs->Items()->Table();
    table->Columns({PR_SUBJECT});
    table->Restrict(content(device, FL_FULLSTRING, "42"));
    EXPECT_EQ(Strings{"device"}, subjects(*table));
    EXPECT_EQ(Strings{"device"}, find(device, FL_FULLSTRING, "42"));
}

TEST_F(StoreTables, LongValuesInColumnsAndRestrictions) {
    const std::string longText = std::string(1500, 'l') + "END", body(70'000, 'b');
    add("long", {{note, longText}, {pin, longText}, {PR_BODY, body}});
    add("short", {{note, "s"}, {pin, "s"}});
    for (const PropTag tag : {note, pin}) {
        EXPECT_EQ(Strings{"long"}, find(tag, FL_FULLSTRING, longText));
        EXPECT_EQ(Strings{"long"}, find(tag, FL_FULLSTRING | FL_IGNORECASE, ToUpper(longText)));
        EXPECT_EQ(Strings{"long"}, find(tag, FL_SUBSTRING, "END"));
        EXPECT_EQ(Strings{"long"}, find(tag, FL_PREFIX, "lll"));
        EXPECT_TRUE(find(tag, FL_FULLSTRING, std::string(1500, 'l')).empty());
    }
    auto table = inbox->Items()->Table();
    table->Columns({note, PR_BODY, PR_SUBJECT});
    table->Restrict(content(note, FL_SUBSTRING, "ND"));
    const TableRows rows = table->GetRows();
    ASSERT_EQ(1u, rows.rows);
    EXPECT_EQ(longText, rows.at(0, 0).bytes);
    EXPECT_EQ(body, rows.at(0, 1).bytes);
}

TEST_F(StoreTables, ALongIndexedValueLeavesTheIndexWithItsMessage) {
    const std::string longText(1500, 'l');
    auto message = add("x", {{pin, longText}});
    auto again = rdo().GetMessageFromID(message->ID(), {});
    again->SetFields(pin, std::string(1600, 'm'));
    again->Save();
    EXPECT_TRUE(find(pin, FL_FULLSTRING, longText).empty());
    EXPECT_EQ(Strings{"x"}, find(pin, FL_FULLSTRING, std::string(1600, 'm')));
    again->Delete();
    EXPECT_EQ(Strings(), Organisation(world.storePath()).Check());
}

TEST_F(StoreTables, RowsDeletedBetweenTwoBatchesAreMissing) {
    std::vector<RDOMessagePtr> all;
    for (int i = 0; i < 6; ++i)
        all.push_back(add("s" + std::to_string(i), {{pin, "same"}}));
    for (const bool indexed : {false, true}) {
        auto table = inbox->Items()->Table();
        table->Columns({PR_SUBJECT});
        if (indexed)
            table->Restrict(content(pin, FL_FULLSTRING, "same"));
        ASSERT_EQ(2u, table->GetRows(2).rows);
        all[indexed ? 3 : 2]->Delete();
        EXPECT_EQ(indexed ? Strings({"s4", "s5"}) : Strings({"s3", "s4", "s5"}),
                  subjects(*table, 2));
    }
}

TEST_F(StoreTables, RowsAddedBetweenTwoBatchesCome) {
    add("s0");
    add("s1");
    auto table = inbox->Items()->Table();
    table->Columns({PR_SUBJECT});
    ASSERT_EQ(2u, table->GetRows(2).rows);
    auto other = world.OtherSession();
    auto message = other->GetDefaultFolder(6)->Items()->Add("IPM.Note");
    message->SetSubject("s2");
    message->Save();
    EXPECT_EQ(Strings{"s2"}, subjects(*table));
}

TEST_F(StoreTables, RestrictAgainBeginsAnew) {
    for (int i = 0; i < 4; ++i)
        add(i % 2 ? "odd" : "even", {{note, std::to_string(i)}});
    auto table = inbox->Items()->Table();
    table->Columns({PR_SUBJECT, note});
    table->Restrict(content(PR_SUBJECT, FL_FULLSTRING, "odd"));
    EXPECT_EQ(1u, table->GetRows(1).rows);
    table->Restrict(content(PR_SUBJECT, FL_FULLSTRING, "even"));
    TableRows rows = table->GetRows(1);
    ASSERT_EQ(1u, rows.rows);
    EXPECT_EQ("0", rows.at(0, 1).bytes);
    table->Restrict(content(note, FL_FULLSTRING, "3"));
    EXPECT_EQ(Strings{"odd"}, subjects(*table));
    table->Restrict(std::nullopt);
    EXPECT_EQ(4u, subjects(*table).size());
}

TEST_F(StoreTables, TextsCutAt255) {
    const std::string longText(2000, 'x'), just(255, 'j');
    add(std::string(300, 's'), {{note, longText}, {pin, just}, {email, "short"}});
    auto table = inbox->Items()->Table();
    const auto read = [&] {
        table->Columns({PR_SUBJECT, note, pin, email});
        const TableRows rows = table->GetRows();
        std::vector<size_t> sizes;
        for (size_t i = 0; i < rows.columns; ++i)
            sizes.push_back(rows.at(0, i).bytes.size());
        return sizes;
    };
    EXPECT_EQ((std::vector<size_t>{300, 2000, 255, 5}), read());
    sqlite::CutTableTexts(rdo(), 255);
    EXPECT_EQ((std::vector<size_t>{255, 255, 255, 5}), read());
    table->Restrict(content(note, FL_FULLSTRING, longText)); // restrictions see whole values
    EXPECT_EQ((std::vector<size_t>{255, 255, 255, 5}), read());
}

TEST_F(StoreTables, AnEmptyFolderAndAFolderThatIsGoneHaveNoRows) {
    auto folder = rdo().Stores().DefaultStore()->RootFolder()->Folders()->Add("Short-lived");
    auto table = folder->Items()->Table();
    table->Columns({PR_SUBJECT, PR_PARENT_ENTRYID});
    EXPECT_TRUE(table->GetRows().empty());
    auto message = folder->Items()->Add("IPM.Note");
    message->Save();
    folder->Delete();
    table->Columns({PR_SUBJECT, PR_PARENT_ENTRYID});
    EXPECT_TRUE(table->GetRows().empty());
    EXPECT_TRUE(folder->Items()->Table()->GetRows().empty());
}

} // namespace
