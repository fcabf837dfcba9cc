#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/basDirectory.h"

/// The containers of the domain, level by level.
namespace kr {

struct ADContainer {
    std::string path; // "LDAP://OU=Staff,DC=example,DC=test"
    std::string name; // "Staff"; of the root "example.test"
};

/// Names of a distinguished name without their prefixes, joined by dots.
std::string ContainerName(std::string_view dn);

class ContainerBrowser {
public:
    explicit ContainerBrowser(AgentSession& session) : m_session(session) {}

    /// The domain; nothing when it can't be read, which is logged. `stop` ends the waiting.
    std::optional<ADContainer> Root(const DirectoryStop& stop = {});
    /// Containers and organisational units right below, by name, without those that belong to the
    /// directory itself. Nothing when they can't be read; `stop` ends the reading.
    std::optional<std::vector<ADContainer>> Children(const std::string& path,
                                                     const DirectoryStop& stop = {});

private:
    AgentSession& m_session;
    std::unique_ptr<Directory> m_directory;
};

} // namespace kr
