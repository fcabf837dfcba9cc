#include "push/Payload.h"

#include <array>
#include <cstdio>

#include "core/Settings.h"
#include "core/Text.h"
#include "core/basDate.h"
#include "platform/xml/Xml.h"
#include "push/PayloadSchema.h"

namespace kr {

namespace {

constexpr std::string_view kDefaultNamespace = "http://zandrel.org/IPL";
constexpr std::string_view kDeclaration = R"(<?xml version="1.0" encoding="utf-8" ?>)";
constexpr std::string_view kAnyDeclaration = R"(<?xml version="1.0")";
constexpr std::string_view kRootClose = "</string>";

std::string rootOpen(std::string_view namespaceUri) {
    return "<string xmlns=\"" + std::string(namespaceUri) + "\">";
}

std::string strippedText(std::string_view text) {
    std::string plain(Trim(text));
    while (!plain.empty() && (plain.back() == '\r' || plain.back() == '\n'))
        plain.pop_back();
    const size_t start = plain.find_first_not_of("\r\n");
    return start == std::string::npos ? std::string() : plain.substr(start);
}

/// The schema is written for the default namespace.
std::string checkAgainstSchema(std::string_view namespaceUri, std::string_view payload) {
    std::string reason;
    const auto schema =
        XmlSchema::Parse(ReplaceAll(kPayloadSchema, kDefaultNamespace, namespaceUri), &reason);
    if (!schema)
        return reason;
    const auto document = XmlDocument::Parse(payload, &reason);
    return document ? schema->Check(*document) : reason;
}

/// Days since 30 December 1899, in plain decimals.
std::string serialOf(Time date) {
    constexpr double kSecondsOfDay = 86400;
    constexpr double kDaysTo1970 = 25569;
    const auto seconds = static_cast<double>(date.time_since_epoch().count());
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%.10f", seconds / kSecondsOfDay + kDaysTo1970);
    std::string plain = text.data();
    while (plain.ends_with('0'))
        plain.pop_back();
    if (plain.ends_with('.'))
        plain.pop_back();
    return plain;
}

std::string stampOf(Time date) {
    SystemTime t;
    DateToSystemTime(date, t);
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02d %02d:%02d:%02d", t.year, t.month, t.day,
                  t.hour, t.minute, t.second);
    return text.data();
}

} // namespace

std::string PayloadNamespace(AgentSession& session) {
    const std::string own = MachineValue(session.platform.registry, "PayloadNamespace");
    return own.empty() ? std::string(kDefaultNamespace) : own;
}

std::string ValidatePayload(std::string_view namespaceUri, std::string& text) {
    std::string payload = strippedText(text);
    const std::string root = rootOpen(namespaceUri);
    const size_t declaration = ToLower(payload).find(kAnyDeclaration);
    if (declaration == std::string::npos) {
        payload = std::string(kDeclaration) + root + payload;
    } else if (declaration > 0) {
        return "Invalid payload: no text can precede the XML declaration";
    } else if (!StartsWithNoCase(payload, kDeclaration) ||
               !std::string_view(payload).substr(kDeclaration.size()).starts_with(root)) {
        return "Invalid payload: no text allowed between XML declaration and root element!";
    }
    if (payload.find(kRootClose) == std::string::npos)
        payload += kRootClose;
    const std::string reason = checkAgainstSchema(namespaceUri, payload);
    if (!reason.empty())
        return "Invalid payload:" + reason;
    text = std::move(payload);
    return {};
}

std::string BuildPDLPayload(std::string_view namespaceUri, Time date, std::string_view url,
                            bool textBlast) {
    const auto element = [](const char* name, const std::string& content) {
        return std::string("<") + name + ">" + content + "</" + name + ">";
    };
    return std::string(kDeclaration) + rootOpen(namespaceUri) +
           element("LaunchZPA", textBlast ? "textblast" : "pinblast") +
           element("SetDataItems", element("SYS_PDL_URL", std::string(url)) +
                                       element("PDL_LastUpdate", stampOf(date)) +
                                       element("PDL_Serial", serialOf(date))) +
           element("InvokeEvent", "PBpendOnGetList,getPBList") + std::string(kRootClose);
}

} // namespace kr
