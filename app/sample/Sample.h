#pragma once

#include <cstdint>
#include <string>

#include "core/Value.h"

namespace kr {

struct SampleOptions {
    size_t users = 2000;
    /// The same seed, number and date give the same contents.
    uint64_t seed = 1;
    /// The agent mailbox holds nothing yet, as before the wizard ran.
    bool empty = false;
    /// The day that the records' dates lie around: 2026-03-10 09:30 UTC.
    Time now{std::chrono::seconds(1773135000)};
};

/// What a sample holds, for those who check it.
struct SampleCounts {
    size_t people = 0;
    size_t lists = 0;
    size_t contacts = 0; // in public folders and the repository
    size_t userRecords = 0;
    size_t handhelds = 0;
    size_t hosts = 0;
    size_t backups = 0;
};

/// Makes a store file with a made-up organisation: the mailbox "agentbox" of the agent with a
/// complete configuration, people, lists within lists (one holds itself), query-based lists, public
/// folders with contacts and notes. All addresses lie at example.test; the servers are MAIL01 and
/// MAIL02. Throws PlatformError when the file exists or can't be written.
SampleCounts MakeSample(const std::string& path, const SampleOptions& options);

} // namespace kr
