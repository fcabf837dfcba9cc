#include "handhelds/forms/PushServerBox.h"

#include <QComboBox>
#include <QRadioButton>

#include "handhelds/PushServerChoice.h"
#include "platform/ui/qt/QtUi.h"

namespace kr {

void ShowPushServers(const PushServerChoice& push, QComboBox& servers, QRadioButton& anyServer,
                     QRadioButton& selectedServer) {
    servers.clear();
    for (const std::string& server : push.Entries())
        servers.addItem(FromUtf8(server));
    servers.setCurrentIndex(static_cast<int>(push.Selected()));
    (push.useSelected ? selectedServer : anyServer).setChecked(true);
    anyServer.setEnabled(push.CanChoose());
    selectedServer.setEnabled(push.CanChoose());
}

void ReadPushServer(PushServerChoice& push, const QComboBox& servers,
                    const QRadioButton& selectedServer) {
    if (servers.currentIndex() >= 0)
        push.Select(static_cast<size_t>(servers.currentIndex()));
    push.useSelected = selectedServer.isChecked();
}

} // namespace kr
