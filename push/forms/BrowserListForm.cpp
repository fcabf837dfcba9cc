#include "push/forms/BrowserListForm.h"

#include <QEvent>

#include "core/basText.h"
#include "net/basWeb.h"
#include "platform/ui/qt/QtUi.h"
#include "push/forms/TargetWindow.h"

namespace kr {

const std::string_view kListNameText =
    "The list name is only displayed in the zandrelAgent administrator. This value is not sent to "
    "the handheld.";

BrowserListForm::BrowserListForm(AgentSession& session, TreeModel& tree, bool isChannel,
                                 const EntryID& list, QWidget* parent)
    : QDialog(parent), m_session(session), m_tree(tree), m_form(isChannel) {
    if (!list.empty())
        m_readable = m_form.Load(session, list);
}

void BrowserListForm::Start(const Controls& controls) {
    m_controls = controls;
    m_target = new RecipientBox(
        m_session, m_controls.target, {"Target - Authorized Recipients", "List"},
        [this](const std::string& addresses) {
            ShowTargets(m_session, m_tree, m_controls.previewTitle, addresses, this);
        },
        this);
    showFields();
    connectAll();
    m_controls.name->setFocus();
}

void BrowserListForm::showFields() {
    m_controls.name->setText(FromUtf8(m_form.name));
    m_controls.title->setText(FromUtf8(m_form.title));
    m_controls.description->setText(FromUtf8(m_form.description));
    m_controls.url->setText(FromUtf8(m_form.url));
    m_controls.enable->setChecked(m_form.enable);
    m_target->Set(m_form.names, m_form.addresses);
    m_controls.ok->setEnabled(m_readable);
}

void BrowserListForm::connectAll() {
    ConnectHelp(m_session, m_controls.help);
    for (QLineEdit* field :
         {m_controls.name, m_controls.title, m_controls.description, m_controls.url})
        connect(field, &QLineEdit::textChanged, this, [this] { MarkChanged(); });
    connect(m_controls.enable, &QCheckBox::toggled, this, [this] { MarkChanged(); });
    connect(m_target, &RecipientBox::changed, this, [this] { MarkChanged(); });
    m_controls.url->installEventFilter(this);
    connect(m_controls.ok, &QPushButton::clicked, this, [this] { onOK(); });
    connect(m_controls.cancel, &QPushButton::clicked, this, &QDialog::reject);
}

bool BrowserListForm::eventFilter(QObject* object, QEvent* event) {
    if (object == m_controls.url && event->type() == QEvent::MouseButtonDblClick)
        openUrl();
    return QDialog::eventFilter(object, event);
}

void BrowserListForm::openUrl() {
    std::string url = ToUtf8(m_controls.url->text().trimmed());
    if (url.empty())
        return;
    CanonizeProtocol(m_session, url);
    OpenURL(m_session.platform.shell, url);
}

void BrowserListForm::onOK() {
    m_form.name = ToUtf8(m_controls.name->text());
    m_form.title = ToUtf8(m_controls.title->text());
    m_form.description = ToUtf8(m_controls.description->text());
    m_form.url = ToUtf8(m_controls.url->text());
    m_form.enable = m_controls.enable->isChecked();
    m_form.names = m_target->names();
    m_form.addresses = m_target->addresses();
    ReadFields();
    ChannelForm::Focus focus = ChannelForm::Focus::None;
    switch (m_form.Save(m_session, focus)) {
    case ChannelForm::Outcome::Saved:
        m_saved = m_form.id();
        Saved();
        accept();
        break;
    case ChannelForm::Outcome::Unchanged:
        reject();
        break;
    case ChannelForm::Outcome::Refused:
        (focus == ChannelForm::Focus::Title ? m_controls.title
         : focus == ChannelForm::Focus::Url ? m_controls.url
                                            : m_controls.name)
            ->setFocus();
        break;
    case ChannelForm::Outcome::Failed:
        break;
    }
}

} // namespace kr
