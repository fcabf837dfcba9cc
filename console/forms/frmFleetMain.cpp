#include "console/forms/frmFleetMain.h"

#include <QAbstractItemView>
#include <QCoreApplication>
#include <QHeaderView>
#include <QLabel>
#include <QProgressBar>
#include <algorithm>

#include "console/forms/Icons.h"
#include "console/forms/ListAdapter.h"
#include "console/forms/TreeAdapter.h"
#include "platform/ui/qt/QtUi.h"
#include "ui_frmFleetMain.h"

namespace kr {

namespace {

constexpr int kTaskInterval = 2000; // milliseconds
constexpr int kRefitDelay = 100;
constexpr int kDetails = 3;
constexpr int kProgressWidth = 160;
constexpr int kIconChars = 18;  // width of a large icon's place
constexpr int kSmallChars = 48; // and of a small one's at most
constexpr int kIconGap = 14;

struct ViewMode {
    QListView::ViewMode mode;
    QListView::Flow flow;
    bool wrapping;
    int iconSize;
};
constexpr ViewMode kIconModes[] = {
    {QListView::IconMode, QListView::LeftToRight, true, 32},
    {QListView::ListMode, QListView::LeftToRight, true, 16},
    {QListView::ListMode, QListView::TopToBottom, true, 16},
};

} // namespace

frmFleetMain::frmFleetMain(AgentSession& session, QWidget* parent)
    : QMainWindow(parent), m_ui(std::make_unique<::Ui::frmFleetMain>()), m_session(session) {
    IconOf(""); // registers the resources that the window's own icon comes from
    m_ui->setupUi(this);
    m_console = std::make_unique<Console>(session, *this);
    m_tree = std::make_unique<TreeAdapter>(m_console->tree());
    m_list = std::make_unique<ListAdapter>(m_console->list());
    setWindowTitle(FromUtf8(kAppTitle)); // exact: a second copy finds the window by it
    QFont heading = m_ui->lblTitle->font();
    heading.setBold(true);
    heading.setPointSizeF(heading.pointSizeF() * 1.15);
    m_ui->lblTitle->setFont(heading);
    makeStatusBar();
    makeMenus();
    connectTree();
    connectList();
    makeKeys();
    m_tasks.setObjectName("tmrTasks");
    m_tasks.setInterval(kTaskInterval);
    connect(&m_tasks, &QTimer::timeout, this, [this] { m_console->TaskTick(); });
    m_refit.setSingleShot(true);
    m_refit.setInterval(kRefitDelay);
    connect(&m_refit, &QTimer::timeout, this, &frmFleetMain::FitColumns);
    connect(m_ui->wb1, &ReportView::linkClicked, this,
            [this](const QString& url) { m_session.platform.shell.OpenURL(ToUtf8(url)); });
    SetViewMode(kDetails);
    applyColors();
}

frmFleetMain::~frmFleetMain() {
    m_ui->tvMain->setModel(nullptr);
    m_ui->lvMainIcons->setModel(nullptr);
    m_ui->lvMain->setModel(nullptr);
}

void frmFleetMain::makeStatusBar() {
    m_panel1 = new QLabel(this);
    m_panel1->setObjectName("panel1");
    m_panel1->setTextFormat(Qt::PlainText);
    m_panel1->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_ui->stsMain->addWidget(m_panel1, 1);
    m_progress = new QProgressBar(this);
    m_progress->setObjectName("ProgressBar1");
    m_progress->setAccessibleName(tr("Progress"));
    m_progress->setTextVisible(false); // the percentage would cross the narrow bar's edge
    m_progress->setFixedWidth(kProgressWidth);
    m_progress->hide();
    m_ui->stsMain->addPermanentWidget(m_progress);
}

void frmFleetMain::connectTree() {
    QTreeView* tree = m_ui->tvMain;
    tree->setModel(m_tree.get());
    connect(tree->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& current) {
                // queued: a load takes turns of the event loop, which may rebuild the tree
                if (!m_quiet && !m_tree->removing() && current.isValid())
                    QMetaObject::invokeMethod(this, &frmFleetMain::onCurrentNode,
                                              Qt::QueuedConnection);
            });
    connect(tree, &QTreeView::clicked, this, [this] {
        QMetaObject::invokeMethod(this, &frmFleetMain::onCurrentNode, Qt::QueuedConnection);
    });
    connect(tree, &QTreeView::expanded, this, &frmFleetMain::onExpanded);
}

void frmFleetMain::connectList() {
    QTreeView* details = m_ui->lvMain;
    QListView* icons = m_ui->lvMainIcons;
    details->setModel(m_list.get());
    icons->setModel(m_list.get());
    icons->setSelectionBehavior(QAbstractItemView::SelectRows);
    icons->setSelectionModel(details->selectionModel());
    details->header()->setSectionsClickable(true);
    details->header()->setSortIndicatorShown(true);
    details->header()->setStretchLastSection(false);
    connect(details->header(), &QHeaderView::sectionClicked, this, [this](int section) {
        m_console->ColumnClick(section);
        syncChecks();
    });
    connect(details->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &frmFleetMain::onSelection);
    for (QAbstractItemView* view :
         {static_cast<QAbstractItemView*>(details), static_cast<QAbstractItemView*>(icons)})
        connect(view, &QAbstractItemView::activated, this, &frmFleetMain::onActivated);
    connect(m_list.get(), &ListAdapter::checkToggled, this, [this](int position, bool checked) {
        m_console->CheckChanged(static_cast<size_t>(position), checked);
    });
}

void frmFleetMain::onCurrentNode() {
    const QModelIndex current = m_ui->tvMain->currentIndex();
    if (current.isValid())
        m_console->NodeClick(*m_tree->nodeOf(current));
}

