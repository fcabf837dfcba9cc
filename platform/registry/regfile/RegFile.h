#pragma once

#include <sys/stat.h>

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "platform/registry/regfile/RegTree.h"

namespace kr {

/// One hive's file. Reading goes through a copy in memory that is renewed when the file is another
/// one; writing replaces the file as a whole, under a lock on `<file>.lock` that all writers take.
class RegFile {
public:
    using Report = std::function<void(std::string_view)>;

    /// `privateFile`: nobody but the owner may read it.
    RegFile(std::string path, bool privateFile, Report report);

    /// What the file holds now; empty when it isn't there or can't be read.
    const RegTree& Current();
    /// Changes the newest content and stores it when `change` answers true. Throws PlatformError
    /// when that fails; the file is then as it was.
    bool Update(const std::function<bool(RegTree&)>& change);

private:
    /// What tells two versions of the file apart.
    struct Stamp {
        ino_t inode = 0;
        off_t size = -1;
        int64_t modified = 0; // ns
        bool operator==(const Stamp&) const = default;
    };

    static Stamp stampOf(const struct stat& info);
    bool isFresh() const;
    /// False when the file is damaged; m_tree is then empty. Throws when it can't be read.
    bool load();
    void setAside();
    void store();
    void complain(const std::string& text) const;

    std::string m_path;
    bool m_private;
    Report m_report;
    RegTree m_tree;
    std::optional<Stamp> m_stamp;
    std::string m_damage;    // why the file did not parse
    bool m_unusable = false; // damaged or closed to us: must not be replaced by the empty tree
    bool m_settled = true;   // the file was old enough when read for its stamp to be trusted
};

} // namespace kr
