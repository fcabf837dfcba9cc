#include "handhelds/forms/frmRegDetail.h"

#include <QHeaderView>
#include <QTreeView>

#include "handhelds/basHandhelds.h"

namespace kr {

frmRegDetail::frmRegDetail(AgentSession& session, const EntryID& handheld, QWidget* parent)
    : frmDetails(parent) {
    setObjectName(QStringLiteral("frmRegDetail"));
    setWindowTitle(tr("Handheld Details"));
    LoadHandheldDetails(session, list(), handheld);
}

void frmRegDetail::showEvent(QShowEvent* event) {
    frmDetails::showEvent(event);
    // the fields come in the order of the record, which no column has
    if (const auto* view = findChild<QTreeView*>(QStringLiteral("lvDetail")))
        view->header()->setSortIndicator(-1, Qt::AscendingOrder);
}

} // namespace kr
