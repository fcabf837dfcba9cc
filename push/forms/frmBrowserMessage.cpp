#include "push/forms/frmBrowserMessage.h"

#include "console/forms/FormTools.h"
#include "platform/ui/qt/QtUi.h"
#include "push/basMBL.h"
#include "ui_frmBrowserMessage.h"

namespace kr {

namespace {

constexpr int kColumns = 76;
constexpr int kTargetLines = 6;

constexpr std::string_view kUrlText = "The URL is the source of the message content.";
// deliberate, though the dialog wants a title
constexpr std::string_view kTitleText =
    "This will be the title of the message that appears in the handheld browser message list. If "
    "no title is supplied then the URL will be used.";
constexpr std::string_view kTargetText =
    "Select the handheld users who will receive the message push. You can include both individual "
    "mailboxes and distribution lists, but the message will only be pushed to users with a known "
    "PIN.";

} // namespace

frmBrowserMessage::frmBrowserMessage(AgentSession& session, TreeModel& tree, const EntryID& list,
                                     QWidget* parent)
    : BrowserListForm(session, tree, false, list, parent),
      m_ui(std::make_unique<::Ui::frmBrowserMessage>()) {
    m_ui->setupUi(this);
    for (const std::string_view frequency : kMblFrequencies)
        m_ui->cboPush->addItem(FromUtf8(frequency));
    m_ui->cboPush->setCurrentIndex(form().frequency);
    m_ui->lstTarget->setMinimumHeight(TextRoom(*this, 1, kTargetLines).height());
    setMinimumWidth(TextRoom(*this, kColumns, 1).width());
    Start({m_ui->txtName,
           m_ui->txtTitle,
           m_ui->txtDescription,
           m_ui->txtURL,
           m_ui->chkEnable,
           {m_ui->lstTarget, m_ui->cmdTarget, m_ui->cmdDelTarget, m_ui->cmdDetails},
           "Push Target Details",
           m_ui->cmdOK,
           m_ui->cmdCancel,
           {{m_ui->imgPopup0, "Browser Message Push: List Name", kListNameText},
            {m_ui->imgPopup1, "Browser Message Push: URL", kUrlText},
            {m_ui->imgPopup2, "Browser Message Push: Title", kTitleText},
            {m_ui->imgPopup3, "Browser Message Push: Target", kTargetText}}});
    connect(m_ui->cboPush, &QComboBox::currentIndexChanged, this, [this] { MarkChanged(); });
}

frmBrowserMessage::~frmBrowserMessage() = default;

void frmBrowserMessage::ReadFields() { form().frequency = m_ui->cboPush->currentIndex(); }

} // namespace kr
