#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/AgentSession.h"

namespace kr {

/// What a list says of the source on which it hangs; "" where it says nothing.
struct MclLinks {
    std::string guid; // ACS.Guid
    EntryID acfMsg;   // MCL ACF.MsgID
    EntryID acds;     // MCL ACDSID
    EntryID folder;   // MCL Source EntryID
    bool empty() const { return guid.empty() && acfMsg.empty() && acds.empty() && folder.empty(); }
};
/// Throws as the store does.
MclLinks ReadMclLinks(RDOMessage& mcl);

enum class MclLink { Guid, AcfMsg, Acds, Folder };
/// The order in which a list's links are tried when lists are shown, and when one is resolved.
inline constexpr MclLink kShownOrder[] = {MclLink::Guid, MclLink::AcfMsg, MclLink::Folder,
                                          MclLink::Acds};
inline constexpr MclLink kResolvedOrder[] = {MclLink::Guid, MclLink::Acds, MclLink::AcfMsg,
                                             MclLink::Folder};

/// The contact sources as they stand now. What fails here throws: it must not pass for a source
/// that is gone, because a list that has lost its source is switched off.
class MclSources {
public:
    explicit MclSources(AgentSession& session);
    /// nullptr when none of the links leads to a source.
    RDOMessagePtr Find(const MclLinks& links, std::span<const MclLink> order) const;

private:
    struct Row {
        EntryID id;
        std::string guid;
        EntryID folder;
    };
    bool leadsTo(const Row& row, const MclLinks& links, MclLink link) const;
    RDOMessagePtr open(const EntryID& id) const;

    AgentSession& m_session;
    RDOStorePtr m_store;
    std::vector<Row> m_rows;
};

/// What `open` gives; nullptr for an object that is gone, also when its id is none. Throws what
/// else fails: it must not pass for an object that is gone.
template <class Open>
auto OrGone(Open open) -> decltype(open()) {
    try {
        return open();
    } catch (const PlatformError& error) {
        for (const long gone : {MAPI_E_NOT_FOUND, MAPI_E_OBJECT_DELETED, MAPI_E_INVALID_ENTRYID})
            if (error.number() == gone)
                return nullptr;
        throw;
    }
}

/// The ids name the same object; a text that is no id names none. Throws what else fails.
bool SameObject(const RDOStore& store, const EntryID& a, const EntryID& b);

} // namespace kr
