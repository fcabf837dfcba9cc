#include "push/forms/HelpImages.h"

#include "console/forms/Icons.h"

namespace kr {

void ConnectHelp(AgentSession& session, const std::vector<HelpImage>& images) {
    for (const HelpImage& help : images) {
        help.image->setIcon(IconOf("imgPopup"));
        QObject::connect(help.image, &QToolButton::clicked, help.image,
                         [&session, help] { session.ui().Popup(help.title, help.text); });
    }
}

} // namespace kr
