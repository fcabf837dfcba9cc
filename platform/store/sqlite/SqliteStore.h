#pragma once

#include <memory>

#include "platform/registry/Registry.h"
#include "platform/store/Store.h"

namespace kr {

/// The embedded store. Logon data leads to a file through the registry:
/// - a server name: LocalMachine `Software\zandrel\zandrelAgent\Stores`, value = server name,
///   text = path of the store file; a name that isn't there fails as an unknown server;
/// - a profile: CurrentUser, key kProfilesKey + "\" + name, service sub-key with
///   PR_PROFILE_UNRESOLVED_SERVER and PR_PROFILE_UNRESOLVED_NAME (alias, "SMTP:" address or DN).
inline constexpr std::string_view kStoresKey = R"(Software\zandrel\zandrelAgent\Stores)";
inline constexpr std::string_view kProfilesKey =
    R"(Software\Microsoft\Windows NT\CurrentVersion\Windows Messaging Subsystem\Profiles)";

std::unique_ptr<StoreLibrary> MakeSqliteStore(Registry& registry);

} // namespace kr
