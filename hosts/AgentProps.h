#pragma once

#include <array>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "console/basPickers.h"
#include "core/AgentSession.h"
#include "hosts/HostRules.h"

namespace kr {

// Limits of the numbers; what is out of them is brought in when it is read or its box is left.
inline constexpr NumberLimits kDeleteLimits{5, 10080}; // minutes
inline constexpr NumberLimits kAttachLimits{1, 9};     // what is too small becomes kAttachDefault
inline constexpr NumberLimits kBrowserLimits{6, 9000}; // seconds
inline constexpr NumberLimits kStaleLimits{0, 999999}; // hours
inline constexpr int kAttachDefault = 5;
/// A list may hold more than what comes as attachments.
constexpr NumberLimits ListLimits(int maxAttach) { return {maxAttach + 1, 99}; }

/// How faxes leave the agent; stored as a number.
enum FaxChoice { kFaxNone, kFaxGateway, kFaxSecure, kFaxModem };
inline constexpr std::array<std::string_view, 4> kFaxChoices = {
    "None", "Use local gateway", "Use zandrel Secure Gateway", "Use local fax modem"};
inline constexpr std::array<std::string_view, 4> kFaxSyntaxes = {
    "[FAX:recipient_name@phone_number]", "[RFAX:recipient_name@/FN=phone_number]",
    "[FAX:phone_number]", "[FAXINAT:phone_number]"};

/// Machine-wide value: the address of the secure gateway's provider.
inline constexpr std::string_view kFaxRelayValue = "FaxRelay";

/// "syntax;relay address"
struct FaxSyntax {
    std::string syntax{kFaxSyntaxes[0]};
    std::string relay;
};

/// The address book fields that take their values from attributes of mailboxes.
inline constexpr size_t kCustomFields = 5;
/// What such a field can be mapped to; the first entry is none.
std::span<const std::string_view> CustomAttributes();

/// What the agent message says about mail requests.
struct AgentFields {
    int deleteDelay = 60; // minutes
    bool cleanSender = false;
    int maxAttach = kAttachDefault;
    int maxList = 25;
    int browserWait = 6; // seconds
    int staleDate = 2;   // hours
    bool reporting = false;
    RecipientList admins;    // the ids are those of this run
    RecipientList reporters; // alike
    Strings senderDomains;
    Strings refuseDomains;
    Strings excludeExt;
    Strings trustedDomains;
    int fax = kFaxNone;
    FaxSyntax faxSyntax;
    bool faxSendAs = false;
    bool backupDisabled = false;
    Time backupTime{}; // local
    std::array<std::string, kCustomFields> custom;
};

/// Brings each number into its limits.
void LimitFields(AgentFields& fields);

/// frmAgentProps without any widget. The form copies its controls into the fields before it calls
/// and shows them afterwards.
class AgentProps {
public:
    explicit AgentProps(AgentSession& session);

    /// Reads the agent message. What it doesn't say, or what can't be read, has its default.
    void GetParameters();
    /// Writes the fields and saves the message once; false, with a box, when that fails. A key that
    /// couldn't be read is written only if its field has been changed since.
    bool SetParameters();
    /// cmdOK and cmdApply: nothing unless dirty, else SetParameters and a word to the agent of this
    /// computer. False when the dialog has to stay open.
    bool Apply();

    AgentFields fields;
    bool dirty = false;

    // The buttons that ask for an entry; true when the list has changed.
    bool AddDomain();
    bool AddRefuse();
    bool AddExt();
    /// Tries the domain's global catalog while events run; `checking` hears of begin and end.
    bool AddTrusted(const std::function<void(bool running)>& checking = {});
    /// Takes an entry out of one of the lists; false for a place that isn't there.
    bool Remove(Strings& list, size_t place);

    bool PickAdmin();
    bool PickReport();

    /// Maps a custom field to an attribute ("" is none); false, with a box, when another field has
    /// it.
    bool MapAttribute(size_t field, std::string_view attribute);

    /// The entries of cboSyntax under the present choice of fax support.
    std::vector<std::string> SyntaxChoices() const;
    /// What is missing where there are none, and where to set it.
    static std::string MissingRelay();

private:
    struct EntryQuestion;
    bool addEntry(Strings& list, const EntryQuestion& question);
    bool addDomainTo(Strings& list, std::string_view title);
    bool addTo(Strings& list, const std::string& entry);
    bool refuseDuplicate(const Strings& list, const std::string& entry);
    bool catalogAnswers(const std::string& domain);
    bool pick(std::string_view title, RecipientList& list);
    void read(RDOMessage& message);
    void write(RDOMessage& message);

    AgentSession& m_session;
    AgentFields m_stored;      // as GetParameters left them
    std::vector<bool> m_keeps; // rows of keys that stay as they are unless changed
};

} // namespace kr
