#pragma once

#include "platform/store/sqlite/Objects.h"

namespace kr::sqlite {

/// Hears what other sessions changed in the file: asks SQLite whether anybody committed, and only
/// then reads the log of changes from the last one seen.
class ChangeListener {
public:
    /// Hears what comes from now on.
    explicit ChangeListener(SessionPtr session);
    StoreChanges Poll();

private:
    bool somethingHappened();
    bool describe(StoreChange::Kind kind, int64_t object, int64_t folder, StoreChange& change);

    SessionPtr m_session;
    int64_t m_version = 0;
    uint64_t m_logged = 0;
    int64_t m_seen = 0;
};

} // namespace kr::sqlite
