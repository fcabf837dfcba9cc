#include "push/forms/frmBrowserChannel.h"

#include "console/forms/FormTools.h"
#include "core/Trap.h"
#include "platform/ui/qt/QtUi.h"
#include "push/forms/PngPicture.h"
#include "push/forms/frmChannelDetails.h"
#include "push/forms/frmTarnProps.h"
#include "ui_frmBrowserChannel.h"

namespace kr {

namespace {

constexpr int kColumns = 84;
constexpr int kPictureColumns = 10;
constexpr int kPictureLines = 4;
constexpr int kTargetLines = 6;

// the misspelt words of these texts are deliberate
constexpr std::string_view kHelp[][2] = {
    {"Browser Channel Push: List Name", ""}, // the text is that of both kinds of lists
    {"Browser Channel Push: URL", "The URL is the source of the channel content."},
    {"Browser Channel Push: Title",
     "The browser channel will appear on the handheld with this title."},
    {"Browser Channel Push: Cache",
     "Check this box to push the content directly to the browser cache on the handheld. An "
     "expiration value greater than 0 tells the handheld to remove the content from the cache once "
     "the specified number of days have passed."},
    {"Browser Channel Push: Target",
     "Select the handheld users who will receive the channel push. You can choose both "
     "individidual "
     "mailboxes and distribution lists, but the channel will only be pushed to users with a known "
     "PIN."},
    {"Browser Channel Push: Unread Icon",
     "This is the icon that will appear on the handheld when the channel is first pushed and after "
     "it is updated."},
    {"Browser Channel Push: Read Icon",
     "The handheld will display this icon after the browser has opened the channel at least once. "
     "If a subsequent updates the channel then this will be replaced with the Unread icon."},
};

} // namespace

frmBrowserChannel::frmBrowserChannel(AgentSession& session, TreeModel& tree, const EntryID& list,
                                     QWidget* parent)
    : BrowserListForm(session, tree, true, list, parent),
      m_ui(std::make_unique<::Ui::frmBrowserChannel>()) {
    m_ui->setupUi(this);
    QToolButton* const images[] = {m_ui->imgPopup0, m_ui->imgPopup1, m_ui->imgPopup2,
                                   m_ui->imgPopup3, m_ui->imgPopup4, m_ui->imgPopup5,
                                   m_ui->imgPopup6};
    std::vector<HelpImage> help;
    for (size_t i = 0; i < std::size(images); ++i)
        help.push_back({images[i], kHelp[i][0], i == 0 ? kListNameText : kHelp[i][1]});
    showCache();
    for (const ChannelIcon which : {ChannelIcon::Unread, ChannelIcon::Read}) {
        picture(which).setFixedSize(TextRoom(*this, kPictureColumns, kPictureLines));
        showStoredIcon(which);
    }
    m_ui->lblLastPush->setText(form().lastPush.empty() ? QString()
                                                       : "Last Push: " + FromUtf8(form().lastPush));
    m_ui->lstTarget->setMinimumHeight(TextRoom(*this, 1, kTargetLines).height());
    setMinimumWidth(TextRoom(*this, kColumns, 1).width());
    Start({m_ui->txtName,
           m_ui->txtTitle,
           m_ui->txtDescription,
           m_ui->txtURL,
           m_ui->chkEnable,
           {m_ui->lstTarget, m_ui->cmdTarget, m_ui->cmdDelTarget, m_ui->cmdPreview},
           "Push Targets",
           m_ui->cmdOK,
           m_ui->cmdCancel,
           std::move(help)});
    connectFields();
    enableFields();
}

frmBrowserChannel::~frmBrowserChannel() = default;

QLabel& frmBrowserChannel::picture(ChannelIcon which) {
    return which == ChannelIcon::Unread ? *m_ui->picIcon_0 : *m_ui->picIcon_1;
}

void frmBrowserChannel::showCache() {
    m_ui->udExpire->SetRule(kExpireRule);
    m_ui->udDepth->SetRule(kDepthRule);
    m_ui->udMaxContent->SetRule(kMaxContentRule);
    m_ui->chkCache->setChecked(form().cache);
    m_ui->chkChild->setChecked(form().child);
    m_ui->udExpire->setValue(form().expire);
    m_ui->udDepth->setValue(form().depth);
    m_ui->udMaxContent->setValue(form().maxContent);
}

void frmBrowserChannel::connectFields() {
    connect(m_ui->chkCache, &QCheckBox::toggled, this, [this] {
        MarkChanged();
        enableFields();
    });
    connect(m_ui->chkChild, &QCheckBox::toggled, this, &frmBrowserChannel::onChild);
    for (NumberBox* box : {m_ui->udExpire, m_ui->udDepth, m_ui->udMaxContent})
        connect(box, &QSpinBox::textChanged, this, [this] { MarkChanged(); });
    connect(m_ui->cmdBrowse_0, &QPushButton::clicked, this,
            [this] { onBrowse(ChannelIcon::Unread); });
    connect(m_ui->cmdBrowse_1, &QPushButton::clicked, this,
            [this] { onBrowse(ChannelIcon::Read); });
    connect(m_ui->cmdDetails, &QPushButton::clicked, this, &frmBrowserChannel::onDetails);
}

void frmBrowserChannel::enableFields() {
    const bool cache = m_ui->chkCache->isChecked();
    const bool child = cache && m_ui->chkChild->isChecked();
    m_ui->udExpire->setEnabled(cache);
    m_ui->chkChild->setEnabled(cache);
    m_ui->udDepth->setEnabled(child);
    m_ui->udMaxContent->setEnabled(child);
}

void frmBrowserChannel::onChild(bool ticked) {
    MarkChanged();
    if (ticked) {
        form().depth = m_ui->udDepth->number();
        form().maxContent = m_ui->udMaxContent->number();
        form().TickChild();
        m_ui->udDepth->setValue(form().depth);
        m_ui->udMaxContent->setValue(form().maxContent);
    }
    enableFields();
}

void frmBrowserChannel::ReadFields() {
    form().cache = m_ui->chkCache->isChecked();
    form().child = m_ui->chkChild->isChecked();
    form().expire = m_ui->udExpire->number();
    form().depth = m_ui->udDepth->number();
    form().maxContent = m_ui->udMaxContent->number();
}

void frmBrowserChannel::showStoredIcon(ChannelIcon which) {
    if (!form().Icon(which).empty() && !ShowPng(picture(which), form().Icon(which)).empty())
        session().log("Error loading bitmap from the stored icon to picture box");
}

void frmBrowserChannel::onBrowse(ChannelIcon which) {
    const auto file = session().ui().OpenFileName(
        which == ChannelIcon::Unread ? "Browser Channel Unread Icon" : "Browser Channel Read Icon",
        "PNG file (*.png)|*.png");
    if (!file)
        return;
    const auto refuse = [&](const std::string& logged, const std::string& reason) {
        session().log(logged + ":" + reason);
        session().ui().MsgBox("'" + *file + "' can't be used as an icon.\r\n" + reason +
                                  "\r\nPlease choose a PNG picture.",
                              BoxIcon::Exclamation);
    };
    Bytes png =
        Trap([&] { return ReadPngFile(*file); },
             [&](const Trapped& error) {
                 refuse("Error creating bitmap from " + *file + " in AxImage", error.description);
             });
    if (png.empty())
        return;
    const std::string reason = ShowPng(picture(which), png);
    if (reason.empty())
        form().SetIcon(which, *file, std::move(png));
    else
        refuse("Error loading bitmap from " + *file + " to picture box", reason);
}

void frmBrowserChannel::onDetails() {
    const auto details = form().lastPush.empty() ? std::nullopt : ReadChannelDetails(form().body);
    if (!details) {
        session().ui().MsgBox("No details are available", BoxIcon::Information);
        return;
    }
    frmChannelDetails(*details, form().name + " - Last Push " + form().lastPush, this).exec();
}

void frmBrowserChannel::Saved() {
    if (form().AskForTarn(session()))
        frmTarnProps(session(), this).exec();
}

} // namespace kr
