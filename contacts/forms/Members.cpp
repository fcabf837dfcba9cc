#include "contacts/forms/Members.h"

#include <QElapsedTimer>
#include <QHeaderView>
#include <QTimer>
#include <QTreeView>
#include <optional>

#include "console/forms/ListAdapter.h"
#include "console/forms/frmDetails.h"
#include "contacts/basExpand.h"
#include "platform/ui/qt/QtUi.h"

namespace kr {

namespace {

/// Rows go to the list in batches: one at a time would cost a layout each.
constexpr int kBatchTime = 100; // milliseconds

class MemberRows {
public:
    explicit MemberRows(frmDetails& form) : m_form(form) {
        m_form.list().SetColumns({{"Name", "txtName"}, {"E-mail", "txtEmail"}});
        m_sinceShown.start();
    }

    void Add(const Member& member) {
        ListRow row;
        row.key = member.address;
        row.texts = {member.name, member.address};
        m_batch.push_back(std::move(row));
        if (m_sinceShown.elapsed() >= kBatchTime)
            Show();
    }
    void Show() {
        m_form.list().AddAll(std::move(m_batch));
        m_batch.clear();
        m_form.SetCount("Count: " + std::to_string(m_form.list().Count()));
        m_sinceShown.restart();
    }

private:
    frmDetails& m_form;
    std::vector<ListRow> m_batch;
    QElapsedTimer m_sinceShown;
};

} // namespace

void ShowMembers(AgentSession& session, std::string_view title, const std::string& addresses,
                 QWidget* parent) {
    frmDetails form(parent);
    form.setWindowTitle(FromUtf8(title));
    bool closed = false;
    MemberRows rows(form);
    const auto expand = [&] {
        {
            const WaitCursor wait(session.ui());
            ExpandMembers(
                session, addresses, [&](const Member& member) { rows.Add(member); },
                [&] { return closed; });
        }
        if (closed)
            return;
        rows.Show();
        form.list().Sort(0, SortOrder::Ascending);
        FitColumns(*form.findChild<QTreeView*>(QStringLiteral("lvDetail")), form.list());
    };
    QObject::connect(&form, &QDialog::finished, &form, [&] { closed = true; });
    rows.Show();
    // the window paints first
    QTimer::singleShot(0, &form, expand);
    form.exec();
}

} // namespace kr
