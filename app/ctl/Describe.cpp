#include "app/ctl/Describe.h"

#include <cstdio>

#include "core/Text.h"

namespace kr {

namespace {

using json = nlohmann::ordered_json;

constexpr uint16_t kFirstNamedId = 0x8000;

struct TagName {
    PropTag tag;
    std::string_view name;
};
constexpr TagName kTagNames[] = {{PR_MESSAGE_CLASS, "PR_MESSAGE_CLASS"},
                                 {PR_SUBJECT, "PR_SUBJECT"},
                                 {PR_CONVERSATION_TOPIC, "PR_CONVERSATION_TOPIC"},
                                 {PR_MESSAGE_FLAGS, "PR_MESSAGE_FLAGS"},
                                 {PR_MESSAGE_SIZE, "PR_MESSAGE_SIZE"},
                                 {PR_PARENT_ENTRYID, "PR_PARENT_ENTRYID"},
                                 {PR_HASATTACH, "PR_HASATTACH"},
                                 {PR_NORMALIZED_SUBJECT, "PR_NORMALIZED_SUBJECT"},
                                 {PR_STORE_ENTRYID, "PR_STORE_ENTRYID"},
                                 {PR_ENTRYID, "PR_ENTRYID"},
                                 {PR_BODY, "PR_BODY"},
                                 {PR_DISPLAY_NAME, "PR_DISPLAY_NAME"},
                                 {PR_ADDRTYPE, "PR_ADDRTYPE"},
                                 {PR_EMAIL_ADDRESS, "PR_EMAIL_ADDRESS"},
                                 {PR_CREATION_TIME, "PR_CREATION_TIME"},
                                 {PR_LAST_MODIFICATION_TIME, "PR_LAST_MODIFICATION_TIME"},
                                 {PR_CONTAINER_CLASS, "PR_CONTAINER_CLASS"},
                                 {PR_DISPLAY_TYPE, "PR_DISPLAY_TYPE"},
                                 {PR_SMTP_ADDRESS, "PR_SMTP_ADDRESS"},
                                 {PR_ACCOUNT, "PR_ACCOUNT"},
                                 {PR_GIVEN_NAME, "PR_GIVEN_NAME"},
                                 {PR_BUSINESS_TELEPHONE_NUMBER, "PR_BUSINESS_TELEPHONE_NUMBER"},
                                 {PR_HOME_TELEPHONE_NUMBER, "PR_HOME_TELEPHONE_NUMBER"},
                                 {PR_SURNAME, "PR_SURNAME"},
                                 {PR_COMPANY_NAME, "PR_COMPANY_NAME"},
                                 {PR_TITLE, "PR_TITLE"},
                                 {PR_DEPARTMENT_NAME, "PR_DEPARTMENT_NAME"},
                                 {PR_OFFICE_LOCATION, "PR_OFFICE_LOCATION"},
                                 {PR_MOBILE_TELEPHONE_NUMBER, "PR_MOBILE_TELEPHONE_NUMBER"},
                                 {PR_BUSINESS_FAX_NUMBER, "PR_BUSINESS_FAX_NUMBER"},
                                 {PR_HAS_NAMED_PROPERTIES, "PR_HAS_NAMED_PROPERTIES"},
                                 {PR_ASSOCIATED, "PR_ASSOCIATED"},
                                 {PR_EMS_PROXY_ADDRESSES, "PR_EMS_PROXY_ADDRESSES"}};

struct TypeName {
    PropType type;
    std::string_view name;
};
constexpr TypeName kTypeNames[] = {
    {PropType::Short, "short"},        {PropType::Long, "long"},
    {PropType::Double, "double"},      {PropType::Double5, "double"},
    {PropType::Currency, "currency"},  {PropType::Boolean, "boolean"},
    {PropType::String, "string"},      {PropType::Unicode, "string"},
    {PropType::Time, "time"},          {PropType::Binary, "binary"},
    {PropType::StringList, "strings"}, {PropType::UnicodeList, "strings"}};

std::string hex(PropTag tag) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", tag);
    return text;
}

std::string nameOfType(PropTag tag) {
    for (const TypeName& entry : kTypeNames)
        if (entry.type == TypeOf(tag))
            return std::string(entry.name);
    return hex(static_cast<PropTag>(TypeOf(tag)));
}

std::string timeText(Time time) {
    const auto day = std::chrono::floor<std::chrono::days>(time);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss clock(time - day);
    char text[40];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02dZ", int(date.year()),
                  unsigned(date.month()), unsigned(date.day()), int(clock.hours().count()),
                  int(clock.minutes().count()), int(clock.seconds().count()));
    return text;
}

