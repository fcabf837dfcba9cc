#pragma once

#include <string>
#include <string_view>

#include "platform/registry/Registry.h"

namespace kr {

/// How one computer's service manager is reached: machine-wide values of the key
/// Software\zandrel\zandrelAgent\Hosts\<NAME>.
struct HostSettings {
    /// Transport: "systemd-ssh", "scm", "none"; "" is to be found out.
    std::string transport;
    /// Address: the name or number under which it is reached; its own name by default.
    std::string address;
    /// AuthFile: name and password for the Windows service manager in place of a Kerberos ticket,
    /// in the form of Samba's authentication files; nobody else may have access to it.
    std::string authFile;

    bool operator==(const HostSettings&) const = default;
    static HostSettings Read(Registry& registry, std::string_view host);
};

/// Without backslashes in front.
std::string BareHostName(std::string_view host);
/// "", ".", "localhost" and the names of this computer.
bool IsThisComputer(std::string_view bareHost);
/// Letters, digits, dots, colons, hyphens, underlines; no hyphen in front. Other texts never reach
/// a command line.
bool IsHostName(std::string_view name);

} // namespace kr
