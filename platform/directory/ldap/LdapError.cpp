#include "platform/directory/ldap/LdapError.h"

#include <ldap.h>

#include <cstdint>

namespace kr {

namespace {

struct Row {
    int code;
    uint32_t number;
    const char* text;
};

constexpr Row kRows[] = {
    {LDAP_SERVER_DOWN, 0x8007203A, "The directory server is not operational."},
    {LDAP_CONNECT_ERROR, 0x8007203A, "The directory server is not operational."},
    {LDAP_TIMEOUT, 0x800705B4, "The directory server did not answer in time."},
    {LDAP_FILTER_ERROR, 0x8007203E, "The search filter is invalid."},
    {LDAP_OPERATIONS_ERROR, 0x80072020, "An operations error occurred."},
    {LDAP_TIMELIMIT_EXCEEDED, 0x80072022, "The directory server's time limit was exceeded."},
    {LDAP_SIZELIMIT_EXCEEDED, 0x80072023, "The directory server's size limit was exceeded."},
    {LDAP_ADMINLIMIT_EXCEEDED, 0x80072024, "An administrative limit was exceeded."},
    {LDAP_STRONG_AUTH_REQUIRED, 0x80072028, "The directory server asks for a safer logon."},
    {LDAP_REFERRAL, 0x8007202B, "The directory server gave a referral."},
    {LDAP_UNAVAILABLE_CRITICAL_EXTENSION, 0x8007202C,
     "The directory server lacks an extension that is needed."},
    {LDAP_NO_SUCH_OBJECT, 0x80072030, "There is no such object on the server."},
    {LDAP_INVALID_DN_SYNTAX, 0x80072032, "The distinguished name is invalid."},
    {LDAP_INVALID_CREDENTIALS, 0x8007052E, "The directory server refused the account or password."},
    {LDAP_INSUFFICIENT_ACCESS, 0x80070005, "The directory server denied the access."},
    {LDAP_UNWILLING_TO_PERFORM, 0x80072035, "The directory server is unwilling to do that."},
    {LDAP_BUSY, 0x8007200E, "The directory server is busy."},
    {LDAP_UNAVAILABLE, 0x8007200F, "The directory server is unavailable."},
};

long hresult(uint32_t number) { return static_cast<int32_t>(number); }

} // namespace

PlatformError LdapError(int code, const std::string& detail) {
    long number = hresult(0x8007001F);
    std::string text = std::string("The directory failed: ") + ldap_err2string(code) + ".";
    for (const Row& row : kRows)
        if (row.code == code) {
            number = hresult(row.number);
            text = row.text;
        }
    if (!detail.empty())
        text += " (" + detail + ")";
    return {number, text, "Directory"};
}

} // namespace kr