struct AsJson {
    json operator()(std::monostate) const { return nullptr; }
    json operator()(Currency value) const { return static_cast<double>(value.scaled) / 10000; }
    json operator()(Time value) const { return timeText(value); }
    json operator()(const Bytes& value) const { return HexOf(value.data(), value.size()); }
    template <class T>
    json operator()(const T& value) const {
        return value;
    }
};

// Named properties first by their name, fixed ones by the table.
void nameProperty(json& property, const RDOProperties& object, PropTag tag) {
    const auto named = PropId(tag) >= kFirstNamedId ? object.NameOf(tag) : std::nullopt;
    if (named) {
        char number[16];
        std::snprintf(number, sizeof number, "0x%04X", named->lid);
        property["name"] = named->byNumber ? std::string(number) : named->name;
        property["set"] = named->guid;
        return;
    }
    for (const TagName& entry : kTagNames)
        if (PropId(entry.tag) == PropId(tag))
            property["name"] = entry.name;
}

json recipientsOf(RDOMessage& message) {
    json list = json::array();
    auto recipients = message.Recipients();
    for (int i = 1; i <= recipients->Count(); ++i) {
        auto recipient = recipients->Item(i);
        list.push_back({{"name", recipient->Name()}, {"address", recipient->Address()}});
    }
    return list;
}

json attachmentsOf(RDOMessage& message) {
    json list = json::array();
    auto attachments = message.Attachments();
    for (int i = 1; i <= attachments->Count(); ++i) {
        auto attachment = attachments->Item(i);
        list.push_back({{"name", attachment->DisplayName()}, {"size", attachment->Size()}});
    }
    return list;
}

std::string plain(const json& value) {
    if (value.is_string())
        return value.get<std::string>();
    return value.dump(-1, ' ', false, json::error_handler_t::replace);
}

void propertiesAsText(const json& properties, std::string& text) {
    for (const json& property : properties) {
        text += "    " + property["tag"].get<std::string>() + ' ';
        text += property.value("name", std::string("?"));
        if (property.contains("set"))
            text += ' ' + property["set"].get<std::string>();
        text += ' ' + property["type"].get<std::string>() + " = " + plain(property["value"]) + '\n';
    }
}

} // namespace

json DescribeProperties(const RDOProperties& object) {
    json list = json::array();
    for (const PropTag tag : object.PropList()) {
        json property;
        property["tag"] = hex(tag);
        nameProperty(property, object, tag);
        property["type"] = nameOfType(tag);
        property["value"] = std::visit(AsJson{}, object.Fields(tag).variant());
        list.push_back(std::move(property));
    }
    return list;
}

json DescribeFolder(const RDOFolder& folder, const std::string& path) {
    json result;
    result["kind"] = "folder";
    result["path"] = path;
    result["id"] = folder.ID().text();
    result["class"] = folder.DefaultItemClass();
    result["items"] = folder.Items()->Count();
    result["hidden"] = folder.HiddenItems()->Count();
    return result;
}

json DescribeMessage(RDOMessage& message, const std::string& path, bool hidden) {
    json result;
    result["kind"] = "message";
    result["folder"] = path;
    result["id"] = message.ID().text();
    result["class"] = message.MessageClass();
    result["subject"] = message.Subject();
    result["hidden"] = hidden;
    result["properties"] = DescribeProperties(message);
    result["recipients"] = recipientsOf(message);
    result["attachments"] = attachmentsOf(message);
    return result;
}

json DescribeEntry(const AddressEntry& entry) {
    json result;
    result["kind"] = "entry";
    result["id"] = entry.ID().text();
    result["name"] = entry.Name();
    result["type"] = entry.Type();
    result["displayType"] = entry.DisplayType();
    result["smtp"] = entry.SMTPAddress();
    json members = json::array();
    for (const AddressEntryPtr& member : entry.Members())
        members.push_back(member->Name());
    result["members"] = std::move(members);
    result["properties"] = DescribeProperties(entry);
    return result;
}

std::string AsText(const json& object) {
    std::string text = object.value("kind", std::string());
    for (const auto& [name, value] : object.items())
        if (name != "kind" && !value.is_array())
            text += "  " + name + "=" + plain(value);
    text += '\n';
    for (const std::string_view name : {"members", "recipients", "attachments"})
        if (const auto found = object.find(name); found != object.end() && !found->empty())
            text += "    " + std::string(name) + ": " + plain(*found) + '\n';
    if (const auto found = object.find("properties"); found != object.end())
        propertiesAsText(*found, text);
    return text;
}

} // namespace kr
