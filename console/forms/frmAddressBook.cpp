#include "console/forms/frmAddressBook.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QStyle>
#include <algorithm>

#include "console/forms/AddressRows.h"
#include "console/forms/FormTools.h"
#include "console/forms/Icons.h"
#include "core/Text.h"
#include "platform/ui/qt/QtUi.h"
#include "ui_frmAddressBook.h"

namespace kr {

namespace {

constexpr int kColumns = 110;
constexpr int kSingleColumns = 76;
constexpr int kLines = 30;
constexpr int kNameColumns = 34;
constexpr int kTyping = 120; // milliseconds without a key before the search begins
constexpr int kIdRole = Qt::UserRole;

/// A local part and a domain, and nothing that ends an address: enough to offer it.
bool looksLikeAddress(std::string_view text) {
    const size_t at = text.find('@');
    return at != std::string_view::npos && at > 0 && at == text.rfind('@') &&
           at + 1 < text.size() && text.find_first_of(" \t;,<>()\"") == std::string_view::npos;
}

} // namespace

frmAddressBook::frmAddressBook(RDOSession& session, Options options, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<::Ui::frmAddressBook>()), m_session(session),
      m_book(session.GetAddressBook()), m_options(std::move(options)) {
    m_ui->setupUi(this);
    if (!m_options.title.isEmpty())
        setWindowTitle(m_options.title);
    m_rows = std::make_unique<AddressRows>(m_book);
    m_ui->lvNames->setModel(m_rows.get());
    m_ui->lvNames->header()->resizeSection(0, TextRoom(*this, kNameColumns, 1).width());
    const int icon = style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, this);
    m_ui->lvChosen->setIconSize(QSize(icon, icon)); // as in the list beside it
    m_ui->lblHint->setText(
        m_options.forceResolution
            ? tr("Type the beginning of a name or of an address.")
            : tr("Type the beginning of a name or of an address. An SMTP "
                 "address that isn't in the address book may be typed in full."));
    if (m_options.oneAddress)
        makeSingle();
    else
        makeMultiple();
    const std::string text = ToUtf8(m_ui->txtSearch->text());
    m_rows->Search(text, extraRow(text));
    if (m_options.oneAddress && !m_options.chosen.empty())
        m_ui->lvNames->setCurrentIndex(m_rows->index(m_rows->Find(m_options.chosen.front().id), 0));
    m_ui->txtSearch->selectAll();
    m_ui->txtSearch->setFocus();
    connectControls();
    enableButtons();
}

frmAddressBook::~frmAddressBook() { m_ui->lvNames->setModel(nullptr); }

void frmAddressBook::makeSingle() {
    for (QWidget* widget : std::initializer_list<QWidget*>{m_ui->cmdAdd, m_ui->cmdRemove,
                                                           m_ui->lblChosen, m_ui->lvChosen})
        widget->hide();
    m_ui->layNames->setColumnStretch(2, 0);
    m_ui->layNames->setHorizontalSpacing(0);
    m_ui->lvNames->setSelectionMode(QAbstractItemView::SingleSelection);
    resize(TextRoom(*this, kSingleColumns, kLines));
    if (!m_options.chosen.empty())
        m_ui->txtSearch->setText(FromUtf8(m_options.chosen.front().name));
}

void frmAddressBook::makeMultiple() {
    resize(TextRoom(*this, kColumns, kLines));
    if (!m_options.toLabel.isEmpty()) {
        const QKeySequence key = m_ui->cmdAdd->shortcut();
        m_ui->cmdAdd->setText(m_options.toLabel + QStringLiteral(" >"));
        m_ui->cmdAdd->setShortcut(key); // whatever the label, the key stays
    }
    for (const PickedRecipient& recipient : m_options.chosen) {
        std::string_view image = "imgMail";
        try {
            const AddressEntryPtr entry = m_book->GetAddressEntryFromID(recipient.id);
            if (entry->Type() == "EX")
                image = AddressImage(entry->DisplayType());
        } catch (const PlatformError&) {
            image = "imgNoUser"; // the entry has gone; it stays chosen until it is removed
        }
        add(recipient, image);
    }
}

