#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "core/Value.h"

namespace kr {

/// A property tag: id in the upper 16 bits, type in the lower ([MS-OXCDATA] 2.11.1).
using PropTag = uint32_t;

constexpr uint16_t PropId(PropTag tag) { return static_cast<uint16_t>(tag >> 16); }
constexpr PropType TypeOf(PropTag tag) { return static_cast<PropType>(tag & 0xFFFF); }
constexpr PropTag MakeTag(uint32_t id, PropType type) {
    return id << 16 | static_cast<uint32_t>(type);
}

// Fixed tags by their canonical names ([MS-OXPROPS]).
constexpr PropTag PR_MESSAGE_CLASS = 0x001A001E;
constexpr PropTag PR_SUBJECT = 0x0037001E;
constexpr PropTag PR_CONVERSATION_TOPIC = 0x0070001E;
constexpr PropTag PR_RECIPIENT_TYPE = 0x0C150003;
constexpr PropTag PR_MESSAGE_FLAGS = 0x0E070003;
constexpr PropTag PR_MESSAGE_SIZE = 0x0E080003;
constexpr PropTag PR_PARENT_ENTRYID = 0x0E090102;
constexpr PropTag PR_HASATTACH = 0x0E1B000B;
constexpr PropTag PR_NORMALIZED_SUBJECT = 0x0E1D001E;
constexpr PropTag PR_STORE_ENTRYID = 0x0FFB0102;
constexpr PropTag PR_ENTRYID = 0x0FFF0102;
constexpr PropTag PR_BODY = 0x1000001E;
constexpr PropTag PR_DISPLAY_NAME = 0x3001001E;
constexpr PropTag PR_ADDRTYPE = 0x3002001E;
constexpr PropTag PR_EMAIL_ADDRESS = 0x3003001E;
constexpr PropTag PR_CREATION_TIME = 0x30070040;
constexpr PropTag PR_LAST_MODIFICATION_TIME = 0x30080040;
constexpr PropTag PR_CONTAINER_CLASS = 0x3613001E;
constexpr PropTag PR_DISPLAY_TYPE = 0x39000003;
constexpr PropTag PR_SMTP_ADDRESS = 0x39FE001E;
constexpr PropTag PR_ACCOUNT = 0x3A00001E;
constexpr PropTag PR_GIVEN_NAME = 0x3A06001E;
constexpr PropTag PR_BUSINESS_TELEPHONE_NUMBER = 0x3A08001E;
constexpr PropTag PR_HOME_TELEPHONE_NUMBER = 0x3A09001E;
constexpr PropTag PR_SURNAME = 0x3A11001E;
constexpr PropTag PR_COMPANY_NAME = 0x3A16001E;
constexpr PropTag PR_TITLE = 0x3A17001E;
constexpr PropTag PR_DEPARTMENT_NAME = 0x3A18001E;
constexpr PropTag PR_OFFICE_LOCATION = 0x3A19001E;
constexpr PropTag PR_MOBILE_TELEPHONE_NUMBER = 0x3A1C001E;
constexpr PropTag PR_BUSINESS_FAX_NUMBER = 0x3A24001E;
constexpr PropTag PR_MAILBOX_OWNER_NAME = 0x661C001E;
constexpr PropTag PR_HAS_NAMED_PROPERTIES = 0x664A000B;
constexpr PropTag PR_LONGTERM_ENTRYID_FROM_TABLE = 0x66700102;
constexpr PropTag PR_ASSOCIATED = 0x67AA000B;
constexpr PropTag PR_EMS_PROXY_ADDRESSES = 0x800F101E;

// Property sets of named properties ([MS-OXPROPS] 1.3.2).
inline constexpr std::string_view PS_PUBLIC_STRINGS = "{00020329-0000-0000-C000-000000000046}";
inline constexpr std::string_view PSETID_Appointment = "{00062002-0000-0000-C000-000000000046}";
inline constexpr std::string_view PSETID_Task = "{00062003-0000-0000-C000-000000000046}";
inline constexpr std::string_view PSETID_Address = "{00062004-0000-0000-C000-000000000046}";
inline constexpr std::string_view PSETID_Common = "{00062008-0000-0000-C000-000000000046}";
inline constexpr std::string_view PSETID_Log = "{0006200A-0000-0000-C000-000000000046}";
inline constexpr std::string_view PSETID_Note = "{0006200E-0000-0000-C000-000000000046}";

} // namespace kr
