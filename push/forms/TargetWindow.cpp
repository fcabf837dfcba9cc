#include "push/forms/TargetWindow.h"

#include "console/forms/frmDetails.h"
#include "platform/ui/qt/QtUi.h"
#include "push/basTargets.h"

namespace kr {

namespace {

ListRow rowOf(const Recordset& target) {
    const auto text = [&](TargetField field) { return std::string(target.Text(Index(field))); };
    ListRow row;
    row.key = text(TargetField::PIN);
    row.texts = {text(TargetField::Name), text(TargetField::Email), text(TargetField::PIN),
                 text(TargetField::BESServer), text(TargetField::PushServer)};
    if (row.texts.front().empty())
        row.texts.front() = "* Invalid target: missing property";
    return row;
}

} // namespace

void ShowTargets(AgentSession& session, TreeModel& tree, std::string_view title,
                 const std::string& addresses, QWidget* parent) {
    frmDetails form(parent);
    form.setWindowTitle(FromUtf8(title));
    form.list().SetColumns({{"Name", "txtName"},
                            {"E-mail", "txtEmail"},
                            {"PIN", "txtPIN"},
                            {"BES Server", "txtBES"},
                            {"MDS Server", "txtMDS"}});
    bool known = false;
    {
        const WaitCursor wait(session.ui());
        if (const auto targets = GetPushTargets(session, tree, addresses)) {
            known = true;
            for (targets->MoveFirst(); !targets->EOF_(); targets->MoveNext())
                form.list().Add(rowOf(*targets));
        }
    }
    form.list().Sort(0, SortOrder::Ascending);
    form.SetCount(known ? "Count: " + std::to_string(form.list().Count())
                        : std::string(kNoHandhelds));
    form.exec();
}

} // namespace kr
