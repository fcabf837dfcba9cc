#include "platform/services/HostSettings.h"

#include <unistd.h>

#include <algorithm>
#include <array>

#include "core/Text.h"

namespace kr {

namespace {

constexpr size_t kMostHostName = 253; // of a name in the DNS

std::string textOf(Registry& registry, const std::string& key, std::string_view name) {
    const auto value = registry.Read(Hive::LocalMachine, key, name);
    const bool text = value && (value->type == RegType::Sz || value->type == RegType::ExpandSz);
    return text ? Trim(value->text) : std::string();
}

} // namespace

HostSettings HostSettings::Read(Registry& registry, std::string_view host) {
    const std::string key = R"(Software\zandrel\zandrelAgent\Hosts\)" + std::string(host);
    HostSettings settings{ToLower(textOf(registry, key, "Transport")),
                          textOf(registry, key, "Address"), textOf(registry, key, "AuthFile")};
    if (settings.address.empty())
        settings.address = host;
    return settings;
}

std::string BareHostName(std::string_view host) {
    while (!host.empty() && host.front() == '\\')
        host.remove_prefix(1);
    return std::string(host);
}

bool IsThisComputer(std::string_view bareHost) {
    if (bareHost.empty() || bareHost == "." || EqualNoCase(bareHost, "localhost"))
        return true;
    std::array<char, 256> own{};
    gethostname(own.data(), own.size() - 1);
    const std::string name = own.data();
    return EqualNoCase(bareHost, name) || EqualNoCase(bareHost, name.substr(0, name.find('.')));
}

bool IsHostName(std::string_view name) {
    const auto plain = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               c == '.' || c == ':' || c == '-' || c == '_';
    };
    return !name.empty() && name.size() <= kMostHostName && name.front() != '-' &&
           std::ranges::all_of(name, plain);
}

} // namespace kr
