#pragma once

#include <string>
#include <string_view>

namespace kr {

/// The connection string of a BES database, taken apart.
struct BesConnection {
    std::string dataSource; // server name or IP address
    std::string catalog;
    /// SQL Server authentication with user and password; else the agent's own logon.
    bool ownLogin = false;
    std::string userID;
    std::string password;
    bool operator==(const BesConnection&) const = default;
};

std::string BuildBesConnection(const BesConnection& connection);
BesConnection ParseBesConnection(std::string_view text);

} // namespace kr
