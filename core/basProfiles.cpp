#include "core/basProfiles.h"

#include <set>

#include "core/Settings.h"
#include "core/Text.h"
#include "core/Trap.h"

namespace kr {

namespace {

constexpr std::string_view kProfileKeys[] = {
    R"(Software\Microsoft\Windows NT\CurrentVersion\Windows Messaging Subsystem\Profiles)",
    R"(Software\Microsoft\Windows Messaging Subsystem\Profiles)"};
constexpr std::string_view kServiceName = "Microsoft Exchange";

constexpr PropTag PR_PROFILE_UNRESOLVED_NAME = 0x6607001E;
constexpr PropTag PR_PROFILE_UNRESOLVED_SERVER = 0x6608001E;
// Values of the service's profile section: cached mode off, with the limits the agent needs.
constexpr PropTag kSectionFlags = 0x66040003;
constexpr int32_t kClearedFlag = 32;
struct SectionValue {
    PropTag tag;
    int32_t value;
};
constexpr SectionValue kSectionValues[] = {
    {0x66060003, 16384}, {0x66190003, 9}, {0x661B0003, 3000}};

void log(AgentSession& session, const std::string& text) {
    session.log("modProfiles::CreateExProfile:" + text);
}

void writeSection(MailProfile& profile) {
    for (const SectionValue& value : kSectionValues)
        profile.SetSectionField(value.tag, value.value);
    const int32_t flags = profile.SectionField(kSectionFlags).integerOr(0);
    profile.SetSectionField(kSectionFlags, flags & ~kClearedFlag);
}

/// True when the options were taken; without them the service stays as it is.
bool configure(AgentSession& session, MailProfile& profile, std::string_view server,
               std::string_view mailbox) {
    return Trap(
        [&] {
            profile.ConfigureService(
                {{PR_PROFILE_UNRESOLVED_NAME, mailbox}, {PR_PROFILE_UNRESOLVED_SERVER, server}});
            return true;
        },
        [&](const Trapped& error) { log(session, error.text()); });
}

std::string filterWithoutPush(std::string_view filter) {
    return ReplaceAll(filter, "[PushSelected]=True AND ", "");
}

} // namespace

std::vector<std::string> ListProfiles(Registry& registry) {
    return TrapSilently([&] {
        std::vector<std::string> names;
        for (const std::string_view key : kProfileKeys)
            for (const std::string& name : registry.SubKeys(Hive::CurrentUser, key))
                names.push_back(ToLower(name));
        return names;
    });
}

bool CreateExProfile(AgentSession& session, std::string_view name, std::string_view server,
                     std::string_view mailbox, bool isDefault) {
    return Trap(
        [&] {
            auto profiles = session.platform.store.CreateProfiles();
            auto profile = profiles->Item(name);
            if (profile) {
                log(session, "found existing profile named " + std::string(name));
            } else {
                log(session, "creating new profile named " + std::string(name));
                profile = profiles->Add(name, isDefault);
            }
            if (profile->HasService(kServiceName)) {
                log(session, "found existing Exchange service");
                return true;
            }
            log(session, "adding Exchange service");
            profile->AddService("MSEMS", kServiceName);
            if (configure(session, *profile, server, mailbox))
                writeSection(*profile);
            return true;
        },
        [&](const Trapped& error) { log(session, error.text()); });
}

void CheckMbxProfiles(AgentSession& session, std::string_view userFilter) {
    Registry& registry = session.platform.registry;
    if (MachineValue(registry, "EPS.CreateMbxProfiles") != "1" || !session.users)
        return;
    session.log("CheckMbxProfiles:retrieving profile list");
    std::set<std::string> known;
    for (const std::string& name : ListProfiles(registry))
        known.insert(ToLower(ReplaceAll(ReplaceAll(name, "eps_", ""), "smtp:", "")));
    session.log("CheckMbxProfiles:" + std::to_string(known.size()) + " profiles found");
    auto users = session.users->Clone();
    if (!users->SetFilter(filterWithoutPush(userFilter)))
        return session.log("CheckMbxProfiles:filter not understood: " + std::string(userFilter));
    for (users->MoveFirst(); !users->EOF_(); users->MoveNext()) {
        const std::string address = users->Get("Email").text();
        if (known.contains(ToLower(address)))
            continue;
        session.log("CheckMbxProfiles:calling CreateExProfile for " + address);
        CreateExProfile(session, "eps_" + address, users->Get("EX_Server").text(),
                        "SMTP:" + address, false);
        session.ui().DoEvents();
    }
}

} // namespace kr
