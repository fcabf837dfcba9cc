#include <filesystem>

#include "app/ctl/AdminCtl.h"
#include "app/ctl/Commands.h"
#include "app/sample/People.h"
#include "app/sample/Sample.h"
#include "platform/store/sqlite/SqliteStore.h"

namespace kr {

namespace {

constexpr PropTag kProfileMailbox = 0x6607001E; // PR_PROFILE_UNRESOLVED_NAME
constexpr PropTag kProfileServer = 0x6608001E;  // PR_PROFILE_UNRESOLVED_SERVER

Time dateOf(const std::string& text) {
    int year = 0;
    unsigned month = 0, day = 0;
    char rest = 0;
    if (std::sscanf(text.c_str(), "%4d-%2u-%2u%c", &year, &month, &day, &rest) != 3)
        throw UsageError("option --date takes a date as YYYY-MM-DD");
    const std::chrono::year_month_day date{std::chrono::year(year), std::chrono::month(month),
                                           std::chrono::day(day)};
    if (!date.ok())
        throw UsageError("option --date takes a date as YYYY-MM-DD");
    return std::chrono::sys_days(date);
}

std::string requiredOption(const Args& args, std::string_view name) {
    const auto value = args.option(name);
    if (!value || value->empty())
        throw UsageError("option --" + std::string(name) + " is missing");
    return *value;
}

NewAddressEntry mailboxEntry(const std::string& alias) {
    NewAddressEntry entry;
    entry.alias = alias;
    entry.dn = std::string(kSampleDn) + alias;
    entry.name = alias;
    entry.smtp = alias + "@" + std::string(kSampleDomain);
    return entry;
}

} // namespace

int StoreCreate(const Args& args, CtlContext& context) {
    args.atMost(1);
    const std::string& file = args.at(0, "FILE");
    Organisation::Create(file);
    Organisation org(file);
    org.AddPublicStore("Public Folders");
    if (const auto alias = args.option("mailbox"))
        org.AddMailbox(mailboxEntry(*alias));
    context.out << "Made " << file << '\n';
    return 0;
}

int StoreMailbox(const Args& args, CtlContext& context) {
    args.atMost(2);
    Organisation org(args.at(0, "FILE"));
    NewAddressEntry entry = mailboxEntry(args.at(1, "ALIAS"));
    entry.name = args.option("name").value_or(entry.name);
    entry.smtp = args.option("smtp").value_or(entry.smtp);
    org.AddMailbox(entry);
    context.out << "Added " << entry.name << " <" << entry.smtp << ">\n";
    return 0;
}

int StoreSample(const Args& args, CtlContext& context) {
    args.atMost(1);
    SampleOptions options;
    options.users = args.number("users", options.users, 20, 1'000'000);
    options.seed = args.number("seed", options.seed, 0, UINT64_MAX);
    options.empty = args.flag("empty");
    options.now = std::chrono::floor<std::chrono::days>(std::chrono::system_clock::now());
    if (const auto date = args.option("date"))
        options.now = dateOf(*date);
    const std::string& file = args.at(0, "FILE");
    const SampleCounts made = MakeSample(file, options);
    context.out << "Made " << file << ": " << made.people << " people, " << made.lists << " lists, "
                << made.contacts << " contacts, " << made.userRecords << " user records, "
                << made.handhelds << " handhelds, " << made.hosts << " servers\n";
    return 0;
}

int StoreCheck(const Args& args, CtlContext& context) {
    args.atMost(1);
    const std::string& file = args.at(0, "FILE");
    Organisation org(file);
    const auto faults = org.Check();
    for (const std::string& fault : faults)
        context.out << fault << '\n';
    context.out << file << ": " << (faults.empty() ? "no faults" : "damaged") << '\n';
    return faults.empty() ? 0 : 1;
}

void RegisterStore(Registry& registry, const std::string& file, const std::string& server) {
    RegValue path;
    path.type = RegType::Sz;
    path.text = std::filesystem::absolute(file).lexically_normal().string();
    registry.Write(Hive::LocalMachine, kStoresKey, server, path);
}

int StoreRegister(const Args& args, CtlContext& context) {
    args.atMost(1);
    const std::string& file = args.at(0, "FILE");
    const std::string server = requiredOption(args, "server");
    // refuses what is no store before anything is written
    { Organisation probe(file); }
    RegisterStore(context.registry, file, server);
    context.out << "Server " << server << " leads to " << file << '\n';
    return 0;
}

int StoreProfile(const Args& args, CtlContext& context) {
    args.atMost(1);
    const std::string& name = args.at(0, "NAME");
    const std::string server = requiredOption(args, "server");
    const std::string mailbox = requiredOption(args, "mailbox");
    auto library = MakeSqliteStore(context.registry);
    auto profiles = library->CreateProfiles();
    if (profiles->Item(name))
        throw PlatformError(MAPI_E_COLLISION, "there is a profile named \"" + name + "\" already");
    auto profile = profiles->Add(name, false);
    profile->AddService("MSEMS", "Microsoft Exchange");
    profile->ConfigureService({{kProfileMailbox, mailbox}, {kProfileServer, server}});
    context.out << "Profile " << name << " logs on to " << mailbox << " on " << server << '\n';
    return 0;
}

} // namespace kr
