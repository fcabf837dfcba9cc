#pragma once

#include <QTemporaryDir>
#include <memory>
#include <optional>
#include <string>

#include "platform/store/sqlite/Organisation.h"

namespace kr::journeys {

/// Where a journey takes place: the person's own settings and stores, or, after Make, a temporary
/// folder with an organisation that the server name MAIL01 leads to.
class World {
public:
    World() = default;

    /// Points settings, log and temporary files to a new folder, and makes there: "none": no store
    /// at all, "empty": a sample with an empty agent mailbox, "sample": a whole sample.
    void Make(const std::string& kind, size_t users);
    bool made() const { return m_folder != nullptr; }
    std::string folder() const;

    // What another program sees and does in the mailbox "agentbox"; folders by path from its root.
    RDOMessagePtr Find(const std::string& path, const std::string& subject);
    int Count(const std::string& path);
    void Delete(const std::string& path, const std::string& subject);
    void SetKey(const std::string& path, const std::string& subject, const std::string& key,
                const std::string& text);

    /// HKCU or HKLM.
    void SetRegistry(const std::string& hive, const std::string& key, const std::string& name,
                     const std::string& text);
    /// The console's log until now.
    std::string LogText() const;
    /// What the last called procedure gave, once it has returned.
    std::optional<std::string> result;

private:
    RDOFolderPtr folderAt(const std::string& path);

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<Organisation> m_organisation;
    RDOSessionPtr m_session;
};

} // namespace kr::journeys
