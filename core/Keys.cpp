#include "core/Keys.h"

#include "core/Trap.h"
#include "core/basStore.h"

namespace kr {

void InitEPS(AgentSession& session) {
    Trap(
        [&] {
            auto message = GetMessage(session, session.AgentMsgID);
            if (!message)
                return;
            bool changed = false;
            for (const Key& key : KeyCatalogue()) {
                if (key.initial == KeyDefault::None || !RequireKey(*message, key.name).empty())
                    continue;
                SetKey(*message, key.name, DefaultOf(key));
                changed = true;
            }
            if (changed)
                message->Save();
        },
        [&](const Trapped& error) { session.log("InitEPS: " + error.text()); });
}

} // namespace kr
