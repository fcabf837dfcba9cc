#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/AgentSession.h"

namespace kr {

/// The push server of a connector as its dialogs offer it: cboPushServer and optUseSelected.
class PushServerChoice {
public:
    static constexpr std::string_view kNotConfigured = "(not configured)";

    /// What the connector has stored.
    void Load(RDOMessage& connector);
    /// Offers those servers, with the stored one selected, else the one that was.
    void Fill(const std::vector<std::string>& servers);
    void Select(size_t entry);
    /// The text of the combo's entries.
    const std::vector<std::string>& Entries() const { return m_entries; }
    size_t Selected() const { return m_selected; }
    /// "" while the choice is "(not configured)".
    std::string Host() const;
    /// There are servers to choose from.
    bool CanChoose() const { return m_entries.size() > 1 || !Host().empty(); }
    /// Writes Connector.MDS.Host, unless the choice is "(not configured)", and UseSelected.
    void Store(RDOMessage& connector) const;
    /// Opens the selected push server in the browser.
    void OpenURL(AgentSession& session) const;

    bool useSelected = false;

private:
    std::vector<std::string> m_entries{std::string(kNotConfigured)};
    size_t m_selected = 0;
    std::string m_stored;
};

} // namespace kr
