#include <gmock/gmock.h>
#include <ldap.h>

#include <fstream>

#include "platform/directory/ldap/LdapError.h"
#include "platform/directory/ldap/LdapSettings.h"
#include "tests/platform/directory/DirectoryTest.h"

using kr::LdapHost;
using kr::LdapSettings;
using Tls = LdapSettings::Tls;
using Mechanism = LdapSettings::Mechanism;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace {

class LdapSettingsTest : public kr::DirectoryTest {
protected:
    LdapSettings read() { return LdapSettings::Read(*m_registry); }
};

TEST_F(LdapSettingsTest, WithoutValuesItIsTheDomainsCatalogByKerberos) {
    const LdapSettings s = read();
    EXPECT_EQ(s.server, "");
    EXPECT_EQ(s.port, 389);
    EXPECT_EQ(s.catalogPort, 3268);
    EXPECT_EQ(s.tls, Tls::None);
    EXPECT_EQ(s.mechanism, Mechanism::Gssapi);
    EXPECT_EQ(s.caFile, "/etc/ssl/certs/ca-certificates.crt");
}

TEST_F(LdapSettingsTest, AnAccountMeansASimpleBindUnderStartTls) {
    set("Account", "CN=reader,DC=x");
    set("Password", " blank at both ends ");
    const LdapSettings s = read();
    EXPECT_EQ(s.mechanism, Mechanism::Simple);
    EXPECT_EQ(s.tls, Tls::StartTls);
    EXPECT_EQ(s.password, " blank at both ends ");
}

TEST_F(LdapSettingsTest, EachValueCounts) {
    set("Server", "dc1.example.test");
    set("TLS", "LDAPS");
    set("CAFile", "/x/ca.pem");
    set("Mechanism", "None");
    LdapSettings s = read();
    EXPECT_EQ(s.tls, Tls::Ldaps);
    EXPECT_EQ(s.port, 636);
    EXPECT_EQ(s.catalogPort, 3269);
    EXPECT_EQ(s.caFile, "/x/ca.pem");
    EXPECT_EQ(s.mechanism, Mechanism::None);
    set("Port", "1389");
    kr::RegValue number;
    number.type = kr::RegType::Dword;
    number.number = 2389;
    m_registry->Write(kr::Hive::LocalMachine, R"(Software\zandrel\zandrelAgent\Directory)",
                      "GCPort", number);
    s = read();
    EXPECT_THAT(kr::FindHosts(s, kr::DirectoryQuery::Port::Ldap),
                ElementsAre(LdapHost{"dc1.example.test", 1389}));
    EXPECT_THAT(kr::FindHosts(s, kr::DirectoryQuery::Port::GlobalCatalog),
                ElementsAre(LdapHost{"dc1.example.test", 2389}));
}

TEST_F(LdapSettingsTest, AWrongValueIsNamed) {
    set("TLS", "ssl");
    const auto error = errorOf([&] { read(); });
    EXPECT_NE(error.number(), 0);
    EXPECT_THAT(error.description(), HasSubstr("TLS has the unknown value \"ssl\""));
    set("TLS", "none");
    set("GCPort", "many");
    EXPECT_THAT(errorOf([&] { m_directory->Open(); }).description(),
                HasSubstr("GCPort is no port"));
}

TEST_F(LdapSettingsTest, HostsOfTheDnsMoveToTheirTlsPorts) {
    EXPECT_THAT(kr::ParseHostList("a.test:3268 b.test:389", Tls::StartTls),
                ElementsAre(LdapHost{"a.test", 3268}, LdapHost{"b.test", 389}));
    EXPECT_THAT(kr::ParseHostList("a.test:3268 b.test:389 c.test:1234 d.test", Tls::Ldaps),
                ElementsAre(LdapHost{"a.test", 3269}, LdapHost{"b.test", 636},
                            LdapHost{"c.test", 1234}, LdapHost{"d.test", 636}));
    EXPECT_TRUE(kr::ParseHostList("", Tls::None).empty());
}

TEST_F(LdapSettingsTest, TheRealmIsThatOfTheDefaults) {
    const std::string path = m_folder + "/krb5.conf";
    std::ofstream(path) << "[realms]\n default_realm = WRONG\n[libdefaults]\n"
                           "  dns_lookup_kdc = true\n\tdefault_realm\t= EXAMPLE.TEST\n";
    EXPECT_EQ(kr::DefaultRealm(path), "example.test");
    std::ofstream(path) << "[realms]\n default_realm = WRONG\n";
    EXPECT_EQ(kr::DefaultRealm(path), "");
    EXPECT_EQ(kr::DefaultRealm(m_folder + "/absent"), "");
}

TEST_F(LdapSettingsTest, NoServerInTheDnsIsAServerThatIsNotOperational) {
    std::ofstream(m_folder + "/krb5.conf") << "[libdefaults]\ndefault_realm = NOWHERE.INVALID\n";
    setenv("KRB5_CONFIG", (m_folder + "/krb5.conf").c_str(), 1);
    const auto error = errorOf([&] { m_directory->Open(); });
    unsetenv("KRB5_CONFIG");
    EXPECT_EQ(error.number(), hresult(0x8007203A));
    EXPECT_THAT(error.description(), HasSubstr("nowhere.invalid"));
    EXPECT_FALSE(m_directory->IsOpen());
}

TEST(LdapErrorTest, NumbersAreThoseOfTheDirectorysProvider) {
    const std::pair<int, uint32_t> rows[] = {
        {-1, 0x8007203A}, {-5, 0x800705B4}, {32, 0x80072030}, {34, 0x80072032}, {49, 0x8007052E},
        {50, 0x80070005}, {53, 0x80072035}, {8, 0x80072028},  {10, 0x8007202B}, {1, 0x80072020},
        {3, 0x80072022},  {4, 0x80072023},  {11, 0x80072024}, {12, 0x8007202C}, {51, 0x8007200E},
        {52, 0x8007200F}, {-7, 0x8007203E}, {2, 0x8007001F},  {80, 0x8007001F}};
    for (const auto& [code, number] : rows)
        EXPECT_EQ(kr::LdapError(code).number(), static_cast<int32_t>(number)) << code;
    EXPECT_EQ(kr::LdapError(32, "dc1:389").description(),
              "There is no such object on the server. (dc1:389)");
    EXPECT_LT(kr::LdapError(32).number(), 0);
}

} // namespace
