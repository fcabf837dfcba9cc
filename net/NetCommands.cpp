#include "net/NetCommands.h"

#include "console/Console.h"

namespace kr {

void RegisterNetCommands(Console& console) {
    console.RegisterCommand("mnuProxy", [](Console& c) { c.view().ShowForm("frmProxy"); });
}

} // namespace kr
