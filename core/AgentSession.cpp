#include "core/AgentSession.h"

namespace kr {

void AgentSession::Reset() {
    users.reset();
    usersLoaded = {};
    handhelds.reset();
    agentInfo.reset();
    userInfo.reset();
    AgentMsgID = {};
    publicStoreID = {};
    agentUser.reset();
    agentSMTP.clear();
    agentName.clear();
    languagesChanged = false;
    personalitiesChanged = false;
}

} // namespace kr
