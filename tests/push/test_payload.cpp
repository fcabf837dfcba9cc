#include <gtest/gtest.h>

#include "core/Settings.h"
#include "core/basDate.h"
#include "push/Payload.h"
#include "tests/support/World.h"

namespace {

using namespace kr;

constexpr std::string_view kNs = "http://zandrel.org/IPL";
constexpr const char* kDeclaration = R"(<?xml version="1.0" encoding="utf-8" ?>)";
constexpr const char* kRoot = R"(<string xmlns="http://zandrel.org/IPL">)";
constexpr const char* kLaunch = "<LaunchZPA>x</LaunchZPA>";

std::string whole(const std::string& content) {
    return std::string(kDeclaration) + kRoot + content + "</string>";
}

TEST(Payload, WhatIsTypedIsCompleted) {
    for (const std::string& typed :
         {std::string(kLaunch), std::string(" \r\n\r\n") + kLaunch + "\r\n ", whole(kLaunch),
          std::string(kDeclaration) + kRoot + kLaunch, kLaunch + std::string("</string>")}) {
        std::string text = typed;
        EXPECT_EQ(ValidatePayload(kNs, text), "") << typed;
        EXPECT_EQ(text, whole(kLaunch));
    }
}

TEST(Payload, RefusalsLeaveTheText) {
    const std::string none = "Invalid payload: no text can precede the XML declaration";
    const std::string between =
        "Invalid payload: no text allowed between XML declaration and root element!";
    const std::pair<std::string, std::string> cases[] = {
        {"x" + whole(kLaunch), none},
        {std::string(kDeclaration) + "\n" + kRoot + kLaunch, between},
        {std::string(kDeclaration) + kLaunch, between},
        {R"(<?xml version="1.0"?>)" + std::string(kRoot) + kLaunch, between}};
    for (const auto& [typed, refusal] : cases) {
        std::string text = typed;
        EXPECT_EQ(ValidatePayload(kNs, text), refusal);
        EXPECT_EQ(text, typed);
    }
}

TEST(Payload, TheSchemaDecides) {
    for (const std::string& typed :
         {std::string("plain text"), std::string("<Other/>"), std::string("<LaunchZPA>"),
          std::string(""), std::string("<LaunchZPA><b/></LaunchZPA>"),
          std::string("<LaunchZPA>&undefined;</LaunchZPA>")}) {
        std::string text = typed;
        const std::string refusal = ValidatePayload(kNs, text);
        EXPECT_TRUE(refusal.starts_with("Invalid payload:")) << typed;
        EXPECT_GT(refusal.size(), std::string_view("Invalid payload:").size());
        EXPECT_EQ(text, typed);
    }
    std::string items = "<SetDataItems><Any a=\"1\"><b/></Any></SetDataItems><InvokeEvent>e"
                        "</InvokeEvent>";
    EXPECT_EQ(ValidatePayload(kNs, items), "");
}

TEST(Payload, HostileTextIsRefused) {
    std::string entity =
        "<!DOCTYPE x [<!ENTITY e SYSTEM \"file:///etc/passwd\">]>" + std::string(kLaunch);
    EXPECT_NE(ValidatePayload(kNs, entity), "");
    std::string deep;
    for (int i = 0; i < 1'000'000; ++i)
        deep += "<a>";
    EXPECT_NE(ValidatePayload(kNs, deep), "");
}

TEST(Payload, TheNamespaceIsASetting) {
    World world;
    EXPECT_EQ(PayloadNamespace(*world.session), kNs);
    RegValue value;
    value.type = RegType::Sz;
    value.text = "urn:our/IPL";
    world.registry->Write(Hive::LocalMachine, kMachineKey, "PayloadNamespace", value);
    EXPECT_EQ(PayloadNamespace(*world.session), "urn:our/IPL");
    std::string text = kLaunch;
    EXPECT_EQ(ValidatePayload("urn:our/IPL", text), "");
    EXPECT_EQ(ValidatePayload(kNs, text), "Invalid payload: no text allowed between XML "
                                          "declaration and root element!");
}

TEST(Payload, TheNoticeOfAPacket) {
    const Time date = *ParseDate("3/9/2026 6:00:00 PM");
    const std::string payload = BuildPDLPayload(kNs, date, "http://t/?a=1&amp;pin=", false);
    EXPECT_EQ(payload,
              std::string(kDeclaration) + kRoot +
                  "<LaunchZPA>pinblast</LaunchZPA><SetDataItems><SYS_PDL_URL>http://t/?a=1&amp;"
                  "pin=</SYS_PDL_URL><PDL_LastUpdate>2026-03-09 18:00:00</PDL_LastUpdate>"
                  "<PDL_Serial>46090.75</PDL_Serial></SetDataItems><InvokeEvent>"
                  "PBpendOnGetList,getPBList</InvokeEvent></string>");
    std::string text = payload;
    EXPECT_EQ(ValidatePayload(kNs, text), "");
    EXPECT_NE(BuildPDLPayload(kNs, date, "u", true).find("<LaunchZPA>textblast<"),
              std::string::npos);
}

} // namespace
