#pragma once

#include <string>
#include <vector>

#include "app/sample/People.h"
#include "app/sample/Record.h"
#include "app/sample/Sample.h"

namespace kr {

/// What the steps of one sample hand to each other.
struct SampleBuild {
    SampleBuild(Organisation& o, const SampleOptions& opts)
        : org(o), options(opts), random(opts.seed) {}

    Organisation& org;
    const SampleOptions& options;
    SampleRandom random;
    SampleCounts counts;
    std::vector<SamplePerson> people;

    RDOSessionPtr session; // on agentbox
    RDOFolderPtr agentInfo;
    EntryID suppliers;  // public contacts folder
    EntryID partners;   // public contacts folder, inactive source
    EntryID notes;      // public notes folder
    EntryID repository; // contacts folder of the agent mailbox

    Time daysAgo(int days) const { return options.now - std::chrono::hours(24 * days); }
    /// A moment within the last days, never later than now.
    Time recently(int days) {
        return options.now - std::chrono::minutes(random.between(1, days * 24 * 60));
    }
    const SamplePerson& anyone() { return people[random.below(people.size())]; }
};

/// Contacts and notes of the public folders.
void FillPublicFolders(SampleBuild& build);
/// Agent message, hosts, repository and sources, in this order.
void FillAgentRecords(SampleBuild& build);
/// Mandatory, custom, browser and push lists, notes, check lists.
void FillLists(SampleBuild& build);
void FillUserRecords(SampleBuild& build);
void FillHandhelds(SampleBuild& build);
/// Contacts and backups in the mailboxes of the first few people.
void FillMailboxes(SampleBuild& build);

/// A contact item with its addresses, phones and company.
EntryID AddContact(RDOFolder& folder, const SamplePerson& person, std::string_view company);

} // namespace kr
