#include "platform/directory/ldap/LdapRow.h"

#include <algorithm>
#include <charconv>

#include "core/Text.h"

namespace kr {

namespace {

constexpr std::string_view kRange = ";range=";

std::string copy(const berval& value) { return {value.bv_val, value.bv_len}; }

/// The value of a DN's first part: "x, y" of "CN=x\2C y,DC=z".
std::string firstValue(const std::string& dn) {
    LDAPDN parsed = nullptr;
    std::string result;
    if (ldap_str2dn(dn.c_str(), &parsed, LDAP_DN_FORMAT_LDAPV3) == LDAP_SUCCESS &&
        parsed != nullptr && parsed[0] != nullptr && parsed[0][0] != nullptr)
        result = copy(parsed[0][0]->la_value);
    ldap_dnfree(parsed);
    return result;
}

} // namespace

LdapRow::LdapRow(LDAP* handle, LDAPMessage* entry) {
    BerElement* ber = nullptr;
    berval name{};
    if (ldap_get_dn_ber(handle, entry, &ber, &name) != LDAP_SUCCESS)
        return;
    m_dn = copy(name);
    for (;;) {
        berval attribute{};
        berval* list = nullptr;
        if (ldap_get_attribute_ber(handle, entry, ber, &attribute, &list) != LDAP_SUCCESS ||
            attribute.bv_val == nullptr)
            break;
        std::string key = copy(attribute);
        const size_t range = FindNoCase(key, kRange);
        if (range != std::string::npos) {
            // "member;range=0-1499", the last part "member;range=1500-*"
            const size_t dash = key.find('-', range);
            long last = -1;
            if (dash != std::string::npos)
                std::from_chars(key.data() + dash + 1, key.data() + key.size(), last);
            key.resize(range);
            if (last >= 0)
                m_missing.push_back({key, last + 1});
        }
        auto& target = values(key);
        for (size_t i = 0; list != nullptr && list[i].bv_val != nullptr; ++i)
            target.push_back(copy(list[i]));
        ber_memfree(list);
    }
    ber_free(ber, 0);
}

std::vector<std::string>& LdapRow::values(std::string_view attribute) {
    for (auto& [name, list] : m_attributes)
        if (EqualNoCase(name, attribute))
            return list;
    return m_attributes.emplace_back(std::string(attribute), std::vector<std::string>()).second;
}

const std::vector<std::string>* LdapRow::find(std::string_view attribute) const {
    for (const auto& [name, list] : m_attributes)
        if (EqualNoCase(name, attribute))
            return &list;
    return nullptr;
}

std::vector<std::string> LdapRow::Values(std::string_view attribute) const {
    if (const auto* list = find(attribute); list != nullptr && !list->empty())
        return *list;
    if (EqualNoCase(attribute, "name"))
        return {firstValue(m_dn)};
    if (EqualNoCase(attribute, "distinguishedName"))
        return {m_dn};
    return {};
}

std::string LdapRow::DN() const { return First("distinguishedName"); }

void LdapRow::Merge(const LdapRow& more) {
    for (const auto& [name, list] : more.m_attributes) {
        auto& target = values(name);
        target.insert(target.end(), list.begin(), list.end());
    }
    m_missing.insert(m_missing.end(), more.m_missing.begin(), more.m_missing.end());
}

} // namespace kr
