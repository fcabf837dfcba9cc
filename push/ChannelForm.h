#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "core/AgentSession.h"
#include "push/basMBL.h"

/// What frmBrowserChannel and frmBrowserMessage show and write, without their windows.
namespace kr {

/// The limits of a number field, and what stands for a text that is no number.
struct NumberRule {
    int lowest;
    int highest;
    int fallback;
};
inline constexpr NumberRule kExpireRule{0, 180, 30};    // days
inline constexpr NumberRule kDepthRule{0, 5, 0};        // levels
inline constexpr NumberRule kMaxContentRule{1, 999, 0}; // KB
/// The number of a text, forced into the limits.
int ForceNumber(std::string_view text, const NumberRule& rule);

/// A file's bytes when they begin as a PNG does; throws PlatformError with the reason otherwise.
Bytes ReadPngFile(const std::string& path);

class ChannelForm {
public:
    enum class Focus { None, Name, Title, Url };
    enum class Outcome { Refused, Unchanged, Failed, Saved };

    explicit ChannelForm(bool isChannel) : channel(isChannel) {}

    const bool channel;
    std::string name, title, description, url;
    bool enable = true; // not EPS.Inactive
    bool cache = false;
    int expire = 7;
    bool child = false;
    int depth = 0;
    int maxContent = 100;
    int frequency = 0; // of a message; index into kMblFrequencies
    std::string names, addresses;
    std::string lastPush; // "" before the first push
    std::string body;     // the result document
    bool changed = false;

    /// Reads a list; false, with the reason in the log, when it can't be opened.
    bool Load(AgentSession& session, const EntryID& list);
    /// The box "child links" was ticked: empty fields get their values.
    void TickChild();
    /// The stored picture; empty when there is none.
    const Bytes& Icon(ChannelIcon which) const { return icon(which).png; }
    void SetIcon(ChannelIcon which, const std::string& file, Bytes png);
    bool IconChanged() const;

    /// Checks, tells the refusal, and writes, in the order of the dialog's OK.
    Outcome Save(AgentSession& session, Focus& focus);
    EntryID id() const { return m_id; }
    /// An icon was saved, but no engine is known that would serve it: asks whether to name one now.
    bool AskForTarn(AgentSession& session) const;

private:
    struct Picture {
        Bytes png;
        std::string file; // "": as it is stored
    };
    const Picture& icon(ChannelIcon which) const { return m_icons[static_cast<size_t>(which)]; }
    void loadIcons(RDOMessage& list);
    void write(AgentSession& session, RDOMessage& list);
    void writeChannel(AgentSession& session, RDOMessage& list) const;
    void saveIcon(AgentSession& session, RDOMessage& list, ChannelIcon which) const;

    EntryID m_id;
    std::array<Picture, 2> m_icons;
};

} // namespace kr
