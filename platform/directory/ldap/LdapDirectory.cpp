#include "platform/directory/ldap/LdapDirectory.h"

#include <signal.h>

#include <cstdlib>
#include <optional>

#include "platform/directory/ldap/LdapError.h"
#include "platform/directory/ldap/LdapSearch.h"

namespace kr {

using namespace std::chrono_literals;

namespace {

class LdapDirectory : public Directory {
public:
    using Opened = std::function<void(const std::string& value, const PlatformError*)>;

    explicit LdapDirectory(std::shared_ptr<LdapCore> core) : m_core(std::move(core)) {}
    ~LdapDirectory() override { m_core->Close(); }

    void Open() override;
    void StartOpen(std::string_view rootAttribute, const Opened& onDone) override;
    bool IsOpen() const override { return m_core->isOpen; }
    std::string RootDSE(std::string_view attribute) override;
    std::shared_ptr<DirectorySearch>
    Start(const DirectoryQuery& query, std::function<void(const DirectoryRow&)> onRow,
          std::function<void(const PlatformError*)> onDone) override;
    void Execute(const DirectoryQuery& query,
                 const std::function<void(const DirectoryRow&)>& onRow) override;
    void Close() override { m_core->Close(); }

private:
    std::shared_ptr<LdapCore> m_core;
};

void LdapDirectory::Open() {
    struct Result {
        bool done = false;
        LdapConnectionPtr connection;
        std::optional<PlatformError> error;
    };
    if (m_core->isOpen)
        return;
    const auto core = m_core;
    const auto result = std::make_shared<Result>();
    core->Connect(DirectoryQuery::Port::GlobalCatalog,
                  [result](LdapConnectionPtr connection, const PlatformError* error) {
                      result->done = true;
                      result->connection = std::move(connection);
                      if (error != nullptr)
                          result->error = *error;
                  });
    const auto deadline = std::chrono::steady_clock::now() + 30s;
    while (!result->done && std::chrono::steady_clock::now() < deadline)
        core->Wait();
    if (!result->done)
        throw LdapError(LDAP_TIMEOUT);
    if (result->error)
        throw *result->error;
    core->isOpen = true;
    core->Release(std::move(result->connection));
}

DirectoryQuery rootQuery(std::string_view attribute) {
    DirectoryQuery query;
    query.scope = DirectoryQuery::Scope::Base;
    query.attributes = {std::string(attribute)};
    query.pageSize = 0;
    return query;
}

PlatformError noRootAttribute(std::string_view attribute) {
    return LdapError(LDAP_NO_SUCH_OBJECT, "rootDSE has no " + std::string(attribute));
}

/// Reads the attribute over a core that is open; the core holds the search.
void startRootRead(const std::shared_ptr<LdapCore>& core, const std::string& attribute,
                   const LdapDirectory::Opened& onDone) {
    const auto value = std::make_shared<std::string>();
    const auto search = std::make_shared<LdapSearch>(
        core, rootQuery(attribute),
        [value, attribute](const DirectoryRow& row) { *value = row.First(attribute); },
        [value, attribute, onDone](const PlatformError* error) {
            if (error != nullptr || !value->empty()) {
                onDone(*value, error);
                return;
            }
            const PlatformError missing = noRootAttribute(attribute);
            onDone({}, &missing);
        });
    search->Begin();
}

void LdapDirectory::StartOpen(std::string_view rootAttribute, const Opened& onDone) {
    const std::string attribute(rootAttribute);
    if (m_core->isOpen) {
        startRootRead(m_core, attribute, onDone);
        return;
    }
    m_core->Connect(DirectoryQuery::Port::GlobalCatalog,
                    [weak = std::weak_ptr(m_core), closes = m_core->closes, attribute,
                     onDone](LdapConnectionPtr connection, const PlatformError* error) {
                        const auto core = weak.lock();
                        if (core == nullptr || core->closes != closes)
                            return;
                        if (error != nullptr) {
                            onDone({}, error);
                            return;
                        }
                        core->isOpen = true;
                        core->Release(std::move(connection));
                        startRootRead(core, attribute, onDone);
                    });
}

std::string LdapDirectory::RootDSE(std::string_view attribute) {
    std::string result;
    Execute(rootQuery(attribute), [&](const DirectoryRow& row) { result = row.First(attribute); });
    if (result.empty())
        throw noRootAttribute(attribute);
    return result;
}

std::shared_ptr<DirectorySearch>
LdapDirectory::Start(const DirectoryQuery& query, std::function<void(const DirectoryRow&)> onRow,
                     std::function<void(const PlatformError*)> onDone) {
    const auto search =
        std::make_shared<LdapSearch>(m_core, query, std::move(onRow), std::move(onDone));
    search->Begin();
    return search;
}

void LdapDirectory::Execute(const DirectoryQuery& query,
                            const std::function<void(const DirectoryRow&)>& onRow) {
    struct Result {
        bool done = false;
        std::optional<PlatformError> error;
    };
    const auto core = m_core; // a nested loop may close or end this object
    const auto result = std::make_shared<Result>();
    const auto search = Start(query, onRow, [result](const PlatformError* error) {
        result->done = true;
        if (error != nullptr)
            result->error = *error;
    });
    struct Guard {
        DirectorySearch& search;
        ~Guard() { search.Cancel(); }
    };
    const Guard guard{*search};
    while (!search->Done())
        core->Wait();
    if (result->error)
        throw *result->error;
    if (!result->done)
        throw PlatformError(3709, "The connection to the directory was closed.", "Directory");
}

class LdapProvider : public DirectoryProvider {
public:
    LdapProvider(Registry& registry, Events& events, std::function<void()> idle)
        : m_registry(registry), m_events(events), m_idle(std::move(idle)),
          m_gate(std::make_shared<EventsGate>(events)) {}
    ~LdapProvider() override { m_gate->Close(); }

    std::unique_ptr<Directory> CreateConnection() override {
        return std::make_unique<LdapDirectory>(
            std::make_shared<LdapCore>(m_registry, m_events, m_idle, m_gate));
    }

private:
    Registry& m_registry;
    Events& m_events;
    std::function<void()> m_idle;
    std::shared_ptr<EventsGate> m_gate;
};

} // namespace

std::unique_ptr<DirectoryProvider> MakeLdapDirectory(Registry& registry, Events& events,
                                                     std::function<void()> idle) {
    // the files and variables of other LDAP programs must not change whom we trust
    setenv("LDAPNOINIT", "1", 1);
    // a server that closes while we write must not end the console
    struct sigaction pipe {};
    if (sigaction(SIGPIPE, nullptr, &pipe) == 0 && pipe.sa_handler == SIG_DFL)
        signal(SIGPIPE, SIG_IGN);
    // the library prepares itself once, before there are workers
    LDAP* first = nullptr;
    if (ldap_initialize(&first, "ldap://127.0.0.1") == LDAP_SUCCESS)
        ldap_unbind_ext_s(first, nullptr, nullptr);
    return std::make_unique<LdapProvider>(registry, events, std::move(idle));
}

} // namespace kr
