#pragma once

#include <QToolButton>
#include <string_view>
#include <vector>

#include "core/AgentSession.h"

namespace kr {

/// One symbol beside a field and the help that it shows.
struct HelpImage {
    QToolButton* image;
    std::string_view title;
    std::string_view text;
};
void ConnectHelp(AgentSession& session, const std::vector<HelpImage>& images);

} // namespace kr
