#include "handhelds/PushServerChoice.h"

#include <algorithm>

#include "core/Text.h"
#include "core/basStore.h"

namespace kr {

void PushServerChoice::Load(RDOMessage& connector) {
    m_stored = KeyText(connector, "Connector.MDS.Host");
    useSelected = KeyFlag(connector, "Connector.MDS.UseSelected");
    const Value stored = GetKey(connector, "Connector.MDS.Servers");
    const auto* servers = stored.get<Strings>();
    Fill(servers ? *servers : Strings());
}

void PushServerChoice::Fill(const std::vector<std::string>& servers) {
    const std::string wanted = m_stored.empty() ? Host() : m_stored;
    const auto found = std::ranges::find(servers, wanted);
    m_entries = servers;
    m_selected = static_cast<size_t>(found - servers.begin());
    if (found != servers.end())
        return;
    // nothing is chosen by itself
    m_entries.insert(m_entries.begin(), std::string(kNotConfigured));
    m_selected = 0;
}

void PushServerChoice::Select(size_t entry) {
    if (entry < m_entries.size())
        m_selected = entry;
}

std::string PushServerChoice::Host() const {
    const std::string& host = m_entries[m_selected];
    return host == kNotConfigured ? std::string() : host;
}

void PushServerChoice::Store(RDOMessage& connector) const {
    if (const std::string host = Host(); !host.empty())
        SetKey(connector, "Connector.MDS.Host", host);
    SetKey(connector, "Connector.MDS.UseSelected", useSelected);
}

void PushServerChoice::OpenURL(AgentSession& session) const {
    std::string url = Host();
    if (url.empty())
        return;
    if (!StartsWithNoCase(url, "http://") && !StartsWithNoCase(url, "https://"))
        url.insert(0, "http://");
    session.log("Attempting to open browser with MDS server url " + url);
    session.platform.shell.OpenURL(url);
}

} // namespace kr
