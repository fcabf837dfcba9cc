#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "core/AgentSession.h"
#include "platform/ui/Ui.h"

class QWidget;

namespace kr {

/// The console's own dialogs behind the user interface seam, each over the given window.

/// Throws PlatformError with MAPI_E_USER_CANCEL on Cancel, and what the address book threw.
std::vector<PickedRecipient> ShowAddressBook(RDOSession& session,
                                             const std::vector<PickedRecipient>& chosen,
                                             std::string_view title, bool oneAddress,
                                             bool forceResolution, std::string_view toLabel,
                                             QWidget* parent);
/// Nothing on Cancel. Throws PlatformError when no folder could be read; the log has the reasons.
std::vector<FolderPick> PickFolders(RDOSession& session, const FolderPickOptions& options,
                                    const Log& log, QWidget* parent);
std::unique_ptr<Progress> StartProgress(std::string_view caption, ProgressKind kind,
                                        QWidget* parent);
void Popup(std::string_view title, std::string_view text, QWidget* parent);
bool Warn(std::string_view text, bool& doNotWarnAgain, QWidget* parent);

} // namespace kr
