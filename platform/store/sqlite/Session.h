#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/registry/Registry.h"
#include "platform/store/sqlite/Objects.h"

namespace kr::sqlite {

/// A session on an open file, without logon; `alias` names the mailbox. Throws
/// MAPI_E_LOGON_FAILED when there is none of that name.
RDOSessionPtr SessionOn(std::shared_ptr<StoreFile> file, std::string_view alias);
/// A session that isn't logged on yet.
RDOSessionPtr NewSession(Registry& registry);

std::shared_ptr<MailProfiles> OpenProfiles(Registry& registry);
/// What a profile says of its mailbox and server.
struct ProfileLogon {
    std::string mailbox;
    std::string server;
};
/// Nothing when there is no such profile.
std::optional<ProfileLogon> ReadProfile(Registry& registry, std::string_view name);

} // namespace kr::sqlite