void frmFleetMain::onExpanded(const QModelIndex& index) {
    const QPersistentModelIndex kept = index;
    if (!m_console->Expand(*m_tree->nodeOf(index)) && kept.isValid())
        m_ui->tvMain->collapse(kept);
}

void frmFleetMain::onSelection() {
    if (!m_quiet)
        m_console->SelectionChanged();
}

void frmFleetMain::onActivated(const QModelIndex& index) {
    // queued: the view is still in its own event while a dialog or a load would run
    const QPersistentModelIndex kept = index;
    QMetaObject::invokeMethod(
        this,
        [this, kept] {
            if (kept.isValid())
                m_console->ActivateRow(static_cast<size_t>(kept.row()));
        },
        Qt::QueuedConnection);
}

void frmFleetMain::SetTitle(std::string_view text) { m_ui->lblTitle->setText(FromUtf8(text)); }

void frmFleetMain::SetStatus(std::string_view text) { m_panel1->setText(FromUtf8(text)); }

void frmFleetMain::SetProgress(int64_t done, int64_t total) {
    m_progress->setVisible(total > 0);
    if (total <= 0)
        return;
    constexpr int64_t kSteps = 1000; // counts may exceed what the bar can hold
    m_progress->setRange(0, static_cast<int>(kSteps));
    m_progress->setValue(static_cast<int>(std::clamp<int64_t>(done, 0, total) * kSteps / total));
}

void frmFleetMain::ShowReport(std::string_view html) {
    m_reportShown = true;
    m_ui->wb1->setHtml(FromUtf8(html));
    m_ui->stkMain->setCurrentWidget(m_ui->wb1);
}

void frmFleetMain::ShowList() {
    m_reportShown = false;
    QAbstractItemView* details = m_ui->lvMain;
    m_ui->stkMain->setCurrentWidget(m_viewMode == kDetails ? details : m_ui->lvMainIcons);
}

void frmFleetMain::FreezeList(bool freeze) {
    m_list->Freeze(freeze);
    syncChecks();
}

void frmFleetMain::FitColumns() {
    if (m_list->columnCount() > 0)
        kr::FitColumns(*m_ui->lvMain, m_console->list());
    if (m_viewMode != kDetails)
        fitIcons();
    syncChecks();
}

/// One size for all icons, so that 100,000 of them are laid out at once.
void frmFleetMain::fitIcons() {
    QListView* view = m_ui->lvMainIcons;
    const QFontMetrics metrics(view->font());
    const int widest = WidestText(*view, m_console->list(), 0);
    if (view->viewMode() == QListView::IconMode)
        view->setGridSize({kIconChars * metrics.averageCharWidth(),
                           view->iconSize().height() + 2 * metrics.lineSpacing() + kIconGap});
    else
        view->setGridSize({qMin(widest, kSmallChars * metrics.averageCharWidth()),
                           qMax(view->iconSize().height(), metrics.height()) + 2});
}

void frmFleetMain::SelectNode(TreeNode& node) {
    m_quiet = true;
    m_ui->tvMain->setCurrentIndex(m_tree->indexOf(node));
    m_ui->tvMain->scrollTo(m_tree->indexOf(node));
    m_quiet = false;
}

void frmFleetMain::ExpandNode(TreeNode& node, bool expand) {
    m_ui->tvMain->setExpanded(m_tree->indexOf(node), expand);
}

std::vector<size_t> frmFleetMain::SelectedRows() const {
    std::vector<size_t> rows;
    for (const QItemSelectionRange& range : m_ui->lvMain->selectionModel()->selection())
        for (int row = range.top(); row <= range.bottom(); ++row)
            rows.push_back(static_cast<size_t>(row));
    std::ranges::sort(rows);
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    return rows;
}

void frmFleetMain::SelectRow(size_t position) {
    const QModelIndex index = m_list->index(static_cast<int>(position), 0);
    m_ui->lvMain->selectionModel()->setCurrentIndex(index, QItemSelectionModel::ClearAndSelect |
                                                               QItemSelectionModel::Rows);
    m_ui->lvMain->scrollTo(index);
    m_ui->lvMainIcons->scrollTo(index);
}

void frmFleetMain::EnableTaskTimer(bool enable) {
    if (enable && !m_tasks.isActive())
        m_tasks.start();
    else if (!enable)
        m_tasks.stop();
}

bool frmFleetMain::ShowForm(std::string_view form) {
    const auto found = m_forms.find(form);
    if (found == m_forms.end())
        return false;
    QWidget* modal = QApplication::activeModalWidget();
    found->second(modal ? modal : this);
    return true;
}

void frmFleetMain::SetViewMode(int mode) {
    m_viewMode = std::clamp(mode, 0, kDetails);
    if (m_viewMode != kDetails) {
        const ViewMode& icons = kIconModes[m_viewMode];
        QListView* view = m_ui->lvMainIcons;
        view->setViewMode(icons.mode);
        view->setFlow(icons.flow);
        view->setWrapping(icons.wrapping);
        view->setIconSize({icons.iconSize, icons.iconSize});
        view->setMovement(QListView::Static);
        view->setResizeMode(QListView::Adjust);
        view->setSelectionRectVisible(true);
        view->setWordWrap(icons.mode == QListView::IconMode);
        fitIcons();
    }
    if (!m_reportShown)
        ShowList();
    syncChecks();
}

void frmFleetMain::applyColors() {
    const ThemeColors colors = ThemeColors::of(palette());
    m_tree->setColors(colors);
    m_list->setColors(colors);
    m_list->setFont(m_ui->lvMain->font());
}

void frmFleetMain::SetTheme(ThemeMode mode) {
    m_theme = mode;
    Theme::Apply(mode);
    applyColors();
    syncChecks();
}

} // namespace kr
