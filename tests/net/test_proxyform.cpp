#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/basAgent.h"
#include "core/basStore.h"
#include "net/ProxyForm.h"
#include "tests/support/World.h"

namespace {

using namespace kr;
using ::testing::ElementsAre;
using Focus = ProxyForm::Focus;

class ProxyFormTest : public ::testing::Test {
protected:
    ProxyFormTest() { world.LogOnConfigured(); }
    AgentSession& session() { return *world.session; }
    RDOMessagePtr agent() { return GetAgentMessage(session()); }
    std::string save() {
        form.changed = true;
        return form.Save(session(), focus);
    }
    World world;
    ProxyForm form;
    Focus focus = Focus::None;
};

TEST_F(ProxyFormTest, StartsWithADirectConnection) {
    form.Load(session());
    EXPECT_EQ(form.option, 1);
    EXPECT_TRUE(
        world.logHas("frmProxy: no existing proxy settings, defaulting to direct connection"));
}

TEST_F(ProxyFormTest, NothingIsWrittenWithoutAChange) {
    form.Load(session());
    const auto before = agent()->LastModificationTime();
    EXPECT_EQ(form.Save(session(), focus), "");
    EXPECT_TRUE(GetKey(*agent(), "ProxySetting").empty());
    EXPECT_EQ(agent()->LastModificationTime(), before);
}

TEST_F(ProxyFormTest, WhatIsWrittenIsReadBack) {
    form.option = 2;
    form.http = "one:3128";
    form.https = "two";
    form.AddBypass("*.a.test, <local>;b");
    form.identity = true;
    form.userName = "DOM\\user";
    form.password = form.confirmation = "pw";
    form.passwordTyped = true;
    EXPECT_EQ(save(), "");
    EXPECT_EQ(KeyNumber(*agent(), "ProxySetting", -1), 2);
    EXPECT_EQ(KeyText(*agent(), "ProxyServer"), "http=one:3128 https=two");
    EXPECT_EQ(KeyText(*agent(), "ProxyBypass"), "*.a.test;<local>;b");
    EXPECT_EQ(KeyText(*agent(), "Proxy1"), "DOM\\user");
    EXPECT_EQ(KeyText(*agent(), "Proxy2"), "<pw>");
    EXPECT_TRUE(world.logHas("frmProxy: saving configuration changes"));
    ProxyForm again;
    again.Load(session());
    EXPECT_TRUE(world.logHas("frmProxy: loading proxy settings 2"));
    EXPECT_EQ(again.http, "one:3128");
    EXPECT_EQ(again.https, "two");
    EXPECT_THAT(again.bypass, ElementsAre("*.a.test", "<local>", "b"));
    EXPECT_TRUE(again.identity);
    EXPECT_EQ(again.userName, "DOM\\user");
    EXPECT_EQ(again.password, "pw");
    EXPECT_FALSE(again.changed);
}

TEST_F(ProxyFormTest, OneAddressStandsAloneOrForHttps) {
    form.http = " plain ";
    EXPECT_EQ(form.ProxyServer(), "plain");
    form.http = "";
    form.https = "secure";
    EXPECT_EQ(form.ProxyServer(), "https=secure");
    form.https = " ";
    EXPECT_EQ(form.ProxyServer(), "");
}

TEST_F(ProxyFormTest, AListInAFieldIsRefused) {
    const std::string refusal = "You can only enter a single proxy in this field.\r\n"
                                "Use ProxyCfg if you need to supply a delimited list.";
    EXPECT_EQ(ProxyForm::CheckAddress("a;b"), refusal);
    EXPECT_EQ(ProxyForm::CheckAddress("a b"), refusal);
    EXPECT_EQ(ProxyForm::CheckAddress(" a:80 "), "");
    EXPECT_EQ(ProxyForm::CheckAddress(""), "");
}

TEST_F(ProxyFormTest, BypassTakesEachAddressOnce) {
    EXPECT_TRUE(form.AddBypass("a;b").empty());
    EXPECT_THAT(form.AddBypass(" ,;A c"), ElementsAre("A"));
    EXPECT_THAT(form.bypass, ElementsAre("a", "b", "c"));
}

TEST_F(ProxyFormTest, AProxyIsNeeded) {
    form.option = 2;
    form.http = "  ";
    EXPECT_EQ(save(), "You must supply the address of a proxy server!");
    EXPECT_EQ(focus, Focus::Http);
    EXPECT_TRUE(GetKey(*agent(), "ProxySetting").empty());
}

TEST_F(ProxyFormTest, TheUserNameHasADomain) {
    form.option = 2;
    form.http = "proxy";
    form.identity = true;
    form.password = "pw";
    for (const char* name : {"user", "\\user", "dom\\", ""}) {
        form.userName = name;
        EXPECT_EQ(save(), "'" + std::string(name) + "' is not in the form 'Domain\\Username'!");
        EXPECT_EQ(focus, Focus::UserName);
    }
    form.userName = "d\\u";
    EXPECT_EQ(save(), "");
}

TEST_F(ProxyFormTest, ThePasswordIsNeededAndConfirmed) {
    form.option = 2;
    form.http = "proxy";
    form.identity = true;
    form.userName = "d\\u";
    EXPECT_EQ(save(), "You must supply a password!");
    form.password = "one";
    form.confirmation = "two";
    form.passwordTyped = true;
    EXPECT_EQ(save(), "Passwords do not match!");
    EXPECT_EQ(focus, Focus::Password);
    EXPECT_EQ(form.password + form.confirmation, "");
    form.password = "kept"; // one that was loaded needs no confirmation
    form.passwordTyped = false;
    EXPECT_EQ(save(), "");
}

TEST_F(ProxyFormTest, WithoutIdentityTheCredentialsGo) {
    form.option = 2;
    form.http = "proxy";
    form.identity = true;
    form.userName = "d\\u";
    form.password = "pw";
    ASSERT_EQ(save(), "");
    form.identity = false;
    ASSERT_EQ(save(), "");
    EXPECT_EQ(KeyText(*agent(), "Proxy1"), "");
    EXPECT_EQ(KeyText(*agent(), "Proxy2"), "");
}

TEST_F(ProxyFormTest, NoticesGoWithTheOption) {
    form.option = 0;
    EXPECT_TRUE(form.Notice().starts_with("ProxyCfg settings are stored in the registry"));
    form.option = 1;
    EXPECT_EQ(form.Notice(), "");
    form.option = 2;
    EXPECT_EQ(form.Notice(), "These settings will be shared by all zandrelAgent servers");
}

} // namespace
