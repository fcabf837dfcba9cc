#include "contacts/ContactKinds.h"

namespace kr {

void RegisterContactKinds(Console& console, const ContactForms& forms) {
    RegisterAcfKinds(console, forms);
    RegisterAcdsKinds(console, forms);
    RegisterMclKinds(console, forms);
    RegisterPrivacyCommands(console, forms);
    RegisterNoteKinds(console, forms);
}

} // namespace kr
