#pragma once

#include "tests/journeys/Driver.h"
#include "tests/journeys/World.h"

namespace kr::journeys {

/// Keys, buttons, nodes, rows, menus, boxes.
void AddInputCommands(Driver& driver);
/// print, screenshot.
void AddPrintCommands(Driver& driver);
/// expect: waits until it is so.
void AddExpectCommands(Driver& driver, World& world);
/// world, start, close, and what other programs do to the store meanwhile.
void AddWorldCommands(Driver& driver, World& world);

} // namespace kr::journeys
