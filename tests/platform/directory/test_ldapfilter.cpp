#include <gtest/gtest.h>

#include <string>

#include "platform/directory/Directory.h"

namespace {

struct Case {
    const char* name;
    std::string given;
    std::string written; // "" when it is refused
};

void PrintTo(const Case& c, std::ostream* out) { *out << c.given; }

std::string deep(int pairs) {
    return std::string(static_cast<size_t>(pairs), '(') + "a=b" +
           std::string(static_cast<size_t>(pairs), ')');
}

const Case kCases[] = {
    {"Plain", "(cn=x)", "(cn=x)"},
    {"RedundantPair", "((proxyAddresses=SMTP:x@y.test))", "(proxyAddresses=SMTP:x@y.test)"},
    {"ManyRedundantPairs", "((((cn=x))))", "(cn=x)"},
    {"BareNot", "(!cn=x)", "(!(cn=x))"},
    {"BareNotWithRule", "(!userAccountControl:1.2.840.113556.1.4.803:=2)",
     "(!(userAccountControl:1.2.840.113556.1.4.803:=2))"},
    {"BareNotWithBoolean", "(!msExchHideFromAddressLists=True)",
     "(!(msExchHideFromAddressLists=TRUE))"},
    {"False", "(x=fAlSe)", "(x=FALSE)"},
    {"BooleanInsideLongerValue", "(x=Trueman)", "(x=Trueman)"},
    {"DoubleNot", "(!(!cn=x))", "(!(!(cn=x)))"},
    {"NotOfAList", "(!(&(a=b)(c=d)))", "(!(&(a=b)(c=d)))"},
    {"BalancedParentheses", "(cn=O'Hara (old) x)", "(cn=O'Hara \\28old\\29 x)"},
    {"NestedParentheses", "(cn=a(b(c)d)e)", "(cn=a\\28b\\28c\\29d\\29e)"},
    {"OldEscapes", "(cn=a\\(b\\)c\\*d\\\\e)", "(cn=a\\28b\\29c\\2ad\\5ce)"},
    {"HexEscapesStay", "(cn=\\2A\\5c\\00)", "(cn=\\2A\\5c\\00)"},
    {"BlankBeforeEquals", "(mail = x)", "(mail= x)"},
    {"BlanksBetweenParts", "( & (a=b) \t\r\n ( | (c=d) (e=f) ) )", "(&(a=b)(|(c=d)(e=f)))"},
    {"BlankAfterPart", "(&(a=b)(c=d) )", "(&(a=b)(c=d))"},
    {"NoOuterPair", "cn=x", "(cn=x)"},
    {"NoOuterPairOfAList", "&(a=b)(c=d)", "(&(a=b)(c=d))"},
    {"NoOuterPairOfANot", " !(a=b) ", "(!(a=b))"},
    {"BlankAround", "  (cn=x)  ", "(cn=x)"},
    {"Presence", "(mailnickname=*)", "(mailnickname=*)"},
    {"PresenceWithBlanks", "(mailnickname= * )", "(mailnickname=*)"},
    {"Substring", "(cn=a*b*c)", "(cn=a*b*c)"},
    {"NeighbouringWildcards", "(cn=a**b)", "(cn=a*b)"},
    {"Ordering", "(a>=1)", "(a>=1)"},
    {"OrderingHasNoWildcard", "(a<=x*)", "(a<=x\\2a)"},
    {"Approximate", "(sn~=smith)", "(sn~=smith)"},
    {"Options", "(cn;lang-de=x)", "(cn;lang-de=x)"},
    {"NumericAttribute", "(2.5.4.3=x)", "(2.5.4.3=x)"},
    {"ExtensibleDn", "(ou:dn:=Staff)", "(ou:dn:=Staff)"},
    {"ExtensibleRuleAlone", "(:caseExactMatch:=x)", "(:caseExactMatch:=x)"},
    {"EmptyValue", "(cn=)", "(cn=)"},
    {"Umlauts", "(cn=Müller)", "(cn=Müller)"},
    {"EqualsInValue", "(x=/o=Ex/cn=a)", "(x=/o=Ex/cn=a)"},
    {"SemicolonInValue", "(cn=a;b)", "(cn=a;b)"},
    {"AddressPicker",
     "(&(objectCategory=person)(objectClass=user)(mailnickname=*)(msExchHomeServerName=*)"
     "(!userAccountControl:1.2.840.113556.1.4.803:=2)(!msExchHideFromAddressLists=True))",
     "(&(objectCategory=person)(objectClass=user)(mailnickname=*)(msExchHomeServerName=*)"
     "(!(userAccountControl:1.2.840.113556.1.4.803:=2))(!(msExchHideFromAddressLists=TRUE)))"},
    {"StoredQuery",
     "(&(!cn=SystemMailbox{*})(& (mailnickname=*) (| (&(objectCategory=person)"
     "(objectClass=user)(!(homeMDB=*))) (objectCategory=group) )))",
     "(&(!(cn=SystemMailbox{*}))(&(mailnickname=*)(|(&(objectCategory=person)"
     "(objectClass=user)(!(homeMDB=*)))(objectCategory=group))))"},
    {"HundredDeep", deep(100), "(a=b)"},

    {"Empty", "", ""},
    {"Blank", "   ", ""},
    {"EmptyPair", "()", ""},
    {"EmptyList", "(&)", ""},
    {"EmptyNot", "(!)", ""},
    {"NoEquals", "(cn)", ""},
    {"NoAttribute", "(=x)", ""},
    {"TwoFilters", "(a=b)(c=d)", ""},
    {"TwoInAPair", "((a=b)(c=d))", ""},
    {"TextBehind", "(a=b)c", ""},
    {"NotClosed", "(a=b", ""},
    {"ListNotClosed", "(&(a=b)", ""},
    {"ClosedTwice", "(a=b))", ""},
    {"BareClosed", "a=b)", ""},
    {"BareOpened", "a=b(", ""},
    {"OpenParenthesisInValue", "(cn=a(b)", ""},
    {"BareItemInList", "(&a=b(c=d))", ""},
    {"LoneBackslash", "(cn=DOM\\user)", ""},
    {"BackslashAtEnd", "cn=x\\", ""},
    {"BlankInsideAttribute", "(a b=c)", ""},
    {"BadExtensible", "(:dn:=x)", ""},
    {"BadOid", "(1..2=x)", ""},
    {"TooDeep", deep(101), ""},
    {"MuchTooDeep", std::string(200'000, '('), ""},
    {"TooManyNots", "(" + std::string(200'000, '!') + "a=b)", ""},
};

class LdapFilterTest : public ::testing::TestWithParam<Case> {};

TEST_P(LdapFilterTest, IsReadTolerantlyAndWrittenStrictly) {
    std::string result = "before";
    const bool read = kr::NormalizeFilter(GetParam().given, result);
    EXPECT_EQ(read, !GetParam().written.empty());
    EXPECT_EQ(result, read ? GetParam().written : "before");
    if (read) {
        std::string again;
        EXPECT_TRUE(kr::NormalizeFilter(result, again));
        EXPECT_EQ(again, result);
    }
}

INSTANTIATE_TEST_SUITE_P(Forms, LdapFilterTest, ::testing::ValuesIn(kCases),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(LdapFilterValueTest, SpecialCharactersAreEscaped) {
    using namespace std::string_literals;
    EXPECT_EQ(kr::EscapeFilterValue("a(b)*\\c\0d"s), "a\\28b\\29\\2a\\5cc\\00d");
    EXPECT_EQ(kr::EscapeFilterValue("Müller, J. <x>"), "Müller, J. <x>");
    EXPECT_EQ(kr::EscapeFilterValue(""), "");
}

TEST(LdapFilterValueTest, AnEscapedValueStaysItselfThroughTheReader) {
    std::string all;
    for (int c = 0; c < 256; ++c)
        all += static_cast<char>(c);
    const std::string filter = "(cn=" + kr::EscapeFilterValue(all) + ")";
    std::string result;
    ASSERT_TRUE(kr::NormalizeFilter(filter, result));
    EXPECT_EQ(result, filter);
}

} // namespace
