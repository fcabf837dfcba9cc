#pragma once

#include <string>

#include "core/PlatformError.h"

namespace kr {

/// A result code of LDAP or libldap as the error of the directory: HRESULT, its text and what the
/// server or library adds.
PlatformError LdapError(int code, const std::string& detail = {});

} // namespace kr
