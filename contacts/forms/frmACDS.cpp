#include "contacts/forms/frmACDS.h"

#include "console/forms/FormTools.h"
#include "console/forms/Icons.h"
#include "contacts/basACDS.h"
#include "contacts/basACF.h"
#include "contacts/forms/frmCxn.h"
#include "contacts/forms/frmQueryResult.h"
#include "core/Text.h"
#include "platform/ui/qt/QtUi.h"
#include "ui_frmACDS.h"

namespace kr {

namespace {

constexpr int kColumns = 88;
constexpr int kLines = 24;

constexpr std::string_view kAboutConnection = "Alternate Contact Data Source: Connection";
constexpr std::string_view kConnectionText =
    "The connection string supplies the required parameters to open an ADODB connection to the "
    "target database.\n\n"
    "The Build... button will help you construct a standard string for connecting to a SQL Server "
    "database, or you can enter a connection string directly.";
constexpr std::string_view kAboutQuery = "Alternate Contact Data Source: Query";
constexpr std::string_view kQueryText =
    "A query can be the name of a stored procedure or a SQL SELECT statement reading from a view "
    "or from one or more tables. The return values from the query must include a column named "
    "'Email1' containing a valid email address or, if 'Include contacts with no email address' "
    "will be used for a Mandatory Contact List then it must return a column named 'UniqueID' with "
    "the the unique identifer for each record.\n\n"
    "Data will only be imported from columns with names that map to the supported fields.";

} // namespace

frmACDS::frmACDS(AgentSession& session, const EntryID& record, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<::Ui::frmACDS>()), m_session(session), m_id(record) {
    m_ui->setupUi(this);
    for (QToolButton* help : {m_ui->imgPopup0, m_ui->imgPopup1})
        help->setIcon(IconOf("imgPopup"));
    load();
    resize(TextRoom(*this, kColumns, kLines));
    connect(m_ui->txtName, &QLineEdit::textEdited, this, [this] { m_changed = true; });
    for (QPlainTextEdit* text : {m_ui->txtDescription, m_ui->txtQuery})
        connect(text, &QPlainTextEdit::textChanged, this, [this] { m_changed = true; });
    connect(m_ui->txtCxnString, &QPlainTextEdit::textChanged, this, &frmACDS::onTyped);
    connect(m_ui->imgPopup0, &QToolButton::clicked, this,
            [this] { m_session.ui().Popup(kAboutConnection, kConnectionText); });
    connect(m_ui->imgPopup1, &QToolButton::clicked, this,
            [this] { m_session.ui().Popup(kAboutQuery, kQueryText); });
    connect(m_ui->cmdEdit, &QPushButton::clicked, this, &frmACDS::onEdit);
    connect(m_ui->cmdTest, &QPushButton::clicked, this, &frmACDS::onTest);
    connect(m_ui->cmdView, &QPushButton::clicked, this, &frmACDS::onView);
    connect(m_ui->cmdOK, &QPushButton::clicked, this, &frmACDS::onOK);
    connect(m_ui->cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
    m_ui->txtName->setFocus();
}

frmACDS::~frmACDS() = default;

void frmACDS::load() {
    const auto record = m_id.empty() ? std::nullopt : ReadAcds(m_session, m_id);
    if (!record)
        return;
    m_ui->txtName->setText(FromUtf8(record->name));
    m_ui->txtDescription->setPlainText(FromUtf8(record->description));
    m_ui->txtQuery->setPlainText(FromUtf8(record->query));
    m_cxnString = record->cxnString;
    showConnection();
}

void frmACDS::showConnection() {
    m_filling = true;
    m_ui->txtCxnString->setPlainText(FromUtf8(MaskPassword(m_cxnString)));
    m_filling = false;
}

void frmACDS::onTyped() {
    if (m_filling)
        return;
    // deliberately also when the "*" of the password still stand in it
    m_cxnString = ToUtf8(m_ui->txtCxnString->toPlainText());
    m_changed = true;
}

void frmACDS::onEdit() {
    const auto built = EditConnectionString(m_session, m_cxnString, this);
    if (!built)
        return;
    m_cxnString = *built;
    showConnection();
    m_changed = true;
}

void frmACDS::onTest() { TestConnection(m_session, m_cxnString); }

void frmACDS::onView() {
    const AcdsSource record = fields();
    if (record.query.empty())
        return;
    QueryToShow query;
    query.cxnString = record.cxnString;
    query.query = record.query;
    query.caption = record.name + " - Mapped Fields";
    ShowQueryResult(m_session, query, this);
}

AcdsSource frmACDS::fields() const {
    return {ToUtf8(m_ui->txtName->text()), m_cxnString, ToUtf8(m_ui->txtQuery->toPlainText()),
            ToUtf8(m_ui->txtDescription->toPlainText())};
}

bool frmACDS::refuse(const std::string& text, QWidget* focus) {
    m_session.ui().MsgBox(text, BoxIcon::Exclamation);
    focus->setFocus();
    return false;
}

bool frmACDS::complete(const AcdsSource& record) {
    if (Trim(record.cxnString).empty())
        return refuse("You must supply the connection string!", m_ui->txtCxnString);
    if (Trim(record.query).empty())
        return refuse("You must supply the query string!", m_ui->txtQuery);
    if (Trim(record.name).empty())
        return refuse("You must provide a unique name for this Alternate Contact Data Source",
                      m_ui->txtName);
    return true;
}

bool frmACDS::free(const AcdsSource& record) {
    const std::string name = Trim(record.name);
    if (AcfNameInUse(m_session, m_id, name))
        return refuse("'" + name + "' is already in use.\nPlease provide a different name",
                      m_ui->txtName);
    if (AcdsQueryInUse(m_session, m_id, record.cxnString, record.query))
        return refuse("The connection string and query are in use for a different data source!\n"
                      "Please change one or both of these strings",
                      m_ui->txtCxnString);
    return true;
}

void frmACDS::onOK() {
    const AcdsSource record = fields();
    if (!complete(record))
        return;
    if (!m_changed) {
        reject();
        return;
    }
    if (!free(record))
        return;
    m_saved = SaveAcds(m_session, m_id, record);
    if (!m_saved.empty())
        accept();
}

} // namespace kr
