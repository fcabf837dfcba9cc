#pragma once

#include <ldap.h>

#include <string>
#include <utility>
#include <vector>

#include "platform/directory/Directory.h"

namespace kr {

/// An entry, copied out of its message. An absent "name" reads as the value of the first part of
/// the DN, an absent "distinguishedName" as the DN.
class LdapRow : public DirectoryRow {
public:
    /// What the server cut off a long list of values: go on with these.
    struct Range {
        std::string attribute;
        long next = 0;
    };

    LdapRow(LDAP* handle, LDAPMessage* entry);

    std::vector<std::string> Values(std::string_view attribute) const override;
    std::string DN() const override;

    /// The DN as the server writes it.
    const std::string& entryDN() const { return m_dn; }
    /// Attributes whose values aren't complete; taken out by the caller as it asks for the rest.
    std::vector<Range>& missing() { return m_missing; }
    /// Appends the further values that this entry of the same object brings.
    void Merge(const LdapRow& more);

private:
    std::vector<std::string>& values(std::string_view attribute);
    const std::vector<std::string>* find(std::string_view attribute) const;

    std::string m_dn;
    std::vector<std::pair<std::string, std::vector<std::string>>> m_attributes;
    std::vector<Range> m_missing;
};

} // namespace kr
