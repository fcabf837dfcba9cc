#pragma once

#include "contacts/ContactForms.h"

namespace kr {

class Console;

/// Registers the kinds, lists and commands of contact sources.
void RegisterContactKinds(Console& console, const ContactForms& forms);

// its parts, each in the file of its subject
void RegisterAcfKinds(Console& console, const ContactForms& forms);
void RegisterAcdsKinds(Console& console, const ContactForms& forms);
void RegisterMclKinds(Console& console, const ContactForms& forms);
void RegisterPrivacyCommands(Console& console, const ContactForms& forms);
void RegisterNoteKinds(Console& console, const ContactForms& forms);

} // namespace kr