void frmAddressBook::connectControls() {
    m_typing.setSingleShot(true);
    m_typing.setInterval(kTyping);
    connect(&m_typing, &QTimer::timeout, this, &frmAddressBook::search);
    connect(m_ui->txtSearch, &QLineEdit::textChanged, this, [this] { m_typing.start(); });
    connect(m_rows.get(), &AddressRows::failed, this, &frmAddressBook::fail);
    connect(m_ui->lvNames->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &frmAddressBook::enableButtons);
    connect(m_ui->lvChosen, &QListWidget::itemSelectionChanged, this,
            &frmAddressBook::enableButtons);
    connect(m_ui->lvNames, &QAbstractItemView::doubleClicked, this, &frmAddressBook::onEnter);
    connect(m_ui->lvChosen, &QListWidget::itemDoubleClicked, this, &frmAddressBook::removeSelected);
    connect(m_ui->cmdAdd, &QPushButton::clicked, this, &frmAddressBook::addSelected);
    connect(m_ui->cmdRemove, &QPushButton::clicked, this, &frmAddressBook::removeSelected);
    connect(m_ui->cmdOK, &QPushButton::clicked, this, &frmAddressBook::accept);
    connect(m_ui->cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
    m_ui->txtSearch->installEventFilter(this);
}

void frmAddressBook::search() {
    m_typing.stop();
    const std::string text = Trim(ToUtf8(m_ui->txtSearch->text()));
    try {
        m_rows->Search(text, extraRow(text));
    } catch (const PlatformError& error) {
        fail(error);
        return;
    }
    if (m_rows->rowCount() > 0 && !text.empty())
        m_ui->lvNames->setCurrentIndex(m_rows->index(0, 0));
    m_ui->lvNames->scrollToTop();
    enableButtons();
}

std::optional<AddressRow> frmAddressBook::extraRow(const std::string& text) const {
    if (m_options.oneAddress && !m_options.chosen.empty() &&
        m_options.chosen.front().name == text) {
        const PickedRecipient& present = m_options.chosen.front();
        return AddressRow{present.id, present.name, {}, 0};
    }
    if (m_options.forceResolution || !looksLikeAddress(text))
        return std::nullopt;
    return AddressRow{oneOff(text), text, text, 0};
}

EntryID frmAddressBook::oneOff(const std::string& address) const {
    // a message that is never saved makes the entry of an address that stands in no address book
    const auto outbox = m_session.GetDefaultFolder(static_cast<int>(DefaultFolder::Outbox));
    return outbox->Items()->Add("IPM.Note")->Recipients()->Add(address)->ID();
}

void frmAddressBook::addSelected() {
    QModelIndexList rows = m_ui->lvNames->selectionModel()->selectedRows();
    std::ranges::sort(rows, {}, &QModelIndex::row);
    for (const QModelIndex& index : std::as_const(rows)) {
        const AddressRow& row = m_rows->At(index.row());
        add({row.id, row.name}, AddressImage(row.displayType));
    }
    m_ui->lvNames->clearSelection();
    enableButtons();
}

void frmAddressBook::add(const PickedRecipient& recipient, std::string_view image) {
    const QString id = FromUtf8(recipient.id.text());
    for (int i = 0; i < m_ui->lvChosen->count(); ++i)
        if (m_ui->lvChosen->item(i)->data(kIdRole) == id)
            return;
    auto* item = new QListWidgetItem(IconOf(image), FromUtf8(recipient.name), m_ui->lvChosen);
    item->setData(kIdRole, id);
}

void frmAddressBook::removeSelected() {
    const int place = m_ui->lvChosen->currentRow();
    qDeleteAll(m_ui->lvChosen->selectedItems());
    m_ui->lvChosen->setCurrentRow(std::min(place, m_ui->lvChosen->count() - 1));
    enableButtons();
}

void frmAddressBook::enableButtons() {
    const bool name = m_ui->lvNames->selectionModel()->hasSelection();
    m_ui->cmdAdd->setEnabled(name);
    m_ui->cmdRemove->setEnabled(!m_ui->lvChosen->selectedItems().isEmpty());
    m_ui->cmdOK->setEnabled(!m_options.oneAddress || name);
}

void frmAddressBook::onEnter() {
    if (m_typing.isActive())
        search(); // the names are those of the text as it is now
    if (!m_ui->lvNames->selectionModel()->hasSelection())
        return;
    if (m_options.oneAddress) {
        accept();
        return;
    }
    addSelected();
    m_ui->txtSearch->clear(); // the next name; Enter in the empty box is OK
}

void frmAddressBook::accept() {
    // who selected a name and forgot to add it means that name, unless OK empties a list
    if (!m_options.oneAddress && m_options.chosen.empty() && m_ui->lvChosen->count() == 0)
        addSelected();
    QDialog::accept();
}

void frmAddressBook::fail(const PlatformError& error) {
    m_failure = error;
    reject();
}

std::vector<PickedRecipient> frmAddressBook::chosen() const {
    std::vector<PickedRecipient> result;
    if (m_options.oneAddress) {
        const QModelIndexList rows = m_ui->lvNames->selectionModel()->selectedRows();
        for (const QModelIndex& index : rows)
            result.push_back({m_rows->At(index.row()).id, m_rows->At(index.row()).name});
        return result;
    }
    for (int i = 0; i < m_ui->lvChosen->count(); ++i) {
        const QListWidgetItem* item = m_ui->lvChosen->item(i);
        result.push_back({EntryID(ToUtf8(item->data(kIdRole).toString())), ToUtf8(item->text())});
    }
    return result;
}

void frmAddressBook::keyPressEvent(QKeyEvent* event) {
    if (IsEnterIn(*m_ui->lvNames, *event))
        onEnter();
    else if (event->key() == Qt::Key_Delete && m_ui->lvChosen->hasFocus())
        removeSelected();
    else
        QDialog::keyPressEvent(event);
}

bool frmAddressBook::eventFilter(QObject* watched, QEvent* event) {
    if (watched != m_ui->txtSearch || event->type() != QEvent::KeyPress)
        return QDialog::eventFilter(watched, event);
    auto* key = static_cast<QKeyEvent*>(event);
    const bool enter = key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter;
    if (enter && !m_ui->txtSearch->text().isEmpty()) {
        onEnter();
        return true;
    }
    if (key->key() == Qt::Key_Down || key->key() == Qt::Key_Up) {
        // the list is walked while the text is being typed
        QCoreApplication::sendEvent(m_ui->lvNames, event);
        return true;
    }
    return QDialog::eventFilter(watched, event);
}

} // namespace kr
