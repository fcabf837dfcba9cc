#include "platform/services/RoutedLink.h"

#include <optional>
#include <utility>

#include "core/PlatformError.h"
#include "platform/services/HostSettings.h"
#include "platform/services/scm/ScmLink.h"
#include "platform/services/systemd/SystemdLink.h"

namespace kr {

namespace {

class RoutedLink : public ServiceLink {
public:
    RoutedLink(Events& events, Registry& registry, const ServiceOptions& options, std::string host)
        : m_events(events), m_registry(registry), m_options(options), m_host(std::move(host)),
          m_alive(std::make_shared<int>(0)) {}

    void Begin(const ServiceRequest& request, Done done) override;
    void Abandon() override;
    bool Connected() const override { return m_link != nullptr && m_link->Connected(); }

private:
    void followSettings();
    void choose();
    void probe();
    void onProbed(HostProbe::Found found);
    void openSsh();
    void openScm();
    void forward();
    void refuse(long code, const std::string& text);

    Events& m_events;
    Registry& m_registry;
    const ServiceOptions& m_options;
    std::string m_host;
    std::optional<HostSettings> m_settings; // that m_link was made by
    std::unique_ptr<ServiceLink> m_link;
    std::unique_ptr<HostProbe> m_probe;
    ServiceRequest m_request;
    Done m_done;
    uint64_t m_number = 0; // of the request under way
    std::shared_ptr<int> m_alive;
};

void RoutedLink::Begin(const ServiceRequest& request, Done done) {
    ++m_number;
    m_request = request;
    m_done = std::move(done);
    try {
        followSettings();
    } catch (const PlatformError& error) {
        refuse(ServiceNotReachable, error.description());
        return;
    }
    if (m_link != nullptr)
        forward();
    else
        choose();
}

void RoutedLink::Abandon() {
    ++m_number;
    m_done = nullptr;
    // a look-up in a dead name server can't be ended; the next request waits for the same one
    if (m_probe != nullptr && !m_probe->LookingUp())
        m_probe.reset();
    if (m_link != nullptr)
        m_link->Abandon();
}

void RoutedLink::followSettings() {
    HostSettings settings = HostSettings::Read(m_registry, m_host);
    if (m_settings == settings)
        return;
    m_settings = std::move(settings);
    m_link.reset();
    m_probe.reset();
}

void RoutedLink::choose() {
    const std::string& transport = m_settings->transport;
    if (!IsHostName(m_settings->address))
        refuse(ServiceNotReachable, "\"" + m_settings->address + "\" is not a computer's name");
    else if (transport.empty())
        probe();
    else if (transport == "systemd-ssh")
        openSsh();
    else if (transport == "scm")
        openScm();
    else if (transport == "none")
        refuse(ServiceNotReachable, "The services of " + m_host + " are set not to be reached");
    else
        refuse(ServiceNotReachable, "\"" + transport + "\" is no way to reach the services of " +
                                        m_host + "; known are systemd-ssh, scm and none");
}

void RoutedLink::probe() {
    if (m_probe != nullptr)
        return;
    m_probe = std::make_unique<HostProbe>(m_events, m_settings->address,
                                          HostProbe::Ports{m_options.smbPort, m_options.sshPort},
                                          [this](HostProbe::Found found) { onProbed(found); });
}

void RoutedLink::onProbed(HostProbe::Found found) {
    // the probe goes at the end: it is still calling us
    const auto ended = std::move(m_probe);
    switch (found) {
    case HostProbe::Found::First:
        openScm();
        break;
    case HostProbe::Found::Second:
        openSsh();
        break;
    case HostProbe::Found::Neither:
        refuse(ServiceNotReachable,
               m_host + " takes connections neither for Windows services nor for ssh");
        break;
    case HostProbe::Found::NoSuchName:
        refuse(ServiceNotReachable, "No computer is known by the name " + m_settings->address);
        break;
    }
}

void RoutedLink::openSsh() {
    const SshSettings ssh{m_options.sshProgram, m_options.sshArguments};
    BusPlace place;
    place.command = SshCommand(ssh, m_settings->address, {"systemd-stdio-bridge"});
    m_link = MakeSystemdLink(m_events, std::move(place), m_host);
    forward();
}

void RoutedLink::openScm() {
    ScmSettings settings;
    settings.worker.push_back(m_options.scmWorker.empty() ? FindScmWorker() : m_options.scmWorker);
    if (!m_settings->authFile.empty())
        settings.worker.insert(settings.worker.end(), {"--auth-file", m_settings->authFile});
    settings.worker.insert(settings.worker.end(), m_options.scmArguments.begin(),
                           m_options.scmArguments.end());
    settings.ssh = {m_options.sshProgram, m_options.sshArguments};
    m_link = MakeScmLink(m_events, std::move(settings), m_settings->address);
    forward();
}

void RoutedLink::forward() {
    if (!m_done) // given up while the computer was probed
        return;
    m_link->Begin(m_request, [this](const ServiceAnswer& answer) {
        if (const Done done = std::exchange(m_done, nullptr))
            done(answer);
    });
}

void RoutedLink::refuse(long code, const std::string& text) {
    m_events.Post([this, weak = std::weak_ptr(m_alive), number = m_number,
                   answer = ServiceAnswer{code, text}] {
        if (weak.expired() || m_number != number)
            return;
        if (const Done done = std::exchange(m_done, nullptr))
            done(answer);
    });
}

} // namespace

std::unique_ptr<ServiceLink> MakeRoutedLink(Events& events, Registry& registry,
                                            const ServiceOptions& options, std::string host) {
    return std::make_unique<RoutedLink>(events, registry, options, std::move(host));
}

} // namespace kr
