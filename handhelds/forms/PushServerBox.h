#pragma once

class QComboBox;
class QRadioButton;

namespace kr {

class PushServerChoice;

/// cboPushServer and optUseSelected of the connectors' dialogs.
void ShowPushServers(const PushServerChoice& push, QComboBox& servers, QRadioButton& anyServer,
                     QRadioButton& selectedServer);
void ReadPushServer(PushServerChoice& push, const QComboBox& servers,
                    const QRadioButton& selectedServer);

} // namespace kr
