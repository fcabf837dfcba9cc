#include "push/forms/frmChannelDetails.h"

#include <QTreeWidget>

#include "console/forms/FormTools.h"
#include "console/forms/Icons.h"
#include "platform/ui/qt/QtUi.h"
#include "ui_frmChannelDetails.h"

namespace kr {

namespace {

constexpr int kColumns = 76;
constexpr int kLines = 24;

QTreeWidgetItem* itemOf(const DetailNode& node) {
    auto* item = new QTreeWidgetItem({FromUtf8(node.text)});
    item->setData(0, Qt::UserRole, FromUtf8(node.key));
    if (!node.image.empty())
        item->setIcon(0, IconOf(node.image));
    QList<QTreeWidgetItem*> children;
    for (const DetailNode& child : node.children)
        children.append(itemOf(child));
    item->addChildren(children);
    return item;
}

/// Open down to the branches, so that each target and page shows.
void fill(QTreeWidget& tree, const DetailNode& root) {
    tree.addTopLevelItem(itemOf(root));
    tree.expandToDepth(1);
    tree.setCurrentItem(tree.topLevelItem(0));
}

} // namespace

frmChannelDetails::frmChannelDetails(const ChannelDetails& details, std::string_view title,
                                     QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<::Ui::frmChannelDetails>()) {
    m_ui->setupUi(this);
    setWindowTitle(FromUtf8(title));
    fill(*m_ui->tvTargets, details.targets);
    fill(*m_ui->tvContent, details.content);
    m_ui->tabDetails->setCurrentIndex(0);
    resize(TextRoom(*this, kColumns, kLines));
    m_ui->tvTargets->setFocus();
    connect(m_ui->cmdClose, &QPushButton::clicked, this, &QDialog::accept);
}

frmChannelDetails::~frmChannelDetails() = default;

} // namespace kr
