#pragma once

#include <functional>
#include <string>

#include "core/EntryID.h"
#include "net/WebProgress.h"

namespace kr {

/// The dialogs of pushes, as the subsystem asks for them. The forms' folder gives the real ones;
/// tests script them.
struct PushForms {
    /// A dialog of one record; an empty id makes a new one. Gives the id of the record that was
    /// saved, and an empty one when nothing was.
    using Edit = std::function<EntryID(const EntryID& record)>;
    Edit frmBrowserChannel;
    Edit frmBrowserMessage;
    Edit frmMPL;
    std::function<void()> frmTarnProps;
    Edit frmPDL;
    std::function<void()> frmPdlProps;

    /// A push, with the window behind it; false when the person stopped it.
    using Work = std::function<bool(WebProgress& progress)>;
    /// Shows the window of one push, modal, and runs the push in it; gives way when the person has
    /// closed it.
    using Window = std::function<void(std::string_view icon, const Work& work)>;
    Window frmPushResult;
    /// Users who aren't marked for a push yet: the entry ids of the chosen ones, joined by ";"; ""
    /// for none.
    std::function<std::string()> frmAddPushUser;
};

} // namespace kr
