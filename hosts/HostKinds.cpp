#include "hosts/HostKinds.h"

namespace kr {

void RegisterHostKinds(Console& console, const HostForms& forms) {
    (void)console;
    (void)forms;
}

} // namespace kr
