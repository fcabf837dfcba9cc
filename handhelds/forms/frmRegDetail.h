#pragma once

#include "console/forms/frmDetails.h"
#include "core/AgentSession.h"

namespace kr {

/// All fields of one handheld's record, in their own order.
class frmRegDetail : public frmDetails {
    Q_OBJECT
public:
    frmRegDetail(AgentSession& session, const EntryID& handheld, QWidget* parent = nullptr);

protected:
    void showEvent(QShowEvent* event) override;
};

} // namespace kr
