#pragma once

#include <string>
#include <vector>

#include "console/TreeModel.h"
#include "core/basAgent.h"
#include "core/basStore.h"
#include "handhelds/HandheldFields.h"
#include "tests/push/RecordedProgress.h"
#include "tests/support/World.h"

namespace kr {

/// A world with handhelds for Alice (on a BES with a push server) and O'Brien (on one without), and
/// none for Bob.
struct PushWorld : World {
    PushWorld() {
        LogOnConfigured();
        handhelds =
            session->rdo->Stores().DefaultStore()->RootFolder()->Folders()->Add("Handhelds");
        SetAgent("HHEntryID", handhelds->ID().text());
        tree.Add("", "agent", "agent", "Agent", "");
        tree.Add("agent", "besconnectorroot", "besconnectorroot", "BES Configuration", "");
        tree.Add("besconnectorroot", "dummybb", "dummybb", "", "");
        const auto connector = session->agentInfo->Items()->Add("IPM.Post.BesConnector");
        SetKey(*connector, "Connector.BES.Servers", Strings{"BES1;m"});
        SetKey(*connector, "Connector.MDS.UseSelected", true);
        SetKey(*connector, "Connector.MDS.Host", "mds:8080");
        connector->Save();
        AddHandheld("PINALICE", "alice@example.test", "Alice", "BES1");
        AddHandheld("PINOBRIEN", "obrien@example.test", "Obrien", "BES9");
    }
    void SetAgent(const std::string& key, const Value& value) {
        const RDOMessagePtr agent = GetAgentMessage(*session);
        SetKey(*agent, key, value);
        agent->Save();
    }
    void AddHandheld(const std::string& pin, const std::string& email, const std::string& name,
                     const std::string& bes) {
        const RDOMessagePtr record = handhelds->Items()->Add(kHandheldClass);
        record->SetFields(PR_CONVERSATION_TOPIC, email);
        SetKey(*record, "PIN", pin);
        SetKey(*record, "DisplayName", name);
        SetKey(*record, "BB Server", bes);
        record->Save();
    }
    static std::string HeaderOf(const FakeHttp::Request& request, const std::string& name) {
        for (const auto& [key, value] : request.headers)
            if (key == name)
                return value;
        return "(none)";
    }
    /// The destination of each push.
    std::vector<std::string> Destinations() const {
        std::vector<std::string> found;
        for (const FakeHttp::Request& request : http.sent) {
            if (request.method != "POST")
                continue;
            const size_t at = request.url.find('=') + 1;
            found.push_back(request.url.substr(at, request.url.find('&') - at));
        }
        return found;
    }

    TreeModel tree;
    RecordedProgress progress;
    RDOFolderPtr handhelds;
};

} // namespace kr
