#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "core/AgentSession.h"

/// The start-up wizard without any widget: it turns an empty mailbox into that of a working agent.
namespace kr {

/// The service's state on a host, with the label that the finish page shows for it ("" for none).
struct ServiceReport {
    SvcState state = SvcState::Failed;
    std::string label;
};
/// Queries the service zandrelAgent on a host ("" is this computer), logging what it is.
ServiceReport GetServiceState(AgentSession& session, std::string_view host);
/// Starts it; false, with the box or log line of the failure, when it couldn't be started.
bool StartAgentService(AgentSession& session, std::string_view host);

/// Finds or makes the folders and the agent message in the logged-on mailbox; false when that
/// failed (shown and logged).
bool InitAgentMessage(AgentSession& session);
/// Finds or makes the host message of this computer with its default settings; needs the folders
/// that InitAgentMessage finds.
bool InitHostMessage(AgentSession& session);

/// The wizard's fields and steps.
class FirstRunWizard {
public:
    enum Page { Mailbox = 0, Contact = 1, Finish = 2 };
    enum class Focus { None, SelectAlias, SelectContact };

    explicit FirstRunWizard(AgentSession& session) : m_session(session) {}

    /// Proposes the machine-wide mailbox; an agent message that exists gives the primary contact.
    void Load();
    /// cmdNext on the present page: true when it was left. Messages are shown here; `focus` tells
    /// where the person has to go on.
    bool Next(Focus& focus);
    void Back();
    Page page() const { return m_page; }

    /// cmdSelectAlias and cmdSelectContact: a picker with one address, then the directory.
    void SelectAlias();
    void SelectContact();

    /// cmdFinish. `progress` hears the task's label and the steps done of kSteps; true when the
    /// wizard closes.
    static constexpr int kSteps = 5;
    using Report = std::function<void(const std::string& label, int step)>;
    bool RunFinish(bool startService, const Report& progress);
    /// cmdCancel: true when the person confirmed.
    bool Cancel();

    std::string alias;
    std::string server;
    std::string smtp; // lblSMTP
    std::string firstName;
    std::string lastName;
    std::string email;
    std::string phone;
    std::string company;

private:
    bool hasMailbox();
    bool logOn();
    bool saveContact();

    AgentSession& m_session;
    Page m_page = Mailbox;
};

} // namespace kr
