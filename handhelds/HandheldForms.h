#pragma once

#include <functional>
#include <string>

#include "core/EntryID.h"

namespace kr {

/// The dialogs of connectors and handhelds, as the subsystem asks for them. The forms' folder gives
/// the real ones; tests script them.
struct HandheldForms {
    /// A dialog of one connector; an empty id makes a new one. Gives the id of the record that was
    /// saved, and an empty one when nothing was.
    using Edit = std::function<EntryID(const EntryID& connector)>;
    Edit frmBesCxnSQL;
    Edit frmBesCxnMbx;
    /// All fields of a handheld.
    std::function<void(const EntryID& handheld)> frmRegDetail;
    /// "Find Handheld"; `goTo` selects a handheld in the main list by its entry id.
    using GoTo = std::function<void(const std::string& handheld)>;
    std::function<void(const GoTo& goTo)> frmFindReg;
};

} // namespace kr
