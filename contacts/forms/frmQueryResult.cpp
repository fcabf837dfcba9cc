#include "contacts/forms/frmQueryResult.h"

#include <QHeaderView>
#include <QTreeView>

#include "console/forms/frmDetails.h"
#include "contacts/basACDS.h"
#include "platform/ui/qt/QtUi.h"

namespace kr {

void ShowQueryResult(AgentSession& session, const QueryToShow& query, QWidget* parent) {
    auto grid = RunQuery(session, query);
    if (!grid)
        return;
    frmDetailsCCL form(parent);
    form.setWindowTitle(FromUtf8(query.caption));
    form.SetCount(grid->status);
    form.list().SetColumns(std::move(grid->columns));
    form.list().AddAll(std::move(grid->rows));
    // the rows come in the query's own order until a header is clicked
    QHeaderView* header = form.findChild<QTreeView*>(QStringLiteral("lvDetail"))->header();
    header->setSortIndicatorShown(false);
    QObject::connect(header, &QHeaderView::sectionClicked, header,
                     [header] { header->setSortIndicatorShown(true); });
    form.exec();
}

} // namespace kr
