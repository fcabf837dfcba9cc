#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/xml/Xml.h"
#include "push/ResultDocument.h"

namespace {

/// What was saved must be read again, and stay as it is from then on.
std::string again(const kr::XmlDocument& document) {
    std::string saved;
    const kr::XmlDocument* last = &document;
    std::optional<kr::XmlDocument> read;
    for (int round = 0; round < 2; ++round) {
        saved = last->Save();
        auto next = kr::XmlDocument::Parse(saved);
        if (!next)
            std::abort();
        read = std::move(next);
        last = &*read;
    }
    if (read->Save() != saved)
        std::abort();
    return saved;
}

/// Any text as what a document holds: characters are left out, and no more.
void hold(std::string_view text) {
    kr::XmlDocument document("root");
    document.Root().SetAttribute("a", text);
    document.Root().AddChild("child").SetText(text);
    const auto read = kr::XmlDocument::Parse(again(document));
    if (read->Root().Attribute("a") != document.Root().Attribute("a") ||
        read->Root().Child("child").Text() != document.Root().Child("child").Text())
        std::abort();
}

} // namespace

/// Any bytes as a document, as the stored results of a push, and as text within a document.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    std::string reason;
    if (auto document = kr::XmlDocument::Parse(text, &reason)) {
        again(*document);
        document->FindAll("target");
        if (document->Root().Parent() || document->Find("link", "url", "x") == document->Root())
            document->Root().Text();
    } else if (reason.empty()) {
        std::abort();
    }
    if (auto results = kr::LoadResultDocument(text, "http://host/?a=1&b=2")) {
        kr::SetContentSize(*results, 0.3);
        again(results->xml());
    }
    if (kr::XmlDocument::Parse(text, &reason, size == 0 ? 0 : size - 1) && size > 0)
        std::abort(); // above the limit that was given
    hold(text);
    return 0;
}
