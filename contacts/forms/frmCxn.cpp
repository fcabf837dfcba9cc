#include "contacts/forms/frmCxn.h"

#include "console/forms/FormTools.h"
#include "platform/ui/qt/QtUi.h"
#include "ui_frmCxn.h"

namespace kr {

namespace {

constexpr int kColumns = 64;
constexpr int kNoticeLines = 1;

void showPair(QWidget& label, QWidget& control, bool visible) {
    label.setVisible(visible);
    control.setVisible(visible);
}

} // namespace

frmCxn::frmCxn(AgentSession& session, const CxnFields& fields, QWidget* parent)
    : QDialog(parent), m_ui(std::make_unique<::Ui::frmCxn>()), m_session(session) {
    m_ui->setupUi(this);
    fillLists();
    connect(m_ui->cboType, &QComboBox::currentIndexChanged, this, &frmCxn::onType);
    connect(m_ui->cboSecurity, &QComboBox::currentIndexChanged, this, &frmCxn::onSecurity);
    connect(m_ui->cmdOK, &QPushButton::clicked, this, &frmCxn::onOK);
    connect(m_ui->cmdCancel, &QPushButton::clicked, this, &QDialog::reject);
    m_ui->lblMain->setMinimumHeight(TextRoom(*this, 1, kNoticeLines).height());
    // room for all fields, so that the window keeps its size when the type changes
    resize(TextRoom(*this, kColumns, 1).width(), sizeHint().height());
    fill(fields);
}

frmCxn::~frmCxn() = default;

void frmCxn::fillLists() {
    for (const CxnTypeInfo& info : CxnTypes())
        m_ui->cboType->addItem(FromUtf8(info.name));
    for (const std::string_view security : kCxnSecurities)
        m_ui->cboSecurity->addItem(FromUtf8(security));
    for (const std::string_view format : kCxnFormats)
        m_ui->cboFormat->addItem(FromUtf8(format));
    m_ui->cboType->setCurrentIndex(-1);
}

void frmCxn::fill(const CxnFields& fields) {
    m_ui->cboType->setCurrentIndex(static_cast<int>(fields.type));
    if (fields.type == CxnType::None) {
        showPair(*m_ui->lblFormat, *m_ui->cboFormat, false);
        onSecurity();
    }
    m_ui->txtDataSource->setText(FromUtf8(fields.dataSource));
    m_ui->txtCatalog->setText(FromUtf8(fields.catalog));
    m_ui->cboSecurity->setCurrentIndex(static_cast<int>(fields.security));
    m_ui->txtUserID->setText(FromUtf8(fields.userID));
    m_ui->txtPWD->setText(FromUtf8(fields.password));
    if (!fields.format.empty())
        m_ui->cboFormat->setCurrentText(FromUtf8(fields.format));
}

CxnType frmCxn::type() const { return static_cast<CxnType>(m_ui->cboType->currentIndex()); }

CxnFields frmCxn::fields() const {
    CxnFields fields;
    fields.type = type();
    fields.dataSource = ToUtf8(m_ui->txtDataSource->text());
    fields.catalog = ToUtf8(m_ui->txtCatalog->text());
    fields.security = static_cast<CxnSecurity>(m_ui->cboSecurity->currentIndex());
    fields.userID = ToUtf8(m_ui->txtUserID->text());
    fields.password = ToUtf8(m_ui->txtPWD->text());
    fields.format = ToUtf8(m_ui->cboFormat->currentText());
    return fields;
}

void frmCxn::onType() {
    if (type() == CxnType::Other || type() == CxnType::None)
        return; // deliberately leaves everything as it was
    const CxnTypeInfo& info = InfoOf(type());
    m_ui->lblDataSource->setText(FromUtf8(info.sourceLabel));
    m_ui->lblMain->setText(FromUtf8(info.notice));
    showPair(*m_ui->lblCatalog, *m_ui->txtCatalog, info.catalog);
    showPair(*m_ui->lblSecurity, *m_ui->cboSecurity, info.security);
    showPair(*m_ui->lblUserID, *m_ui->txtUserID, info.security);
    showPair(*m_ui->lblPWD, *m_ui->txtPWD, info.security);
    showPair(*m_ui->lblFormat, *m_ui->cboFormat, info.format);
    CxnFields chosen;
    ChooseCxnType(chosen, type());
    m_ui->cboSecurity->setCurrentIndex(static_cast<int>(chosen.security));
    onSecurity();
}

void frmCxn::onSecurity() {
    const bool own =
        m_ui->cboSecurity->currentIndex() == static_cast<int>(CxnSecurity::SupplyIdentity);
    for (QWidget* control : std::initializer_list<QWidget*>{m_ui->lblUserID, m_ui->txtUserID,
                                                            m_ui->lblPWD, m_ui->txtPWD})
        control->setEnabled(own);
}

void frmCxn::onOK() {
    const CxnFields built = fields();
    // shown on the dialog, whether or not the dialog itself is on the screen
    const bool catalogShown = m_ui->txtCatalog->isVisibleTo(this);
    const std::string missing =
        MissingCxnField(built, ToUtf8(m_ui->lblDataSource->text()), catalogShown);
    if (!missing.empty()) {
        m_session.ui().MsgBox(missing, BoxIcon::Exclamation);
        const bool source = m_ui->txtDataSource->text().trimmed().isEmpty();
        (source ? m_ui->txtDataSource : m_ui->txtCatalog)->setFocus();
        return;
    }
    m_text = BuildConnectionString(built);
    m_cancelled = false;
    accept();
}

void frmCxn::showEvent(QShowEvent* event) {
    m_ui->cboType->setFocus();
    QDialog::showEvent(event);
}

std::optional<std::string> EditConnectionString(AgentSession& session, const std::string& text,
                                                QWidget* parent) {
    const auto fields = LoadConnectionString(text);
    if (!fields) {
        session.ui().MsgBox("Unable to load connection string to edit dialog.\n"
                            "The provider is not recognized.",
                            BoxIcon::Exclamation);
        return {};
    }
    frmCxn form(session, *fields, parent);
    form.exec();
    if (form.cancelled())
        return {};
    return form.connectionString();
}

} // namespace kr
