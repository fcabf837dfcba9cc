#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "push/basMDS.h"
#include "tests/support/World.h"

namespace {

using namespace kr;
using ::testing::ElementsAre;
using ::testing::MatchesRegex;
using Header = std::pair<std::string, std::string>;

class Mds : public ::testing::Test {
protected:
    AgentSession& session() { return *world.session; }
    const FakeHttp::Request& sent() { return world.http.sent.at(0); }
    std::vector<std::string> names() {
        std::vector<std::string> found;
        for (const auto& [name, value] : sent().headers)
            found.push_back(name);
        return found;
    }
    std::string value(const std::string& name) {
        for (const auto& [key, text] : sent().headers)
            if (key == name)
                return text;
        return "(none)";
    }
    static MdsPush channel() {
        MdsPush push;
        push.pushServer = "mds1:8080|cHI6Y3I=";
        push.destination = "20FF3A21";
        push.pushType = "Browser-Channel";
        push.title = "News";
        push.contentUrl = "HTTP://intranet/https://news";
        push.channelId = "{ID}";
        push.description = "All news";
        push.cache = true;
        push.readIcon = "http://i/read.gif";
        push.unreadIcon = "http://i/unread.gif";
        push.expireDays = 3;
        push.body = std::string_view("b\0dy", 4);
        push.contentType = "text/html";
        push.notifyUrl = "http://tarn?cmd=notify";
        return push;
    }
    bool push(const MdsPush& what) { return PushToMDS(session(), what, result); }
    World world;
    std::string result = "unchanged";
};

TEST_F(Mds, AChannelHasAllHeadersInTheirOrder) {
    EXPECT_TRUE(push(channel()));
    EXPECT_EQ(sent().method, "POST");
    EXPECT_EQ(sent().url, "http://mds1:8080/push?DESTINATION=20FF3A21&PORT=7874&REQUESTURI=/");
    EXPECT_EQ(sent().policy, AutoLogonPolicy::Always);
    EXPECT_EQ(sent().body, std::string("b\0dy", 4));
    EXPECT_THAT(names(), ElementsAre("Authorization", "X-RIM-Push-Type", "X-RIM-Push-NotifyURL",
                                     "X-RIM-Push-ID", "Content-Type", "X-Rim-Transcode-Content",
                                     "Cache-Control", "Content-Location", "X-RIM-Push-Title",
                                     "X-RIM-Push-Description", "X-RIM-Push-Channel-ID",
                                     "X-RIM-Push-Unread-Icon-URL", "X-RIM-Push-Read-Icon-URL",
                                     "X-RIM-Push-Deliver-Before"));
    EXPECT_EQ(value("Authorization"), "Basic cHI6Y3I=");
    EXPECT_EQ(value("Cache-Control"), "max-age=259200");
    EXPECT_EQ(value("X-Rim-Transcode-Content"), "*/*");
    EXPECT_THAT(value("X-RIM-Push-ID"), MatchesRegex("intranet/news@[0-9]+"));
    // a day after 2026-03-10 09:30 UTC
    EXPECT_EQ(value("X-RIM-Push-Deliver-Before"), "Wed, 11 Mar 2026 09:30:00 GMT");
    EXPECT_EQ(result, "200:OK");
    EXPECT_TRUE(world.logHas("PushToMDS:including Authorization header"));
    EXPECT_TRUE(world.logHas("PushToMDS:sending UnreadIcon URL http://i/unread.gif"));
    EXPECT_TRUE(world.logHas("PushToMDS:sending ReadIcon URL http://i/read.gif"));
    EXPECT_TRUE(world.logHas("Pushing Browser-Channel with 4 bytes (Content-Type = 'text/html') "
                             "to http://mds1:8080/push?"));
    EXPECT_TRUE(world.logHas("PushToMDS:successfully pushed http://mds1:8080/push?DESTINATION="
                             "20FF3A21&PORT=7874&REQUESTURI=/ 200:OK"));
}

TEST_F(Mds, EachTypeHasItsOwnHeaders) {
    const std::pair<const char*, std::vector<std::string>> kinds[] = {
        {"Browser-Message",
         {"X-RIM-Push-Type", "Content-Location", "X-RIM-Push-Title", "X-RIM-Push-Description",
          "X-RIM-Push-Deliver-Before"}},
        {"Browser-Content", {"X-RIM-Push-Type", "Content-Location", "X-RIM-Push-Deliver-Before"}},
        {"Browser-Channel-Delete",
         {"X-RIM-Push-Type", "X-RIM-Push-Channel-ID", "X-RIM-Push-Deliver-Before"}},
        {"browser-message", {"X-RIM-Push-Type", "X-RIM-Push-Deliver-Before"}},
        {"Other", {"X-RIM-Push-Type", "X-RIM-Push-Deliver-Before"}}};
    for (const auto& [type, expected] : kinds) {
        world.http.sent.clear();
        MdsPush plain = channel();
        plain.pushType = type;
        plain.pushServer = "mds1:8080";
        plain.notifyUrl = plain.contentType = "";
        plain.cache = false;
        EXPECT_TRUE(push(plain));
        EXPECT_EQ(names(), expected) << type;
    }
}

TEST_F(Mds, AChannelWithoutIconsHasNoIconHeaders) {
    MdsPush plain = channel();
    plain.readIcon = plain.unreadIcon = "";
    push(plain);
    EXPECT_EQ(value("X-RIM-Push-Read-Icon-URL"), "(none)");
    EXPECT_EQ(value("X-RIM-Push-Unread-Icon-URL"), "(none)");
}

TEST_F(Mds, WithoutCacheAndBodyTheHandheldFetchesByItself) {
    MdsPush plain = channel();
    plain.cache = false;
    plain.body = plain.contentType = "";
    push(plain);
    EXPECT_EQ(sent().body, "");
    for (const char* name : {"Content-Type", "Cache-Control", "X-Rim-Transcode-Content"})
        EXPECT_EQ(value(name), "(none)");
    EXPECT_TRUE(world.logHas("Pushing Browser-Channel to http://mds1:8080/"));
}

TEST_F(Mds, NoDaysMeanNoAge) {
    MdsPush plain = channel();
    plain.expireDays = 0;
    push(plain);
    EXPECT_EQ(value("Cache-Control"), "max-age=0");
}

TEST_F(Mds, MoreDaysThanFitSendNoAge) {
    MdsPush plain = channel();
    plain.expireDays = 30'000;
    push(plain);
    EXPECT_EQ(value("Cache-Control"), "(none)");
    EXPECT_EQ(value("X-RIM-Push-Title"), "News");
}

TEST_F(Mds, ANotifyUrlWithoutServerStillSendsBothHeaders) {
    MdsPush plain = channel();
    plain.notifyUrl = "?cmd=notify";
    push(plain);
    EXPECT_EQ(value("X-RIM-Push-NotifyURL"), "?cmd=notify");
    EXPECT_NE(value("X-RIM-Push-ID"), "(none)");
}

TEST_F(Mds, AHeaderThatCannotBeSetIsLeftOutAlone) {
    MdsPush plain = channel();
    plain.title = "two\r\nlines";
    EXPECT_TRUE(push(plain));
    EXPECT_EQ(value("X-RIM-Push-Title"), "(none)");
    EXPECT_EQ(value("X-RIM-Push-Description"), "All news");
}

TEST_F(Mds, ARefusalIsLoggedWithTheWholeAddress) {
    world.http.answer = [](const FakeHttp::Request&) {
        return FakeHttp::Response{403, "Forbidden"};
    };
    EXPECT_FALSE(push(channel()));
    EXPECT_EQ(result, "403:Forbidden");
    EXPECT_TRUE(world.logHas("PushToMDS: problem pushing Browser-Channel through "
                             "mds1:8080|cHI6Y3I= to 20FF3A21; status 403:Forbidden"));
}

TEST_F(Mds, NoAnswerIsATimeOut) {
    world.http.answer = [](const FakeHttp::Request&) { return FakeHttp::Response{-1}; };
    EXPECT_FALSE(push(channel()));
    EXPECT_EQ(result, "timed out");
    EXPECT_TRUE(world.logHas("PushToMDS:timed out waiting for response from http://mds1:8080/"));
}

TEST_F(Mds, WithoutARequestTheResultStays) {
    world.http.fails = true;
    EXPECT_FALSE(push(channel()));
    EXPECT_EQ(result, "unchanged");
    EXPECT_TRUE(
        world.logHas("PushToMDS:unable to proceed: failed to instantiate WinHttpRequest object"));
}

TEST_F(Mds, AnAddressWithoutCredentialSendsNone) {
    MdsPush plain = channel();
    plain.pushServer = "mds1:8080";
    push(plain);
    EXPECT_EQ(value("Authorization"), "(none)");
    EXPECT_FALSE(world.logHas("including Authorization header"));
}

TEST_F(Mds, PayloadsHaveOneHeaderAndOneByteACharacter) {
    EXPECT_TRUE(PushMPL(session(), "mds1:8080|YQ==", "u@x.test", "caf\u00e9"));
    EXPECT_EQ(sent().url, "http://mds1:8080/push?DESTINATION=u@x.test&PORT=8765&REQUESTURI=/");
    EXPECT_THAT(sent().headers,
                ElementsAre(Header("Authorization", "Basic YQ=="),
                            Header("Content-Type", "application/x-www-form-urlencoded")));
    EXPECT_EQ(sent().body, "caf\xE9");
    EXPECT_EQ(sent().policy, AutoLogonPolicy::Always);
    EXPECT_TRUE(world.logHas("PushMPL:pushing payload to http://mds1:8080/push?"));
    EXPECT_TRUE(world.logHas("PushMPL:response status = 200:OK; responseText = "));
}

TEST_F(Mds, ThePinListSenderTellsOfItsSuccess) {
    world.ui.Expect("The PINDL message has been successfully transmitted to the MDS server.");
    EXPECT_TRUE(PushPDL(session(), "mds1:8080", "20FF3A21", "list"));
    EXPECT_TRUE(world.logHas("PushPDL:pushing list to http://mds1:8080/push?DESTINATION=20FF3A21"
                             "&PORT=8765&REQUESTURI=/"));
    // said, and not done
    EXPECT_TRUE(world.logHas("PushPDL:including Authorization header"));
    EXPECT_THAT(sent().headers,
                ElementsAre(Header("Content-Type", "application/x-www-form-urlencoded")));
}

TEST_F(Mds, AnEmptyCredentialIsTreatedDifferently) {
    world.http.answer = [](const FakeHttp::Request&) { return FakeHttp::Response{500, "Error"}; };
    EXPECT_FALSE(PushPDL(session(), "mds1:8080|", "1", "x"));
    EXPECT_FALSE(world.logHas("PushPDL:including Authorization header"));
    EXPECT_FALSE(PushMPL(session(), "mds1:8080|", "1", "x"));
    EXPECT_TRUE(world.logHas("PushMPL:including Authorization header"));
    EXPECT_FALSE(PushMPL(session(), "mds1:8080", "1", "x"));
    EXPECT_TRUE(world.logHas("PushPDL:response status = 500:Error; responseText = "));
}

TEST_F(Mds, PayloadsTimeOutUnderTheirOwnTags) {
    world.http.answer = [](const FakeHttp::Request&) { return FakeHttp::Response{0}; };
    EXPECT_FALSE(PushPDL(session(), "mds1:8080", "1", "x"));
    EXPECT_FALSE(PushMPL(session(), "mds1:8080", "1", "x"));
    EXPECT_TRUE(world.logHas("PushPDL:timed out waiting for response from http://mds1:8080/"));
    EXPECT_TRUE(world.logHas("PushMPL:timed out waiting for response from http://mds1:8080/"));
}

} // namespace
