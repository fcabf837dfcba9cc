#include <gtest/gtest.h>

#include "contacts/basACDSCxn.h"

namespace {

using namespace kr;

CxnFields fieldsOf(CxnType type, CxnSecurity security = CxnSecurity::Integrated) {
    CxnFields fields;
    fields.type = type;
    fields.dataSource = "src";
    fields.catalog = "db";
    fields.security = security;
    fields.userID = "u";
    fields.password = "p";
    fields.format = "Fixed";
    return fields;
}

TEST(CxnBuildTest, EachTypeAsItIsStored) {
    struct Case {
        CxnType type;
        CxnSecurity security;
        std::string text;
    };
    const CxnSecurity own = CxnSecurity::Integrated, given = CxnSecurity::SupplyIdentity;
    const Case cases[] = {
        {CxnType::SqlServer, own,
         "Provider=SQLOLEDB; Data Source=src; Initial Catalog=db; Integrated Security=SSPI;"},
        {CxnType::SqlServer, given,
         "Provider=SQLOLEDB; Data Source=src; Initial Catalog=db; User ID=u;Password=p;"},
        {CxnType::Excel2003, CxnSecurity::None,
         "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=src;"
         "Extended Properties=\"Excel 8.0;HDR=Yes;IMEX=1\";"},
        {CxnType::Excel2007, CxnSecurity::None,
         "Provider=Microsoft.ACE.OLEDB.12.0;Data Source=src;"
         "Extended Properties=\"Excel 12.0 Xml;HDR=YES\";"},
        {CxnType::Access2003, own, "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=src;"},
        {CxnType::Access2003, given,
         "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=src;User Id=u;Password=p;"},
        {CxnType::Access2007, own,
         "Provider=Microsoft.ACE.OLEDB.12.0;Data Source=src;Persist Security Info=False;"},
        {CxnType::Access2007, given,
         "Provider=Microsoft.ACE.OLEDB.12.0;Data Source=src;Jet OLEDB:Database Password=p;"},
        {CxnType::TextFolder, CxnSecurity::None,
         "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=src;"
         "Extended Properties=\"text;HDR=Yes;FMT=Fixed\";"},
        {CxnType::OracleMicrosoft, own,
         "Provider=MSDAORA; Data Source=src; Persist Security Info=False;"
         "Integrated Security=Yes;"},
        {CxnType::OracleMicrosoft, given,
         "Provider=MSDAORA; Data Source=src; User ID=u;Password=p;"},
        {CxnType::OracleOwn, own, "Provider=OraOLEDB.Oracle; Data Source=src; OSAuthent=1;"},
        {CxnType::OracleOwn, given,
         "Provider=OraOLEDB.Oracle; Data Source=src; User ID=u;Password=p;"},
        {CxnType::Other, own, ""},
        {CxnType::None, own, ""},
    };
    for (const Case& c : cases)
        EXPECT_EQ(BuildConnectionString(fieldsOf(c.type, c.security)), c.text);
}

TEST(CxnBuildTest, AnAddressOfFourNumbersNamesTheNetworkLibrary) {
    CxnFields fields = fieldsOf(CxnType::SqlServer);
    for (const char* server : {"10.0.0.1", "1.2.3.999", "1.2.3.-4"}) {
        fields.dataSource = server;
        EXPECT_EQ(BuildConnectionString(fields),
                  "Provider=SQLOLEDB; Data Source=" + std::string(server) +
                      "; Network Library=DBMSSOCN; Initial Catalog=db; Integrated Security=SSPI;");
    }
    for (const char* server : {"SQL01", "10.0.0", "10.0.0.1.2", "10.0.0.x", "10..0.1", "a.b.c.d"}) {
        fields.dataSource = server;
        EXPECT_EQ(BuildConnectionString(fields).find("Network Library"), std::string::npos)
            << server;
    }
}

TEST(CxnLoadTest, EachProviderGivesItsType) {
    struct Case {
        std::string text;
        CxnType type;
    };
    const Case cases[] = {
        {"Provider=SQLOLEDB;", CxnType::SqlServer},
        {"provider = msdaora ", CxnType::OracleMicrosoft},
        {"PROVIDER=MSDAORA.1", CxnType::OracleMicrosoft},
        {"Provider=OraOLEDB", CxnType::OracleOwn},
        {"Provider=Microsoft.ACE.OLEDB.12.0;Data Source=/a/b.xlsx;", CxnType::Excel2007},
        {"Provider=Microsoft.ACE.OLEDB.12.0;Data Source=/a/b.ACCDB;", CxnType::Access2007},
        {"Provider=Microsoft.Jet.OLEDB.4.0;Data Source=a.mdb;extended properties=\"TEXT;HDR=Yes\"",
         CxnType::TextFolder},
        {"Provider=Microsoft.Jet.OLEDB.4.0;Data Source=a.MDB;", CxnType::Access2003},
        {"Provider=Microsoft.Jet.OLEDB.4.0;Data Source=a.xls;", CxnType::Excel2003},
    };
    for (const Case& c : cases) {
        const auto fields = LoadConnectionString(c.text);
        ASSERT_TRUE(fields) << c.text;
        EXPECT_EQ(fields->type, c.type) << c.text;
    }
    // the exact word is compared
    for (const char* text : {"Provider=sqloledb.1", "Provider=OraOLEDB.Oracle; Data Source=x;",
                             "Provider=", "Provider;Data Source=x", "Provider=MSDASQL"})
        EXPECT_FALSE(LoadConnectionString(text)) << text;
}

TEST(CxnLoadTest, EmptyAndShapelessTexts) {
    const auto empty = LoadConnectionString("");
    ASSERT_TRUE(empty);
    EXPECT_EQ(empty->type, CxnType::SqlServer);
    EXPECT_EQ(empty->security, CxnSecurity::Integrated);
    // without a provider nothing is refused, and no type is chosen
    const auto bare = LoadConnectionString("Data Source=x;;=;abc;Initial Catalog");
    ASSERT_TRUE(bare);
    EXPECT_EQ(bare->type, CxnType::None);
    EXPECT_EQ(bare->dataSource, "x");
    EXPECT_EQ(bare->catalog, "");
}

TEST(CxnLoadTest, WhatIsBuiltComesBack) {
    const std::string sql = "Provider=SQLOLEDB; Data Source=10.0.0.1; Network Library=DBMSSOCN; "
                            "Initial Catalog=x; User ID=a;Password=b;";
    const auto fields = LoadConnectionString(sql);
    ASSERT_TRUE(fields);
    EXPECT_EQ(fields->type, CxnType::SqlServer);
    EXPECT_EQ(fields->security, CxnSecurity::SupplyIdentity);
    EXPECT_EQ(fields->userID, "a");
    EXPECT_EQ(fields->password, "b");
    EXPECT_EQ(BuildConnectionString(*fields), sql);
    struct Case {
        CxnType type;
        std::string source;
    };
    const Case cases[] = {
        {CxnType::SqlServer, "SQL01"},       {CxnType::Excel2003, "C:\\a b\\c.xls"},
        {CxnType::Excel2007, "/a/b.xlsx"},   {CxnType::Access2003, "/a/b.mdb"},
        {CxnType::Access2007, "/a/b.accdb"}, {CxnType::TextFolder, "/a/b"},
        {CxnType::OracleMicrosoft, "ORA"}};
    for (const Case& c : cases)
        for (const CxnSecurity security : {CxnSecurity::Integrated, CxnSecurity::SupplyIdentity}) {
            CxnFields built = fieldsOf(c.type, security);
            built.dataSource = c.source;
            const std::string text = BuildConnectionString(built);
            const auto again = LoadConnectionString(text);
            ASSERT_TRUE(again) << text;
            EXPECT_EQ(again->type, c.type) << text;
            EXPECT_EQ(BuildConnectionString(*again), text);
        }
    EXPECT_FALSE(LoadConnectionString(BuildConnectionString(fieldsOf(CxnType::OracleOwn))));
}

TEST(CxnLoadTest, FormatsAreFreeText) {
    const auto formatOf = [](const std::string& value) {
        return LoadConnectionString("Provider=Microsoft.Jet.OLEDB.4.0;Extended Properties=\"text;"
                                    "HDR=Yes;FMT=" +
                                    value)
            ->format;
    };
    EXPECT_EQ(formatOf("DELIMITED\";"), "Delimited");
    EXPECT_EQ(formatOf("fixed;\""), "Fixed");
    EXPECT_EQ(formatOf("TabDelimited\";"), "TabDelimited");
    EXPECT_EQ(formatOf(""), "");
}

TEST(CxnLoadTest, PartsAreTakenInOrder) {
    // the type that is chosen behind an identity resets the security, the identity stays
    const auto late = LoadConnectionString("User ID=a;Password=b;Provider=SQLOLEDB");
    ASSERT_TRUE(late);
    EXPECT_EQ(late->security, CxnSecurity::Integrated);
    EXPECT_EQ(late->userID, "a");
    const auto both = LoadConnectionString("Provider=SQLOLEDB;User ID=a;Integrated Security=sspi");
    EXPECT_EQ(both->security, CxnSecurity::Integrated);
    const auto no = LoadConnectionString("Provider=SQLOLEDB;User ID=a;Integrated Security=No");
    EXPECT_EQ(no->security, CxnSecurity::SupplyIdentity);
    const auto excel = LoadConnectionString("Provider=Microsoft.Jet.OLEDB.4.0;Data Source=a.xls");
    EXPECT_EQ(excel->security, CxnSecurity::None);
    // a type that isn't recognized is forgiven when one follows that is
    EXPECT_TRUE(LoadConnectionString("Provider=x;Provider=SQLOLEDB"));
    EXPECT_FALSE(LoadConnectionString("Provider=SQLOLEDB;Provider=x"));
}

TEST(CxnLoadTest, SignsOfTheGrammarCannotBePartOfAPassword) {
    const auto cut = LoadConnectionString("Provider=SQLOLEDB;User ID=a;Password=b=c;d;");
    EXPECT_EQ(cut->password, "b");
    const auto spaced = LoadConnectionString("Provider=SQLOLEDB; jet oledb:database password = s ");
    EXPECT_EQ(spaced->password, "s");
    EXPECT_EQ(spaced->security, CxnSecurity::SupplyIdentity);
}

TEST(CxnFieldsTest, SaysWhatIsMissing) {
    CxnFields fields = fieldsOf(CxnType::SqlServer);
    EXPECT_EQ(MissingCxnField(fields, "&Server name or IP", true), "");
    fields.catalog.clear();
    EXPECT_EQ(MissingCxnField(fields, "&Server name or IP", true),
              "You must supply the name of the database!");
    EXPECT_EQ(MissingCxnField(fields, "&Server name or IP", false), "");
    fields.dataSource = " ";
    EXPECT_EQ(MissingCxnField(fields, "Folder &Path", true), "You must supply the Folder Path!");
}

TEST(CxnFieldsTest, TypesHaveTheirNotices) {
    ASSERT_EQ(CxnTypes().size(), 9u);
    EXPECT_EQ(InfoOf(CxnType::Access2007).notice,
              "The Microsoft.ACE.OLEDB.12.0 provider must exist on the server");
    EXPECT_EQ(InfoOf(CxnType::TextFolder).notice,
              "A valid Schema.ini file must exist in the target folder");
    EXPECT_EQ(InfoOf(CxnType::OracleOwn).notice,
              "The OraOLEDB.Oracle provider must exist on the server");
    EXPECT_EQ(InfoOf(CxnType::SqlServer).notice, "");
    EXPECT_EQ(InfoOf(CxnType::None).name, "Other");
}

} // namespace
