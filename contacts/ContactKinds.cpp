#include "contacts/ContactKinds.h"

namespace kr {

void RegisterContactKinds(Console& console, const ContactForms& forms) {
    (void)console;
    (void)forms;
}

} // namespace kr
