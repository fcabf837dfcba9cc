#include "contacts/forms/frmADSI.h"

#include <QTimer>
#include <QTreeWidget>
#include <utility>

#include "console/forms/FormTools.h"
#include "console/forms/Icons.h"
#include "platform/ui/qt/QtUi.h"
#include "ui_frmADSI.h"

namespace kr {

namespace {

constexpr int kColumns = 60;
constexpr int kLines = 24;
constexpr int kPathRole = Qt::UserRole;

std::string pathOf(const QTreeWidgetItem& item) {
    return ToUtf8(item.data(0, kPathRole).toString());
}

/// A dummy child, without a path, stands for those that nobody has read yet.
bool isUnread(const QTreeWidgetItem& item) {
    return item.childCount() == 1 && pathOf(*item.child(0)).empty();
}

} // namespace

frmADSI::frmADSI(AgentSession& session, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<::Ui::frmADSI>()), m_session(session),
      m_browser(session) {
    m_ui->setupUi(this);
    resize(TextRoom(*this, kColumns, kLines));
    connect(m_ui->tvContainers, &QTreeWidget::itemExpanded, this, &frmADSI::onExpanded);
    connect(m_ui->cmdOK, &QPushButton::clicked, this, &frmADSI::onOK);
    connect(m_ui->cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
    // the window paints first
    QTimer::singleShot(0, this, &frmADSI::loadRoot);
}

frmADSI::~frmADSI() = default;

void frmADSI::loadRoot() {
    m_reading = true;
    const std::optional<ADContainer> root = m_browser.Root([this] { return m_closed; });
    m_reading = false;
    if (!root || m_closed)
        return;
    QTreeWidgetItem* item = addItem(m_ui->tvContainers->invisibleRootItem(), *root, "imgDomain");
    item->setExpanded(true);
}

QTreeWidgetItem* frmADSI::addItem(QTreeWidgetItem* parent, const ADContainer& container,
                                  std::string_view image) {
    auto* item = new QTreeWidgetItem(parent, {FromUtf8(container.name)});
    item->setIcon(0, IconOf(image));
    item->setData(0, kPathRole, FromUtf8(container.path));
    new QTreeWidgetItem(item, {tr("Loading...")});
    return item;
}

void frmADSI::onExpanded(QTreeWidgetItem* item) {
    if (!isUnread(*item))
        return;
    if (std::exchange(m_reading, true)) { // one level at a time
        item->setExpanded(false);
        return;
    }
    const auto children = m_browser.Children(pathOf(*item), [this] { return m_closed; });
    m_reading = false;
    if (m_closed)
        return;
    if (!children) { // it stays as it was, for another try
        item->setExpanded(false);
        return;
    }
    delete item->takeChild(0);
    for (const ADContainer& child : *children)
        addItem(item, child, "imgFolder");
}

void frmADSI::onOK() {
    const QTreeWidgetItem* item = m_ui->tvContainers->currentItem();
    if (item == nullptr || pathOf(*item).empty()) {
        m_session.ui().MsgBox("No container is selected!", BoxIcon::Exclamation);
        return;
    }
    if (item->parent() == nullptr) {
        m_session.ui().MsgBox("You can not select the root container!", BoxIcon::Exclamation);
        return;
    }
    m_choice = {pathOf(*item), ToUtf8(item->text(0))};
    accept();
}

void frmADSI::done(int result) {
    m_closed = true;
    QDialog::done(result);
}

std::optional<ADContainer> PickContainer(AgentSession& session, QWidget* parent) {
    frmADSI form(session, parent);
    if (form.exec() != QDialog::Accepted)
        return std::nullopt;
    return form.choice();
}

} // namespace kr
