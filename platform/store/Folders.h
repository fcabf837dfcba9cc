#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/store/Properties.h"
#include "platform/store/StoreTable.h"

namespace kr {

/// Normal or hidden contents of a folder. Indexes count from 1 and follow the order of creation.
class RDOItems {
public:
    virtual ~RDOItems() = default;
    virtual int Count() const = 0;
    virtual RDOMessagePtr Item(int index) const = 0;
    /// A new message of that class; there is no record before its first Save.
    virtual RDOMessagePtr Add(std::string_view messageClass) = 0;
    virtual MAPITablePtr Table() const = 0;
};
using RDOItemsPtr = std::shared_ptr<RDOItems>;

class RDOFolders {
public:
    virtual ~RDOFolders() = default;
    virtual int Count() const = 0;
    virtual RDOFolderPtr Item(int index) const = 0;
    /// By name, ignoring case; nullptr when there is none.
    virtual RDOFolderPtr Item(std::string_view name) const = 0;
    /// A new sub-folder; when the name exists already, that folder.
    virtual RDOFolderPtr Add(std::string_view name, std::string_view containerClass = {}) = 0;
};
using RDOFoldersPtr = std::shared_ptr<RDOFolders>;

class RDOFolder : public RDOProperties {
public:
    virtual std::string Name() const = 0;
    virtual void SetName(std::string_view name) = 0;
    virtual EntryID ID() const = 0;
    /// The id of the store that holds it, for opening it again.
    virtual EntryID StoreID() const = 0;
    /// "IPF.Contact" and so on, "" when the folder has none.
    virtual std::string DefaultItemClass() const = 0;
    virtual RDOItemsPtr Items() const = 0;
    virtual RDOItemsPtr HiddenItems() const = 0;
    virtual RDOFoldersPtr Folders() const = 0;
    /// nullptr for a root folder.
    virtual RDOFolderPtr Parent() const = 0;
    virtual RDOStorePtr Store() const = 0;
    /// Writes changed properties; name and class are written at once.
    virtual void Save() = 0;
    /// Removes the folder with all below it.
    virtual void Delete() = 0;
};

} // namespace kr
