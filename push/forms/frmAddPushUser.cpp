#include "push/forms/frmAddPushUser.h"

#include <QHeaderView>
#include <algorithm>

#include "console/forms/FormTools.h"
#include "core/Text.h"
#include "platform/ui/qt/QtUi.h"
#include "push/forms/UserRows.h"
#include "ui_frmAddPushUser.h"

namespace kr {

namespace {

constexpr int kColumns = 66;
constexpr int kLines = 22;
constexpr int kNameWidth = 145; // pixels
constexpr int kEmailWidth = 200;

} // namespace

frmAddPushUser::frmAddPushUser(AgentSession& session, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<::Ui::frmAddPushUser>()),
      m_rows(new UserRows(session, this)) {
    m_ui->setupUi(this);
    m_ui->cboFind->addItems({tr("Find Name"), tr("Find Email")});
    m_ui->vlwUsers->setModel(m_rows);
    m_ui->vlwUsers->header()->setStretchLastSection(false);
    m_ui->vlwUsers->setColumnWidth(0, kNameWidth);
    m_ui->vlwUsers->setColumnWidth(1, kEmailWidth);
    resize(TextRoom(*this, kColumns, kLines));
    adjust();
    m_ui->txtFind->setFocus();
    connect(m_ui->txtFind, &QLineEdit::textChanged, this, &frmAddPushUser::find);
    connect(m_ui->cboFind, &QComboBox::currentIndexChanged, this, &frmAddPushUser::find);
    connect(m_ui->vlwUsers->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &frmAddPushUser::adjust);
    connect(m_ui->cmdAdd, &QPushButton::clicked, this, &frmAddPushUser::onAdd);
    connect(m_ui->cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
}

frmAddPushUser::~frmAddPushUser() = default;

void frmAddPushUser::find() {
    m_rows->Find(m_ui->cboFind->currentIndex() == 0 ? UserRows::FindBy::Name
                                                    : UserRows::FindBy::Email,
                 ToUtf8(m_ui->txtFind->text()));
    adjust();
}

void frmAddPushUser::adjust() {
    m_ui->cmdAdd->setEnabled(m_ui->vlwUsers->selectionModel()->hasSelection());
    m_ui->lblCount->setText(tr("Count: %1").arg(m_rows->rowCount()));
}

void frmAddPushUser::onAdd() {
    QModelIndexList selected = m_ui->vlwUsers->selectionModel()->selectedRows();
    std::ranges::sort(selected, {}, &QModelIndex::row);
    std::vector<std::string> ids;
    for (const QModelIndex& index : selected)
        if (std::string id = m_rows->IdOf(index.row()); !id.empty())
            ids.push_back(std::move(id));
    m_chosen = Join(ids, ";");
    accept();
}

} // namespace kr
