#include "platform/database/Provider.h"

#include "core/Text.h"
#include "platform/database/ConnectionString.h"
#include "platform/database/local/LocalEngine.h"
#include "platform/database/odbc/OdbcDatabase.h"

namespace kr {

namespace {

class SystemDatabases : public DatabaseProvider {
public:
    explicit SystemDatabases(Events& events) : m_events(events) {}

    std::unique_ptr<Database> Open(std::string_view text, const DbLimits& limits) override {
        const bool oracle = ContainsNoCase(ConnectionString(text).Get("provider"), "ora");
        const DbTarget target = ResolveConnection(text, oracle ? FindOracleDriver() : "");
        if (target.kind == DbTarget::UnknownProvider)
            throw PlatformError(DB_E_PROVIDER_MISSING,
                                "Provider cannot be found. It may not be properly installed.",
                                "Database");
        if (target.kind == DbTarget::Odbc)
            return OpenOdbc(m_events, target.odbc, target.freeTds, limits);
        return OpenLocal(m_events, target, limits);
    }

private:
    Events& m_events;
};

} // namespace

std::unique_ptr<DatabaseProvider> MakeDatabaseProvider(Events& events) {
    return std::make_unique<SystemDatabases>(events);
}

} // namespace kr
