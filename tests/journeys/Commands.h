#pragma once

#include "tests/journeys/Driver.h"
#include "tests/journeys/Peers.h"
#include "tests/journeys/World.h"

namespace kr::journeys {

/// Keys, buttons, nodes, rows, menus, boxes.
void AddInputCommands(Driver& driver);
/// print, screenshot.
void AddPrintCommands(Driver& driver);
/// expect: waits until it is so.
void AddExpectCommands(Driver& driver, World& world, Peers& peers);
/// world, start, close, and what other programs do to the store meanwhile.
void AddWorldCommands(Driver& driver, World& world);

/// The programs that the console talks to, and what a journey remembers.
void AddPeerCommands(Driver& driver, World& world, Peers& peers);

} // namespace kr::journeys
