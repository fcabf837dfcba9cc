#pragma once

#include <functional>
#include <memory>

#include "platform/directory/Directory.h"
#include "platform/events/Events.h"
#include "platform/registry/Registry.h"

namespace kr {

/// The directory by LDAP version 3 (libldap). Values of the machine-wide registry key
/// `Software\zandrel\zandrelAgent\Directory`, all optional, read anew for each connection:
///
/// | value     | kind   | meaning                                                               |
/// |-----------|--------|-----------------------------------------------------------------------|
/// | Server    | text   | host name or address; absent: domain controllers by DNS (SRV) for the |
/// |           |        | domain of the Kerberos realm, else of this computer                   |
/// | Port      | number | controller; default 389, with ldaps 636                               |
/// | GCPort    | number | global catalog; default 3268, with ldaps 3269                         |
/// | TLS       | text   | "none", "starttls" or "ldaps"; default "starttls" for a simple bind,  |
/// |           |        | else "none" (Kerberos signs and seals by itself)                      |
/// | CAFile    | text   | certificates to trust; default the system's bundle                    |
/// | Mechanism | text   | "simple", "gssapi" (the person's Kerberos ticket) or "none"; default  |
/// |           |        | "simple" when there is an Account, else "gssapi"                      |
/// | Account   | text   | name for a simple bind                                                |
/// | Password  | text   | its password; sent over TLS only, or to this computer itself          |
///
/// Connecting, TLS and binding run on a worker, everything else on the thread of `events`. While
/// Open, RootDSE and Execute wait, events run and `idle` is called (the place for DoEvents).
/// Each running query has a connection of its own. Errors carry HRESULT numbers.
std::unique_ptr<DirectoryProvider> MakeLdapDirectory(Registry& registry, Events& events,
                                                     std::function<void()> idle = {});

} // namespace kr
