#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/EntryID.h"
#include "platform/store/Store.h"

namespace kr {

/// An entry of the organisation's address book as an administrator of the store file writes it.
struct NewAddressEntry {
    /// Legacy distinguished name, unique: "/o=Example/ou=First/cn=Recipients/cn=alias".
    std::string dn;
    /// 0 user, 1 list, 2 folder, 3 query-based list, 4 private list, 6 contact (remote user).
    int displayType = 0;
    std::string name;
    std::string alias;
    /// Primary SMTP address; further ones in `proxies` as "smtp:other@example.test".
    std::string smtp;
    std::vector<std::string> proxies;
    /// Further fixed properties (name parts, phones, company).
    std::vector<std::pair<PropTag, Value>> properties;
};

/// Makes and looks after a store file: one SQLite file that holds a whole organisation. For
/// set-up programs, samples and tests; the console itself only sees the session library.
class Organisation {
public:
    /// Creates a new file with the tables and nothing in it. Throws when the file exists.
    static void Create(const std::string& path);
    /// Opens an existing file; throws for what is no store file, is damaged or is of a newer
    /// layout.
    explicit Organisation(const std::string& path);
    ~Organisation();
    Organisation(const Organisation&) = delete;
    Organisation& operator=(const Organisation&) = delete;

    /// A mailbox with its default folders and its address entry (display type 0).
    void AddMailbox(const NewAddressEntry& owner);
    /// The public folders; one for each organisation.
    void AddPublicStore(std::string_view name);
    void AddEntry(const NewAddressEntry& entry);
    /// Members keep the order in which they are added. A list may hold itself.
    void AddMember(std::string_view listDn, std::string_view memberDn);

    /// Groups what follows, up to Commit, into one transaction (also saves of sessions made by
    /// OpenSession below, as imports do).
    void Begin();
    void Commit();

    /// A session on a mailbox of this file, without profile, sharing this connection.
    RDOSessionPtr OpenSession(std::string_view alias);

    /// Integrity of the file and of the layout's own references; empty when all is well.
    std::vector<std::string> Check();

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

} // namespace kr
