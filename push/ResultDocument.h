#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "core/AgentSession.h"
#include "platform/xml/Xml.h"

namespace kr {

class PushContent;

/// What became of each target of a push list, and what was harvested for it. It is kept as the body
/// of the list's message:
///
///   <?xml version="1.0"?>
///   <channel id><targets><target pin email type date result/></targets>
///     <content baseUrl kb><link url contentType bytes childLinks><image url bytes/>...
///
/// Addresses of content are escaped once before they are written, so that the text holds them twice
/// escaped; readers expect that.
class ResultDocument {
public:
    explicit ResultDocument(XmlDocument xml);
    XmlDocument& xml() { return m_xml; }
    /// The element of that PIN; the first one where several have it.
    XmlNode Target(const std::string& pin);
    void Added(const std::string& pin, XmlNode target) { m_targets.emplace(pin, target); }
    /// The element of that stored address; the first one where several have it.
    XmlNode Link(const std::string& url);
    void AddedLink(const std::string& url, XmlNode link) { m_links.emplace(url, link); }

private:
    XmlDocument m_xml;
    // a search for each push and each page would be slow
    std::unordered_map<std::string, XmlNode> m_targets, m_links;
};

/// The document of a list's body with its content emptied for a new push to that URL; the targets
/// stand. Nothing when the body is no XML.
std::optional<ResultDocument> LoadResultDocument(std::string_view body, std::string_view url);
ResultDocument CreateResultDocument(std::string_view channelId, std::string_view url);
/// Writes the last result for a PIN; `date` is local time.
void AppendTarget(AgentSession& session, ResultDocument& document, const std::string& pin,
                  std::string_view email, std::string_view type, Time date,
                  std::string_view result);
/// A document that was fetched, below the one that links to it, with its images.
void AppendContentLink(AgentSession& session, ResultDocument& document, const PushContent& content,
                       std::string_view parentUrl);
void AppendImage(XmlNode link, std::string_view url, int64_t bytes);
/// A number with what decimals it has: "100", "0.3".
std::string KilobyteText(double kb);
/// The kilobytes of all content.
void SetContentSize(ResultDocument& document, double kb);
/// Stores the document as the message's body; throws as the store does.
void SaveResultDocument(RDOMessage& message, ResultDocument& document);

} // namespace kr
