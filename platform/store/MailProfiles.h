#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/Value.h"
#include "platform/store/PropTags.h"

namespace kr {

/// Profile administration (`ProfMan.Profiles`).
class MailProfile {
public:
    virtual ~MailProfile() = default;
    virtual std::string Name() const = 0;
    virtual bool HasService(std::string_view displayName) const = 0;
    virtual void AddService(std::string_view service, std::string_view displayName) = 0;
    /// Configures the last added service silently with a bag of properties.
    virtual void ConfigureService(const std::vector<std::pair<PropTag, Value>>& bag) = 0;
    /// The service's own profile section.
    virtual Value SectionField(PropTag tag) const = 0;
    virtual void SetSectionField(PropTag tag, const Value& value) = 0;
};
using MailProfilePtr = std::shared_ptr<MailProfile>;

class MailProfiles {
public:
    virtual ~MailProfiles() = default;
    /// nullptr when there is no such profile, ignoring case.
    virtual MailProfilePtr Item(std::string_view name) = 0;
    virtual MailProfilePtr Add(std::string_view name, bool isDefault) = 0;
};

} // namespace kr
