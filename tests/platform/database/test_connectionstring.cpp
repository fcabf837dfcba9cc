#include "platform/database/ConnectionString.h"

#include <gtest/gtest.h>

namespace {

using kr::ConnectionString;
using kr::DbTarget;
using kr::ResolveConnection;

TEST(ConnectionStringTest, KeysIgnoreCaseAndBlanksAndTheLastWins) {
    const ConnectionString s(" pRoViDeR = SQLOLEDB ;; word; Data Source=a; DATA SOURCE = b ");
    EXPECT_EQ(s.Get("provider"), "SQLOLEDB");
    EXPECT_EQ(s.Get("Data Source"), "b");
    EXPECT_FALSE(s.Has("word"));
    EXPECT_EQ(s.Parts().size(), 2u);
}

TEST(ConnectionStringTest, QuotesKeepSemicolonsEqualsAndDoubledQuotes) {
    const ConnectionString s("Password=\"a;b=c\"\"d\";User ID='o''h;x';Plain=a=b");
    EXPECT_EQ(s.Get("password"), "a;b=c\"d");
    EXPECT_EQ(s.Get("user id"), "o'h;x");
    EXPECT_EQ(s.Get("plain"), "a=b");
}

TEST(ConnectionStringTest, SqlServerGoesToFreeTds) {
    for (const char* provider : {"sqloledb", "SQLOLEDB.1", "SQLNCLI11", "MSOLEDBSQL19"}) {
        const DbTarget t = ResolveConnection("Provider=" + std::string(provider) +
                                             ";Data Source=tcp:h,1500;Initial Catalog=c;"
                                             "User ID=u;Password='a;b'");
        EXPECT_EQ(t.kind, DbTarget::Odbc);
        EXPECT_TRUE(t.freeTds);
        EXPECT_EQ(t.odbc, "Driver={FreeTDS};Server=h;Port=1500;Database=c;UID=u;PWD={a;b};"
                          "TDS_Version=7.4;ClientCharset=UTF-8;APP=KR-Admin;");
    }
    const DbTarget t = ResolveConnection(
        "Provider=SQLOLEDB;Data Source=(local);Integrated Security=SSPI;Password=x");
    EXPECT_NE(t.odbc.find("Server=127.0.0.1;Port=1433;Trusted_Connection=yes;"), std::string::npos);
    EXPECT_EQ(t.odbc.find("PWD"), std::string::npos);
}

TEST(ConnectionStringTest, FilesByTheirExtendedProperties) {
    const DbTarget excel =
        ResolveConnection("Provider=Microsoft.ACE.OLEDB.12.0;Data Source=/a.xlsx;"
                          "Extended Properties=\"Excel 12.0 Xml;HDR=no\";");
    EXPECT_EQ(excel.kind, DbTarget::Excel);
    EXPECT_EQ(excel.path, "/a.xlsx");
    EXPECT_FALSE(excel.header);
    const DbTarget text = ResolveConnection("provider=microsoft.jet.oledb.4.0;data source=/d;"
                                            "extended properties=\"text;HDR=Yes;FMT=Fixed\";");
    EXPECT_EQ(text.kind, DbTarget::TextFolder);
    EXPECT_TRUE(text.header);
    EXPECT_EQ(text.format, "Fixed");
    EXPECT_EQ(ResolveConnection("Provider=Microsoft.Jet.OLEDB.4.0;Data Source=x.mdb").kind,
              DbTarget::Access);
}

TEST(ConnectionStringTest, OracleNeedsARegisteredDriver) {
    const char* text = "Provider=OraOLEDB.Oracle; Data Source=h:1521/s; User ID=u;Password=p";
    EXPECT_EQ(ResolveConnection(text).kind, DbTarget::UnknownProvider);
    EXPECT_EQ(ResolveConnection(text, "Oracle 21").odbc,
              "Driver={Oracle 21};DBQ=//h:1521/s;UID=u;PWD=p;");
    EXPECT_EQ(ResolveConnection("Provider=msdaora.1;Data Source=n", "O").odbc, "Driver={O};DBQ=n;");
}

TEST(ConnectionStringTest, WithoutProviderTheKeysAreOdbcsOwn) {
    EXPECT_EQ(ResolveConnection("Driver={X};Server=h;PWD='a;b'").odbc,
              "Driver={X};Server=h;PWD={a;b};");
    EXPECT_EQ(ResolveConnection("Provider=MSDASQL;Data Source=d;Driver=X").odbc,
              "DSN=d;Driver={X};");
    EXPECT_EQ(ResolveConnection("Provider=Other").kind, DbTarget::UnknownProvider);
}

} // namespace
