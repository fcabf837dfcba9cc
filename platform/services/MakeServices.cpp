#include "platform/services/MakeServices.h"

#include <map>
#include <utility>

#include "core/Text.h"
#include "platform/services/HostQueue.h"
#include "platform/services/HostSettings.h"
#include "platform/services/RoutedLink.h"
#include "platform/services/systemd/SystemdLink.h"

namespace kr {

namespace {

using Kind = ServiceRequest::Kind;

class RoutedServices : public Services {
public:
    RoutedServices(Events& events, Registry& registry, ServiceOptions options)
        : m_events(events), m_registry(registry), m_options(std::move(options)) {}

    void Query(std::string_view host, std::string_view service,
               std::function<void(SvcState, const std::string&)> done) override {
        queueOf(host).Add({Kind::Query, std::string(service)},
                          [done = std::move(done)](const ServiceAnswer& answer) {
                              if (done)
                                  done(answer.state, answer.error);
                          });
    }
    void Start(std::string_view host, std::string_view service,
               std::function<void(long, const std::string&)> done) override {
        job(Kind::Start, host, service, std::move(done));
    }
    void Stop(std::string_view host, std::string_view service,
              std::function<void(long, const std::string&)> done) override {
        job(Kind::Stop, host, service, std::move(done));
    }
    void Control(std::string_view host, std::string_view service, int code) override {
        queueOf(host).Add({Kind::Control, std::string(service), {}, static_cast<uint32_t>(code)},
                          {});
    }
    void Kill(std::string_view host, std::string_view service, std::string_view program,
              std::function<void(bool)> done) override {
        queueOf(host).Add({Kind::Kill, std::string(service), std::string(program)},
                          [done = std::move(done)](const ServiceAnswer& answer) {
                              if (done)
                                  done(answer.ended);
                          });
    }
    bool Busy() const override {
        for (const auto& [name, queue] : m_queues)
            if (queue->Busy())
                return true;
        return false;
    }

private:
    void job(Kind kind, std::string_view host, std::string_view service,
             std::function<void(long, const std::string&)> done) {
        queueOf(host).Add({kind, std::string(service)},
                          [done = std::move(done)](const ServiceAnswer& answer) {
                              if (done)
                                  done(answer.code, answer.error);
                          });
    }
    HostQueue& queueOf(std::string_view host);

    Events& m_events;
    Registry& m_registry;
    ServiceOptions m_options;
    std::map<std::string, std::unique_ptr<HostQueue>> m_queues; // by folded name; "": this computer
};

HostQueue& RoutedServices::queueOf(std::string_view host) {
    const std::string name = BareHostName(host);
    const bool own = IsThisComputer(name);
    auto& queue = m_queues[own ? std::string() : Fold(name)];
    if (queue == nullptr) {
        auto link = own ? MakeSystemdLink(m_events, {m_options.busAddress, {}}, "this computer")
                        : MakeRoutedLink(m_events, m_registry, m_options, name);
        queue = std::make_unique<HostQueue>(m_events, std::move(link));
    }
    return *queue;
}

} // namespace

std::unique_ptr<Services> MakeServices(Events& events, Registry& registry, ServiceOptions options) {
    return std::make_unique<RoutedServices>(events, registry, std::move(options));
}

} // namespace kr
