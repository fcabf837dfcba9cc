#pragma once

#include <map>
#include <string>

#include "console/basUsers.h"
#include "push/basPDLPush.h"
#include "tests/push/PushWorld.h"

namespace kr {

/// A world with users on the agent server AGENT1 and with an engine. Alice and O'Brien have
/// handhelds, Bob has none. What the web servers answer is set by URL; all others answer 404.
struct PdlUserWorld : PushWorld {
    static constexpr const char* kTarn = "http://tarn/TARN/";
    static constexpr const char* kPacket =
        R"(<?xml version="1.0"?><Root><PBLists date="2026-03-09 18:00:00"/></Root>)";

    PdlUserWorld() {
        SetAgent("TARN.URL", kTarn);
        host = session->agentInfo->Items()->Add(kHostClass);
        host->SetSubject("AGENT1");
        host->Save();
        alice = AddUser("alice@example.test", "Alice");
        obrien = AddUser("obrien@example.test", "O'Brien");
        bob = AddUser("bob@example.test", "Bob");
        LoadUsers(*session);
        http.sent.clear();
        http.answer = [this](const FakeHttp::Request& request) {
            if (request.method == "POST")
                return push(request);
            const auto known = pages.find(request.url);
            return known == pages.end() ? FakeHttp::Response{404, "Not Found", "", {}}
                                        : known->second;
        };
    }
    EntryID AddUser(const std::string& email, const std::string& name) {
        const EntryID id = AddUserRecord(email, name);
        SetUser(id, "EPS.Server", "AGENT1");
        SetUser(id, "Home Server", "EX1");
        return id;
    }
    void SetUser(const EntryID& id, const std::string& key, const Value& value) {
        const RDOMessagePtr record = GetMessage(*session, id);
        SetKey(*record, key, value);
        record->Save();
    }
    void SetHost(const std::string& key, const Value& value) {
        SetKey(*host, key, value);
        host->Save();
    }
    Value UserKey(const EntryID& id, const std::string& key) {
        return GetKey(*GetMessage(*session, id), key);
    }
    Value UserField(const EntryID& id, UserFieldID field) {
        const auto row = RowOfUser(*session, id);
        return row ? row->Get(Index(field)) : Value();
    }
    /// The page that an address answers.
    void Page(const std::string& url, const std::string& body, int status = 200,
              const std::string& text = "OK") {
        pages[url] = {status, text, body, {}};
    }
    static std::string TarnUrl(const std::string& pin) {
        return std::string(kTarn) + "?cmd=getpdl&pin=" + pin + "nofetch";
    }
    PDLRecipient Alice() const { return {alice, "Alice", "alice@example.test", "AGENT1", false}; }
    std::vector<std::string> Gets() const {
        std::vector<std::string> urls;
        for (const FakeHttp::Request& request : http.sent)
            if (request.method == "GET")
                urls.push_back(request.url);
        return urls;
    }

    std::map<std::string, FakeHttp::Response> pages;
    std::function<FakeHttp::Response(const FakeHttp::Request&)> push =
        [](const FakeHttp::Request&) { return FakeHttp::Response(); };
    RDOMessagePtr host;
    EntryID alice, obrien, bob;
};

} // namespace kr
