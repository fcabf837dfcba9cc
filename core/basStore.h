#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/AgentSession.h"

/// The program's own layer over the session library. Nothing here raises: what fails gives nothing
/// or an empty value, and is logged where the procedure has a text for it.
namespace kr {

/// The message of that id, also when it lies in the public store although `storeID` is empty: the
/// second try goes there. Only a message whose id compares equal is given.
RDOMessagePtr GetMessage(AgentSession& session, const EntryID& id, const EntryID& storeID = {});
RDOFolderPtr GetFolder(AgentSession& session, const EntryID& id, const EntryID& storeID = {});

/// The tag of a named property for this object's store; `guid` empty means PS_PUBLIC_STRINGS. The
/// type alone (id 0) when the store gives no id. Holds for that store only: never keep it.
PropTag GetPropTag(RDOProperties& object, std::string_view name, PropType type,
                   std::string_view guid = {});

/// The value when it is of the form that the tag's type wants, else that type's empty form: "", 0,
/// False, the zero date; binary becomes hexadecimal text. Nothing is converted.
Value CoerceToPropType(const Value& value, PropTag tag);
/// The same by a small number of the field's kind.
enum class FieldKind { String = 0, Integer = 1, Date = 2, Binary = 3, Long = 4, Boolean = 5 };
Value CoerceToFieldKind(const Value& value, FieldKind kind);

/// A configuration key by its name, of the type that the catalogue gives it; empty when unset. The
/// plain readers take the default for an unset key only: a value of a wrong type reads as "", 0 or
/// False, and stays as it is.
Value GetKey(RDOProperties& record, std::string_view key);
std::string KeyText(RDOProperties& record, std::string_view key);
int32_t KeyNumber(RDOProperties& record, std::string_view key, int32_t fallback);
bool KeyFlag(RDOProperties& record, std::string_view key, bool fallback = false);
/// GetKey for whoever decides about a write by it: a failed read throws instead of passing for an
/// unset key.
Value RequireKey(RDOProperties& record, std::string_view key);
/// Keeps the value in the record until its Save; throws PlatformError as the store does.
void SetKey(RDOProperties& record, std::string_view key, const Value& value);

/// Ids of the folder's items of that class and subject; at least one must be given, else nothing.
std::vector<EntryID> GetMessageIDs(AgentSession& session, RDOFolder& folder,
                                   std::string_view messageClass, std::string_view subject);
/// The same for whoever creates a record when there is none: a failed search throws instead of
/// passing for an empty one.
std::vector<EntryID> RequireMessageIDs(RDOFolder& folder, std::string_view messageClass,
                                       std::string_view subject);

/// One condition of GetFilteredIDs. A tag that isn't 0 is used as it stands; else the name is
/// looked up with the type, where 0 means text.
struct FieldFilter {
    std::string name;
    PropType type = PropType::Unspecified;
    PropTag tag = 0;
    Value value;
};
std::vector<EntryID> GetFilteredIDs(AgentSession& session, RDOFolder& folder,
                                    const std::vector<FieldFilter>& filters, bool hidden);

/// A folder by its display path ("\\Public Folders\All Public Folders\..." or "\\Mailbox - ...");
/// shows what is wrong with the path and gives nothing.
RDOFolderPtr GetRDOFolder(AgentSession& session, std::string_view path);

/// Name and address of a person behind a recipient list.
struct ExpandedRecipient {
    std::string name;
    std::string address;
};
/// The people behind a ";"-separated list of entry ids: nested lists are entered once, query-based
/// lists ask the directory.
std::vector<ExpandedRecipient> ExpandRecipients(AgentSession& session, std::string_view ids);

/// The address behind the first "SMTP:" (capitals mark the primary one) among the proxy addresses.
std::string GetPrimarySMTP(RDOProperties& entry);
/// The same for an entry whose type may be "SMTP" already.
std::string SmtpOfEntry(AddressEntry& entry);

} // namespace kr
