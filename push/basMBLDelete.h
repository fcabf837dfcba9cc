#pragma once

#include <string>
#include <string_view>

#include "push/PushContext.h"
#include "push/PushForms.h"
#include "push/ResultDocument.h"

/// Takes channels from handhelds. Each request goes to one handheld, and the person can stop before
/// the next one.
namespace kr {

/// Takes a channel from the handhelds of those names, or of those PINs where there are no names,
/// and notes in the document what became of each. False when the person stopped it.
bool DeleteChannelFromTargets(const PushContext& context, std::string_view channelId,
                              ResultDocument& document, std::string_view names,
                              std::string_view pins, std::string_view notifyUrl);

/// Soft-deletes a list: it is renamed and marked, and a channel is taken from its handhelds in the
/// window. False when the list is still there.
bool DeleteBrowserList(AgentSession& session, TreeModel& tree, const PushForms::Window& window,
                       const EntryID& list);
/// Takes every channel there was from the handhelds of chosen people, with all its questions, in
/// the window.
void ClearBrowserChannels(AgentSession& session, TreeModel& tree, const PushForms::Window& window);

} // namespace kr
