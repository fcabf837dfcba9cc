#pragma once

#include <functional>
#include <memory>

#include "platform/events/Events.h"
#include "platform/shell/Shell.h"

namespace kr {

/// The desktop by its freedesktop.org conventions: xdg-open, the lists of default applications,
/// sockets for Ping. While a call waits, `events` run and `idle` is called every few milliseconds
/// (the place for DoEvents).
///
/// OpenURL takes http, https and mailto addresses alone. What OpenURL and OpenFile give when the
/// desktop does not take it are the numbers of ShellExecute: 2 no such file, 5 refused, 31 nothing
/// opens it.
std::unique_ptr<Shell> MakeXdgShell(Events& events, std::function<void()> idle = {});

/// True for an address that may be handed to the desktop.
bool IsSafeURL(std::string_view url);

} // namespace kr
