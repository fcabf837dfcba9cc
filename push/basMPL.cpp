#include "push/basMPL.h"

#include "core/Trap.h"
#include "core/basAgent.h"
#include "core/basDate.h"
#include "core/basStore.h"
#include "push/basMBL.h"
#include "push/basMDS.h"
#include "push/basTargets.h"

namespace kr {

namespace {

/// What became of one row.
enum class Outcome { Sent, NoServer, NoPin, Failed };

Outcome pushTo(AgentSession& session, const PushTarget& target, const std::string& payload) {
    if (target.server.empty())
        return Outcome::NoServer;
    if (target.pin.empty())
        return Outcome::NoPin;
    const bool sent = PushMPL(session, target.server, target.pin, payload) ||
                      PushMPL(session, target.server, target.email, payload);
    return sent ? Outcome::Sent : Outcome::Failed;
}

} // namespace

RDOFolderPtr GetMplFolder(AgentSession& session) { return GetZandrelFolder(session, kMplFolder); }

bool MplNameInUse(AgentSession& session, const EntryID& own, std::string_view name) {
    return NameInUse(session, GetMplFolder(session), kMplClass, own, name);
}

void PushAlert(const PushContext& context, RDOMessage& list, const std::string& payload,
               const std::string& targetNames) {
    AgentSession& session = context.session;
    WebProgress& progress = context.progress;
    const std::string name = list.Subject();
    const Log::Burst burst(session.log);
    session.log("PushAlertToList: pushing " + name);
    const auto targets = GetPushTargets(session, context.tree, targetNames);
    if (!targets) {
        session.log("PushAlertToList: " + std::string(kNoHandhelds));
        progress.AppendResult(kNoHandhelds);
        return;
    }
    if (targets->RecordCount() == 0) {
        progress.AppendResult("Found no valid targets for " + name);
        return;
    }
    const auto total = static_cast<int>(targets->RecordCount());
    progress.ShowStep("Pushing " + name + " to " + std::to_string(total) + " targets");
    int pushed = 0, failed = 0;
    for (targets->MoveFirst(); !targets->EOF_() && !progress.Cancelled(); targets->MoveNext()) {
        const PushTarget row = TargetOf(*targets);
        const std::string& target = row.name;
        switch (pushTo(session, row, payload)) {
        case Outcome::Sent:
            progress.AppendResult(target + ": message was sent to push server");
            ++pushed;
            break;
        case Outcome::NoServer:
            session.log("PushAlert:unable to push to " + target + "; no PushServer");
            progress.AppendResult(target + ": unable to push (no Push server)");
            ++failed;
            break;
        case Outcome::NoPin:
            session.log("PushAlert: unable to push to " + target + "; no PIN");
            progress.AppendResult(target + ": unable to push (no PIN)");
            ++failed;
            break;
        case Outcome::Failed:
            progress.AppendResult(target + ": push failed, see log for details");
            ++failed;
            break;
        }
        progress.SetValue(pushed + failed, total);
    }
    const std::string counts =
        "; Pushed=" + std::to_string(pushed) + "; Failed=" + std::to_string(failed);
    if (progress.Cancelled()) {
        session.log("PushAlertToList: user cancelled push for: " + name + counts);
        return;
    }
    if (failed > 0)
        progress.AppendResult("Failed to push " + name + " to " + std::to_string(failed) +
                              " targets");
    if (pushed > 0) {
        progress.AppendResult("Successfully pushed " + name + " to " + std::to_string(pushed) +
                              " targets");
        Trap(
            [&] {
                SetKey(list, "MPL.LastPushDate", session.platform.clock.now());
                list.Save();
            },
            [&](const Trapped& error) { session.log("PushAlertToList: " + error.text()); });
    }
    session.log("PushAlertToList: ListName = " + name + counts);
}

std::optional<Alert> ReadAlert(AgentSession& session, RDOMessage& list) {
    return Trap(
        [&] {
            return std::optional<Alert>({list.ID(), list.Subject(),
                                         RequireKey(list, "MPL.Payload").text(),
                                         RequireKey(list, "MPL.Target.Email").text()});
        },
        [&](const Trapped& error) { session.log("PushAlertToList: " + error.text()); });
}

void PushAlertToList(AgentSession& session, TreeModel& tree, const PushForms::Window& window,
                     const Alert& alert) {
    if (!window)
        return;
    window("imgExclamation", [&](WebProgress& progress) {
        progress.ShowStep("Pushing " + alert.name);
        const RDOMessagePtr list = OpenList(session, alert.list, alert.name);
        if (list)
            PushAlert({session, tree, progress}, *list, alert.payload, alert.targets);
        return list && !progress.Cancelled();
    });
}

bool DeletePushList(AgentSession& session, const EntryID& id, std::string_view name) {
    const RDOMessagePtr list = OpenList(session, id, name);
    return list &&
           Trap(
               [&] {
                   list->Delete();
                   return true;
               },
               [&](const Trapped& error) {
                   session.log("mnuMplDelete: " + std::string(name) + " " + error.text());
                   session.ui().MsgBox("Error during delete: " + error.description, BoxIcon::Stop);
               });
}

ListRow PushListRow(AgentSession& session, RDOMessage& list) {
    ListRow row;
    row.key = list.ID().text();
    row.tag = "mpl";
    row.icon = "imgExclamation";
    row.texts = {list.Subject(), KeyText(list, "MPL.Target"),
                 std::to_string(KeyNumber(list, "MPL.Target.Count", 0)),
                 LastPushText(session, list, "MPL.LastPushDate")};
    return row;
}

} // namespace kr
