#include "app/ctl/AdminCtl.h"

#include <array>

#include "app/ctl/Commands.h"

namespace kr {

namespace {

constexpr std::string_view kNone[1] = {};
constexpr std::span<const std::string_view> kNo{kNone, 0};
constexpr std::array<std::string_view, 1> kMailboxOptions = {"mailbox"};
constexpr std::array<std::string_view, 2> kNewMailboxOptions = {"name", "smtp"};
constexpr std::array<std::string_view, 1> kSampleFlags = {"empty"};
constexpr std::array<std::string_view, 3> kSampleOptions = {"users", "seed", "date"};
constexpr std::array<std::string_view, 3> kDumpFlags = {"json", "public", "book"};
constexpr std::array<std::string_view, 3> kDumpOptions = {"mailbox", "folder", "entry"};
constexpr std::array<std::string_view, 1> kServerOptions = {"server"};
constexpr std::array<std::string_view, 2> kProfileOptions = {"server", "mailbox"};
constexpr std::array<std::string_view, 1> kTypeOptions = {"type"};

constexpr CtlCommand kCommands[] = {
    {"store", "create", "FILE [--mailbox ALIAS]",
     "Makes a new store file with public folders and, when named, a first mailbox.", kNo,
     kMailboxOptions, StoreCreate},
    {"store", "mailbox", "FILE ALIAS [--name NAME] [--smtp ADDRESS]",
     "Adds a mailbox with its address book entry.", kNo, kNewMailboxOptions, StoreMailbox},
    {"store", "sample", "FILE [--users N] [--seed S] [--date YYYY-MM-DD] [--empty]",
     "Makes a store file with a made-up organisation of N people (2000). The same seed and date "
     "give the same contents. With --empty the agent mailbox holds nothing yet.",
     kSampleFlags, kSampleOptions, StoreSample},
    {"store", "dump",
     "FILE [--mailbox ALIAS | --public | --book] [--folder PATH] [--entry ID] [--json]",
     "Prints folders and messages with every property by name and type: of the mailbox (agentbox), "
     "of the public folders, or the address book. PATH is separated by \"\\\" or \"/\".",
     kDumpFlags, kDumpOptions, StoreDump},
    {"store", "check", "FILE", "Checks a store file; exit code 1 when something is wrong.", kNo,
     kNo, StoreCheck},
    {"store", "register", "FILE --server NAME",
     "Makes the server name lead to the store file, for everybody on this machine.", kNo,
     kServerOptions, StoreRegister},
    {"store", "profile", "NAME --server NAME --mailbox ALIAS",
     "Makes a mail profile of this user that logs on to a mailbox.", kNo, kProfileOptions,
     StoreProfile},
    {"registry", "get", "HIVE KEY [NAME]",
     "Prints one value, or all values and sub-keys of a key. HIVE is HKCU, HKLM or HKCR.", kNo, kNo,
     RegistryGet},
    {"registry", "set", "HIVE KEY NAME VALUE [--type sz|dword]", "Writes one value.", kNo,
     kTypeOptions, RegistrySet},
    {"registry", "delete", "HIVE KEY [NAME]", "Removes one value, or the key with all below it.",
     kNo, kNo, RegistryDelete}};

void printHelp(std::ostream& out) {
    out << "kr-adminctl looks after store files and settings of KR-Admin.\n\nUsage:\n";
    for (const CtlCommand& command : kCommands)
        out << "  kr-adminctl " << command.group << ' ' << command.name << ' ' << command.usage
            << "\n        " << command.help << '\n';
    out << "  kr-adminctl --help\n\n"
           "Exit codes: 0 done, 1 failed, 2 wrong usage.\n"
           "The machine's settings lie in /etc/zandrel, or in the folder that the environment\n"
           "variable KR_MACHINE_REGISTRY names; the user's in $XDG_CONFIG_HOME/zandrel.\n";
}

const CtlCommand& findCommand(std::span<const std::string> words) {
    if (words.size() >= 2)
        for (const CtlCommand& command : kCommands)
            if (command.group == words[0] && command.name == words[1])
                return command;
    if (words.empty())
        throw UsageError("no command; try --help");
    std::string said = words[0];
    if (words.size() >= 2)
        said += " " + words[1];
    throw UsageError("unknown command \"" + said + "\"; try --help");
}

} // namespace

std::span<const CtlCommand> CtlCommands() { return kCommands; }

int RunAdminCtl(std::span<const std::string> words, Registry& registry, std::ostream& out,
                std::ostream& err) {
    for (const std::string& word : words) {
        if (word == "--help" || word == "-h") {
            printHelp(out);
            return 0;
        }
        if (word == "--")
            break;
    }
    try {
        const CtlCommand& command = findCommand(words);
        CtlContext context{registry, out};
        return command.run(Args(words.subspan(2), command.flags, command.options), context);
    } catch (const UsageError& error) {
        err << "kr-adminctl: " << error.what() << '\n';
        return 2;
    } catch (const std::exception& error) {
        err << "kr-adminctl: " << error.what() << '\n';
        return 1;
    }
}

} // namespace kr
