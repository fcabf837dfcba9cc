#pragma once

#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "tests/mds/PushStandin.h"
#include "tests/support/Postgres.h"

namespace kr::journeys {

/// The programs that a journey's console talks to.
class Peers {
public:
    /// Starts a push server and gives its port; `site` holds a folder for each host whose pages it
    /// gives as a proxy. Throws Failure, as all of these.
    int StartPushServer(const std::string& site = {});
    /// How it answers from now on, everybody or one handheld ("").
    void SetPushMode(const std::string& mode, const std::string& seconds, const std::string& pin);
    /// What a handheld got until now, in order: query, headers, body.
    nlohmann::json PushesTo(const std::string& pin);

    /// Starts a database server with an empty database of that name, which connection strings for
    /// SQL Server reach as well, and gives its port. `folder` takes the settings for that.
    int StartDatabase(const std::string& name, const std::string& folder);
    void RunSQL(const std::string& statements);

    /// For an end that destroys nothing else.
    void Stop();

private:
    int pushPort() const;
    std::unique_ptr<PushStandin> m_push;
    std::unique_ptr<Postgres> m_server;
    std::string m_database;
};

} // namespace kr::journeys
