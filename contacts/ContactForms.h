#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "core/EntryID.h"

namespace kr {

/// What a new Mandatory Contact List on a contact source begins with.
struct MclSource {
    EntryID acf;           // the source's record
    std::string guid;      // its ACS.Guid
    EntryID folder;        // ACF EntryID; a folder source
    std::string mailbox;   // ACF Mbx.SMTP; a folder in a mailbox
    std::string cxnString; // ACF Cxn String; a data source
    std::string query;     // ACF Query
};

/// A query to be run and shown, with at most one parameter.
struct QueryToShow {
    std::string cxnString;
    std::string query;
    std::string caption;
    bool contactForm = false; // which of the two names of a field heads a mapped column
    std::string parameter;    // "": none
    std::string value;
};

/// The dialogs of contact sources, as the subsystem asks for them. The forms' folder gives the real
/// ones; tests script them.
struct ContactForms {
    /// A dialog of one record; an empty id makes a new one. Gives the id of the record that was
    /// saved, and an empty one when nothing was.
    using Edit = std::function<EntryID(const EntryID& record)>;
    Edit frmMCR;
    Edit frmACF;
    Edit frmACFMbx;
    Edit frmACDS;
    Edit frmRegMCL;
    Edit frmRegMCLPf;
    Edit frmRegMclACF;
    Edit frmRegMclACDS;
    Edit frmMandatoryNote;
    Edit frmMandatoryNotesPF;
    /// A new list on a source.
    std::function<EntryID(const MclSource&)> newMclACF;
    std::function<EntryID(const MclSource&)> newMclACDS;
    /// Contacts of the repository: their ids joined by ";", and the name of the first. True when
    /// something was written.
    std::function<bool(const std::string& contacts, const std::string& name)> frmPrivateFieldsMC;
    std::function<bool(const std::string& contacts, const std::string& name)> frmAccessListMC;
    /// The members of a recipient list, fully expanded.
    std::function<void(std::string_view title, const std::string& addresses)> showMembers;
    std::function<void(const QueryToShow&)> showQueryResult;
};

} // namespace kr
