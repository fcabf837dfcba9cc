#include "handhelds/BesConnection.h"

#include "core/Text.h"
#include "core/basCxnString.h"

namespace kr {

std::string BuildBesConnection(const BesConnection& connection) {
    std::string text = "Provider=SQLOLEDB; Data Source=" + connection.dataSource + "; ";
    if (LooksLikeIP(connection.dataSource))
        text += "Network Library=DBMSSOCN; ";
    text += "Initial Catalog=" + connection.catalog + "; ";
    if (connection.ownLogin)
        text += "User ID=" + connection.userID + "; Password=" + connection.password + "; ";
    else
        text += "Integrated Security=SSPI; ";
    return Trim(text);
}

BesConnection ParseBesConnection(std::string_view text) {
    BesConnection connection;
    // deliberately cut at every ";", also inside quotes: none can be part of a password
    for (const std::string& part : Split(text, ";")) {
        const size_t equals = part.find('=');
        const std::string key = ToLower(Trim(part.substr(0, equals)));
        const std::string value = equals == std::string::npos ? "" : part.substr(equals + 1);
        if (key == "data source")
            connection.dataSource = Trim(value);
        else if (key == "initial catalog")
            connection.catalog = Trim(value);
        else if (key == "integrated security")
            connection.ownLogin = false;
        else if (key == "user id" || key == "password") {
            connection.ownLogin = true;
            (key == "password" ? connection.password : connection.userID) = value;
        }
        // every other key, "provider" among them, has no field
    }
    return connection;
}

} // namespace kr
