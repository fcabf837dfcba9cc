#include <gmock/gmock.h>

#include "core/basDate.h"
#include "push/basPDL.h"
#include "tests/push/PdlUserWorld.h"

#include <gtest/gtest.h>

namespace {

using namespace kr;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class PdlPacketTest : public ::testing::Test {
protected:
    AgentSession& session() { return *world.session; }
    bool logs(const std::string& text) { return world.logHas(text + "\n"); }
    std::string tarn() { return GetTarnPDL(session(), "PIN1", content); }
    BoxIcon lastIcon() { return world.ui.boxes().back().icon; }

    PdlUserWorld world;
    const std::string url = PdlUserWorld::TarnUrl("PIN1");
    std::string content = "old";
};

// --- the engine

TEST_F(PdlPacketTest, TheEngineNamesTheUrl) {
    world.Page(url, "http://packets/PIN1.xml?a=1&b=2\r\n");
    EXPECT_EQ(tarn(), "http://packets/PIN1.xml?a=1&b=2");
    EXPECT_EQ(content, "");
    EXPECT_THAT(world.Gets(), ElementsAre("http://tarn/TARN/?cmd=getpdl&pin=PIN1nofetch"));
    EXPECT_TRUE(logs("GetTarnPDL:access OK to " + url + "; received 33 bytes with Status 200:OK"));
}

TEST_F(PdlPacketTest, TheEngineGivesThePacketItself) {
    world.Page(url, PdlUserWorld::kPacket);
    EXPECT_EQ(tarn(), "http://tarn/TARN/?cmd=getpdl&pin=PIN1");
    EXPECT_EQ(content, PdlUserWorld::kPacket);
}

TEST_F(PdlPacketTest, AnEngineWithoutAnAnswerGivesNothing) {
    world.Page(url, "");
    EXPECT_EQ(tarn(), "");
    EXPECT_EQ(content, "");
    EXPECT_TRUE(logs("GetTarnPDL:responseText is empty on request from " + url));
    world.Page(url, "oops", 500, "Server Error");
    EXPECT_EQ(tarn(), "");
    EXPECT_TRUE(logs("GetTarnPDL:received 500:Server Error from " + url));
    world.pages[url].status = -1;
    EXPECT_EQ(tarn(), "");
    EXPECT_TRUE(logs("GetTarnPDL:timed out waiting for response from " + url));
    world.http.fails = true;
    EXPECT_EQ(tarn(), "");
    EXPECT_TRUE(logs("GetTarnPDL:unable to proceed: failed to instantiate WinHttpRequest object"));
    EXPECT_THAT(world.ui.boxes(), IsEmpty());
}

TEST_F(PdlPacketTest, WithoutAnEngineNobodyIsAsked) {
    world.SetAgent("TARN.URL", "");
    EXPECT_EQ(tarn(), "");
    EXPECT_EQ(TarnPDLAddress(session(), "PIN1"), "");
    EXPECT_THAT(world.http.sent, IsEmpty());
}

// --- the directory

TEST_F(PdlPacketTest, TheDirectoryIsProvenByAnAnswer) {
    const std::string directory = "http://AGENT1/PINDL/";
    world.Page(directory, "listing");
    EXPECT_EQ(GetPDLUrl(session(), "AGENT1", "Alice"), directory);
    EXPECT_TRUE(logs("GetPDLUrl:access OK to " + directory + " on AGENT1; received 200:OK"));
    world.Page(directory, "", 403, "Forbidden");
    EXPECT_EQ(GetPDLUrl(session(), "AGENT1", "Alice"), directory);
    EXPECT_TRUE(logs("GetPDLUrl:access OK to " + directory + " on AGENT1; received 403:Forbidden"));
    EXPECT_THAT(world.ui.boxes(), IsEmpty());
}

TEST_F(PdlPacketTest, TheHostNamesItsDirectory) {
    world.SetHost("EPS.PINDL.URL", "https://files/p/");
    world.Page("https://files/p/", "");
    EXPECT_EQ(GetPDLUrl(session(), "AGENT1", "Alice"), "https://files/p/");
    EXPECT_EQ(HostText(session(), "AGENT1", "EPS.PINDL.URL"), "https://files/p/");
    EXPECT_EQ(HostText(session(), "AGENT2", "EPS.PINDL.URL"), "");
    EXPECT_EQ(HostText(session(), "", "EPS.PINDL.URL"), "");
    // another server has the usual one
    world.Page("http://AGENT2/PINDL/", "");
    EXPECT_EQ(GetPDLUrl(session(), "AGENT2", "Alice"), "http://AGENT2/PINDL/");
}

TEST_F(PdlPacketTest, ADirectoryThatIsNotThereIsTold) {
    const std::string box =
        "Unable to access the specified PINDL directory on AGENT1 for Alice!\r\n"
        "Please verify that http://AGENT1/PINDL/ exists and is accessible";
    world.ui.Expect(box);
    EXPECT_EQ(GetPDLUrl(session(), "AGENT1", "Alice"), "");
    EXPECT_EQ(lastIcon(), BoxIcon::Exclamation);
    EXPECT_TRUE(logs("GetPDLUrl:received 404:Not Found on request for http://AGENT1/PINDL/"));
    world.pages["http://AGENT1/PINDL/"].status = -1;
    world.ui.Expect(box);
    EXPECT_EQ(GetPDLUrl(session(), "AGENT1", "Alice"), "");
    EXPECT_TRUE(logs("GetPDLUrl:timed out waiting for response from http://AGENT1/PINDL/"));
    // no server, no directory: the caller has its own words
    EXPECT_EQ(GetPDLUrl(session(), "", "Alice"), "");
}

// --- the packet

TEST_F(PdlPacketTest, APacketIsRead) {
    world.Page("http://h/P.xml", "<x/>");
    EXPECT_EQ(GetPDL(session(), "http://h/P.xml", "Alice"), "<x/>");
    EXPECT_TRUE(logs("GetPDL:received 200:OK from http://h/P.xml"));
    EXPECT_THAT(world.ui.boxes(), IsEmpty());
}

TEST_F(PdlPacketTest, APacketThatIsNotThereIsTold) {
    world.ui.Expect("No PINDL is available on the target server!\r\nUnable to push to Alice");
    EXPECT_EQ(GetPDL(session(), "http://h/P.xml", "Alice"), "");
    EXPECT_EQ(lastIcon(), BoxIcon::Stop);
    EXPECT_TRUE(logs("GetPDL:received 404:Not Found from http://h/P.xml"));
    world.Page("http://h/P.xml", "", 503, "Busy");
    world.ui.Expect("Request for PINDL from http://h/P.xml returned 503:Busy!\r\n"
                    "Unable to push to Alice");
    EXPECT_EQ(GetPDL(session(), "http://h/P.xml", "Alice"), "");
    EXPECT_EQ(lastIcon(), BoxIcon::Stop);
    EXPECT_TRUE(logs("GetPDL:received 503:Busy from http://h/P.xml"));
    world.pages["http://h/P.xml"].status = -1;
    world.ui.Expect("Request for PINDL from http://h/P.xml returned no response!\r\n"
                    "Unable to push to Alice");
    EXPECT_EQ(GetPDL(session(), "http://h/P.xml", "Alice"), "");
    EXPECT_TRUE(logs("GetPDL:timed out waiting for response from http://h/P.xml"));
}

TEST_F(PdlPacketTest, ThePacketSaysItsDate) {
    const auto date = [&](const std::string& packet) {
        return FormatDate(GetPDLDate(session(), packet, "P.xml"));
    };
    EXPECT_EQ(date(PdlUserWorld::kPacket), "3/9/2026 6:00:00 PM");
    EXPECT_EQ(date("<PBLists date='3/9/2026 6:00:01 PM'/>"), "3/9/2026 6:00:01 PM");
    EXPECT_FALSE(world.logHas("Unable to retrieve date stamp"));
    int lines = 0;
    for (const char* packet :
         {"", "no XML", "<other date='2026-03-09'/>", "<PBLists/>", "<PBLists date='soon'/>",
          "<!DOCTYPE a [<!ENTITY e '2026-03-09'>]><PBLists date='&e;'/>"}) {
        EXPECT_EQ(GetPDLDate(session(), packet, "P.xml"),
                  Time(std::chrono::sys_days{std::chrono::year{1899} / 12 / 30}))
            << packet;
        const std::string log = world.log();
        ++lines;
        int found = 0;
        const std::string line = "Unable to retrieve date stamp from P.xml\n";
        for (size_t at = log.find(line); at != std::string::npos; at = log.find(line, at + 1))
            ++found;
        EXPECT_EQ(found, lines) << packet;
    }
}

} // namespace
