#include "console/forms/frmFolderPicker.h"

#include <QTreeWidget>
#include <algorithm>

#include "console/forms/FormTools.h"
#include "console/forms/Icons.h"
#include "platform/ui/qt/QtUi.h"
#include "ui_frmFolderPicker.h"

namespace kr {

namespace {

constexpr int kColumns = 60;
constexpr int kLines = 26;
constexpr int kRootDelay = 10; // milliseconds, in which the window paints first
constexpr int kNodeRole = Qt::UserRole;

} // namespace

frmFolderPicker::frmFolderPicker(RDOSession& session, const Log& log,
                                 const FolderPickOptions& options, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<::Ui::frmFolderPicker>()),
      m_tree(session, log, options), m_startPath(options.startPath) {
    m_ui->setupUi(this);
    if (!options.title.empty())
        setWindowTitle(FromUtf8(options.title));
    m_ui->lblHint->setText(FromUtf8(options.hint));
    m_ui->lblHint->setVisible(!options.hint.empty());
    if (options.multiple)
        m_ui->tvFolders->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_ui->cmdOK->setEnabled(false);
    resize(TextRoom(*this, kColumns, kLines));
    connect(m_ui->tvFolders, &QTreeWidget::itemExpanded, this, &frmFolderPicker::onExpanded);
    connect(m_ui->tvFolders, &QTreeWidget::itemSelectionChanged, this,
            &frmFolderPicker::onSelection);
    connect(m_ui->cmdOK, &QPushButton::clicked, this, &QDialog::accept);
    connect(m_ui->cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
    m_root.setObjectName(QStringLiteral("tmrRoot"));
    m_root.setSingleShot(true);
    connect(&m_root, &QTimer::timeout, this, &frmFolderPicker::loadRoots);
    m_root.start(kRootDelay);
}

frmFolderPicker::~frmFolderPicker() = default;

void frmFolderPicker::loadRoots() {
    if (!m_tree.LoadRoots()) {
        m_failed = true;
        reject();
        return;
    }
    for (const auto& root : m_tree.Roots())
        addItem(*root, m_ui->tvFolders->invisibleRootItem());
    showStart();
    if (!m_ui->tvFolders->currentItem())
        m_ui->tvFolders->setCurrentItem(m_ui->tvFolders->topLevelItem(0));
}

void frmFolderPicker::addItem(FolderNode& node, QTreeWidgetItem* parent) {
    auto* item = new QTreeWidgetItem(parent, {FromUtf8(node.text)});
    item->setIcon(0, IconOf(node.image));
    item->setData(0, kNodeRole, QVariant::fromValue(static_cast<void*>(&node)));
    // the branch sign stands for sub-folders that nobody has read yet
    item->setChildIndicatorPolicy(node.hasChildren ? QTreeWidgetItem::ShowIndicator
                                                   : QTreeWidgetItem::DontShowIndicator);
}

FolderNode& frmFolderPicker::nodeOf(const QTreeWidgetItem& item) const {
    return *static_cast<FolderNode*>(item.data(0, kNodeRole).value<void*>());
}

void frmFolderPicker::onExpanded(QTreeWidgetItem* item) {
    if (item->childCount() > 0)
        return;
    FolderNode& node = nodeOf(*item);
    m_tree.Expand(node);
    for (const auto& child : node.children)
        addItem(*child, item);
    if (!node.hasChildren)
        item->setChildIndicatorPolicy(QTreeWidgetItem::DontShowIndicator);
}

QTreeWidgetItem* frmFolderPicker::itemOf(FolderNode& node) {
    QTreeWidgetItem* above =
        node.parent ? itemOf(*node.parent) : m_ui->tvFolders->invisibleRootItem();
    if (node.parent) {
        onExpanded(above);
        above->setExpanded(true);
    }
    for (int i = 0; i < above->childCount(); ++i)
        if (&nodeOf(*above->child(i)) == &node)
            return above->child(i);
    return above;
}

void frmFolderPicker::showStart() {
    FolderNode* start = m_startPath.empty() ? nullptr : m_tree.FindPath(m_startPath);
    if (!start)
        return;
    QTreeWidgetItem* item = itemOf(*start);
    m_ui->tvFolders->setCurrentItem(item);
    m_ui->tvFolders->scrollToItem(item);
}

void frmFolderPicker::onSelection() {
    const auto items = m_ui->tvFolders->selectedItems();
    m_ui->cmdOK->setEnabled(!items.isEmpty() &&
                            std::ranges::all_of(items, [this](const QTreeWidgetItem* item) {
                                return m_tree.IsValid(nodeOf(*item));
                            }));
}

std::vector<FolderPick> frmFolderPicker::picks() const {
    std::vector<FolderPick> result;
    for (const QTreeWidgetItem* item : m_ui->tvFolders->selectedItems())
        result.push_back(FolderTree::PickOf(nodeOf(*item)));
    return result;
}

} // namespace kr
