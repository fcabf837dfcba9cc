// The target table of 10,000 names, beside the walk over their address entries alone, as names of
// their own and as members of a list.

#include <stdexcept>

#include "bench/Measure.h"
#include "bench/People.h"
#include "core/Text.h"
#include "handhelds/basHandhelds.h"
#include "push/basTargets.h"

namespace {

using namespace kr;
using namespace kr::bench;

constexpr int kNames = 10'000;
constexpr int kRounds = 9;
constexpr int kOutbox = 4;

/// People behind an entry, each with its address.
int walkEntry(AddressEntry& entry) {
    if (entry.DisplayType() == 0)
        return SmtpOfEntry(entry).empty() ? 0 : 1;
    int people = 0;
    for (const AddressEntryPtr& member : entry.Members())
        people += walkEntry(*member);
    return people;
}

void walk(AgentSession& session, const std::string& names) {
    const RDOMessagePtr message = session.rdo->GetDefaultFolder(kOutbox)->Items()->Add("");
    const auto recipients = message->Recipients();
    for (const std::string& name : Split(names, ";"))
        recipients->Add(name);
    int people = 0;
    for (int i = 1; i <= recipients->Count(); ++i)
        people += walkEntry(*recipients->Item(i)->Entry());
    if (people != kNames)
        throw std::runtime_error("people are missing");
}

void measure(PushWorld& world, const char* name, const std::string& names) {
    AgentSession& session = *world.session;
    const Pair times = compare(
        kRounds, [&] { walk(session, names); },
        [&] {
            const auto targets = GetPushTargets(session, world.tree, names);
            if (targets->RecordCount() != kNames ||
                targets->Text(Index(TargetField::PIN)) != PinOf(0))
                throw std::runtime_error("targets are missing");
        });
    std::printf("%s: address book alone %.1f ms, targets %.1f ms\n", name, times.floor, times.work);
    ratio(name, times.ratio, 3);
}

} // namespace

int main() {
    PushWorld world;
    AddPeople(world, kNames);
    AddHandhelds(world, kNames);
    RequireHandhelds(*world.session);
    std::string names;
    for (int i = 0; i < kNames; ++i)
        names += (i == 0 ? "" : ";") + AddressOf(i);
    measure(world, "targets.names/address_book", names);
    measure(world, "targets.list/address_book", "crowd@mail.example.test");
    return 0;
}
