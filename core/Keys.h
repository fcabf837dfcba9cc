#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "core/AgentSession.h"

/// The catalogue of configuration keys: named properties of PS_PUBLIC_STRINGS on the records of the
/// agent mailbox. Console and agent agree on nothing but these names.
namespace kr {

/// The kind of record that carries a key. The same name may stand on two kinds; each record's value
/// stands by itself.
enum class KeyRecord {
    Agent,
    Host,
    User,
    ContactList,
    ContactSource,
    CustomList,
    NotesAndPrivacy,
    ContactItem,
    BrowserList,
    PushList,
    PinList,
    Connector,
    BesRecord,
    Personality,
    CheckList,
    Handheld,
};

/// Defaults that are written after a logon when a key of the agent message reads as empty.
enum class KeyDefault { None, True, Thirty };

struct Key {
    std::string_view name;
    /// Unspecified where only the agent reads and writes it.
    PropType type;
    KeyRecord record;
    /// The subsystem whose feature it belongs to.
    std::string_view owner;
    KeyDefault initial = KeyDefault::None;
};

std::span<const Key> KeyCatalogue();
/// nullptr for a name that the catalogue doesn't know on that kind of record.
const Key* FindKey(KeyRecord record, std::string_view name);
/// The type of a key by its name alone, text where nobody says otherwise; for the few names that
/// stand on several records the types agree.
PropType TypeOfKey(std::string_view name);
Value DefaultOf(const Key& key);

/// Opens the agent message and sets the default of each key that has one and reads as empty; one
/// Save when anything was set, none otherwise.
void InitEPS(AgentSession& session);

} // namespace kr
