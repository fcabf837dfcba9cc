#pragma once

#include <memory>

#include "platform/store/MailProfiles.h"
#include "platform/store/Session.h"

/// The session library: a MAPI-like message store. Every operation may throw PlatformError; an
/// opened object is a snapshot of its record until the next open, and a write is kept in the object
/// until Save. Objects are used from one thread.
namespace kr {

/// Makes the library's objects by their names.
class StoreLibrary {
public:
    virtual ~StoreLibrary() = default;
    /// `KRHelper.RDOSession`; throws when the library can't be had.
    virtual RDOSessionPtr CreateSession() = 0;
    /// `ProfMan.Profiles`.
    virtual std::shared_ptr<MailProfiles> CreateProfiles() = 0;
};

} // namespace kr
