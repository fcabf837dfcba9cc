#pragma once

#include <QPlainTextEdit>
#include <optional>
#include <string>
#include <string_view>

#include "core/AgentSession.h"

/// Choosing and showing a contacts folder in a dialog.
namespace kr {

/// The folder picker for contacts folders, in the stores that the options ask for. Nothing when it
/// was cancelled, or failed, which the person was told; the log's line begins with `form`.
std::optional<FolderPick> PickContactFolder(AgentSession& session, FolderPickOptions options,
                                            std::string_view form);

/// The path, one name a line.
void ShowFolderPath(QPlainTextEdit& text, std::string_view path);
/// That the source folder can't be opened, in red.
void ShowNoFolder(QPlainTextEdit& text);

} // namespace kr
