#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "contacts/basACF.h"

/// The records of contact sources, as tables and dialogs read and write them.
namespace kr {

// Keys of a source's record.
inline constexpr std::string_view kAcsGuidKey = "ACS.Guid";
inline constexpr std::string_view kAcfFolderKey = "ACF EntryID";
inline constexpr std::string_view kAcfStoreKey = "ACF StoreID";
inline constexpr std::string_view kAcfMailboxKey = "ACF Mbx.SMTP";
inline constexpr std::string_view kAcfServerKey = "ACF Mbx.ExServer";
inline constexpr std::string_view kAcfPathKey = "ACF Path";
inline constexpr std::string_view kAcfDescriptionKey = "ACF Description";
inline constexpr std::string_view kAcfAdminsKey = "ACF Admins";
inline constexpr std::string_view kAcfAdminsEmailKey = "ACF Admins Email";
inline constexpr std::string_view kAcfCxnKey = "ACF Cxn String";
inline constexpr std::string_view kAcfQueryKey = "ACF Query";
inline constexpr std::string_view kMcrFolderKey = "MCR EntryID";
inline constexpr std::string_view kMcrPathKey = "MCR Path";

/// Behind the name of an inactive source's image.
inline constexpr std::string_view kGhostSuffix = "Ghost";
/// The image with or without that suffix.
std::string GhostImage(std::string_view image, bool inactive);

/// What a table shows of a source.
struct AcfRow {
    EntryID id;
    std::string name;
    EntryID folder;
    std::string mailbox;
    std::string server;
    std::string cxnString;
    std::string query;
    bool inactive = false;
    AcfKind kind() const;
    std::string image() const;
};
/// All sources, in the order in which they were made. Throws as the store does: what couldn't be
/// read must not pass for sources that are gone.
std::vector<AcfRow> ReadAcfRows(AgentSession& session);
/// The sources on that folder, those of one mailbox alone when its address is given, and of one
/// server when that is given too. Throws as the store does.
std::vector<AcfRow> RequireAcfByFolder(AgentSession& session, const EntryID& folder,
                                       std::string_view mailbox = {}, std::string_view server = {});
/// GetMCRMessage for whoever creates one when there is none: a failed search throws.
RDOMessagePtr RequireMCRMessage(AgentSession& session);

/// A folder source as its dialog has it.
struct AcfSource {
    std::string name;
    std::string description;
    EntryID folder;
    std::string path; // as it is stored, not as it is shown
    std::string admins;
    std::string adminsEmail;
    // of a folder in a mailbox
    EntryID store;
    std::string mailbox; // its owner's address
    std::string server;
};
/// Throws as the store does.
AcfSource ReadAcf(AgentSession& session, const EntryID& id);
/// Writes the record, a new one for an empty id, with a GUID where it has none. Gives its id; an
/// empty one, after a box, when it couldn't be saved.
EntryID SaveAcf(AgentSession& session, const EntryID& id, const AcfSource& source);

/// Path of a folder from below its mailbox's root, each name after a backslash. Throws as the store
/// does.
std::string PathInMailbox(const RDOFolder& folder);

/// The repository as its dialog writes it, a new record for an empty id when there is none yet; an
/// empty folder leaves folder and path as they are. Gives the record's id; an empty one, after a
/// box, when it couldn't be saved.
EntryID SaveMCR(AgentSession& session, const EntryID& id, const EntryID& folder,
                std::string_view path);

} // namespace kr
