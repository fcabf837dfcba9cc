#include "core/Text.h"
#include "platform/store/sqlite/Blob.h"
#include "platform/store/sqlite/Session.h"
#include "platform/store/sqlite/SqliteStore.h"

/// Mail profiles are keys of the person's registry: a sub-key "Services\<n>" for each service with
/// its properties under their tags in hexadecimal, and "Section" for the service's own values.
namespace kr::sqlite {

namespace {

constexpr const char* kSource = "ProfMan.Profiles";
constexpr PropTag kUnresolvedName = 0x6607001E;
constexpr PropTag kUnresolvedServer = 0x6608001E;

std::string tagName(PropTag tag) {
    const uint32_t id = tag;
    const uint8_t bytes[] = {static_cast<uint8_t>(id >> 24), static_cast<uint8_t>(id >> 16),
                             static_cast<uint8_t>(id >> 8), static_cast<uint8_t>(id)};
    return HexOf(bytes, sizeof bytes);
}

RegValue textValue(std::string_view text) {
    RegValue value;
    value.type = RegType::Sz;
    value.text = text;
    return value;
}

/// Texts, numbers, Booleans and binaries are what profiles hold.
RegValue regOf(const Value& value) {
    RegValue out;
    if (value.is<std::string>())
        return textValue(value.text());
    if (const auto* bytes = value.get<Bytes>()) {
        out.type = RegType::Binary;
        out.bytes = *bytes;
        return out;
    }
    if (!value.is<int32_t>() && !value.is<int16_t>() && !value.is<bool>())
        Refuse(MAPI_E_INVALID_TYPE, "A profile can't hold a value of that type.", kSource);
    out.type = RegType::Dword;
    out.number = static_cast<uint32_t>(value.integerOr(value.valueOr(false) ? 1 : 0));
    return out;
}

/// In the form that the tag names; empty for what is of another type.
Value valueOf(const std::optional<RegValue>& value, PropType type) {
    if (!value)
        return {};
    switch (value->type) {
    case RegType::Dword: {
        const auto number = static_cast<int32_t>(value->number);
        if (type == PropType::Boolean)
            return number != 0;
        return ToType(Value(number), type).value_or(Value());
    }
    case RegType::Binary:
        return ToType(Value(value->bytes), type).value_or(Value());
    default:
        return ToType(Value(value->text), type).value_or(Value());
    }
}

class Profile : public MailProfile {
public:
    Profile(Registry& registry, std::string name)
        : m_registry(registry), m_name(std::move(name)),
          m_key(std::string(kProfilesKey) + "\\" + m_name) {}

    std::string Name() const override { return m_name; }
    bool HasService(std::string_view displayName) const override {
        for (const std::string& service : m_registry.SubKeys(Hive::CurrentUser, services()))
            if (const auto name =
                    m_registry.Read(Hive::CurrentUser, services() + "\\" + service, "DisplayName");
                name && EqualNoCase(name->text, displayName))
                return true;
        return false;
    }
    void AddService(std::string_view service, std::string_view displayName) override {
        const size_t n = m_registry.SubKeys(Hive::CurrentUser, services()).size() + 1;
        m_service = services() + "\\" + std::to_string(n);
        write("Service", textValue(service));
        write("DisplayName", textValue(displayName));
    }
    void ConfigureService(const std::vector<std::pair<PropTag, Value>>& bag) override {
        if (m_service.empty())
            Refuse(MAPI_E_NOT_FOUND, "There is no service to configure.", kSource);
        for (const auto& [tag, value] : bag)
            write(tagName(tag), regOf(value));
    }
    Value SectionField(PropTag tag) const override {
        return valueOf(m_registry.Read(Hive::CurrentUser, m_key + "\\Section", tagName(tag)),
                       TypeOf(tag));
    }
    void SetSectionField(PropTag tag, const Value& value) override {
        m_registry.Write(Hive::CurrentUser, m_key + "\\Section", tagName(tag), regOf(value));
    }

private:
    std::string services() const { return m_key + "\\Services"; }
    void write(const std::string& name, const RegValue& value) {
        m_registry.Write(Hive::CurrentUser, m_service, name, value);
    }

    Registry& m_registry;
    std::string m_name;
    std::string m_key;
    std::string m_service; // the last added one
};

class Profiles : public MailProfiles {
public:
    explicit Profiles(Registry& registry) : m_registry(registry) {}
    MailProfilePtr Item(std::string_view name) override {
        for (const std::string& existing :
             m_registry.SubKeys(Hive::CurrentUser, std::string(kProfilesKey)))
            if (EqualNoCase(existing, name))
                return std::make_shared<Profile>(m_registry, existing);
        return nullptr;
    }
    MailProfilePtr Add(std::string_view name, bool isDefault) override {
        if (name.empty() || name.find('\\') != std::string_view::npos)
            Refuse(MAPI_E_INVALID_PARAMETER,
                   "\"" + std::string(name) + "\" can't be the name of a profile.", kSource);
        const std::string key = std::string(kProfilesKey) + "\\" + std::string(name);
        m_registry.CreateKey(Hive::CurrentUser, key);
        if (isDefault)
            m_registry.Write(Hive::CurrentUser, kProfilesKey, "DefaultProfile", textValue(name));
        return std::make_shared<Profile>(m_registry, std::string(name));
    }

private:
    Registry& m_registry;
};

} // namespace

std::shared_ptr<MailProfiles> OpenProfiles(Registry& registry) {
    return std::make_shared<Profiles>(registry);
}

std::optional<ProfileLogon> ReadProfile(Registry& registry, std::string_view name) {
    const std::string key = std::string(kProfilesKey) + "\\" + std::string(name);
    if (name.empty() || !registry.KeyExists(Hive::CurrentUser, key))
        return std::nullopt;
    ProfileLogon logon;
    const std::string services = key + "\\Services";
    for (const std::string& service : registry.SubKeys(Hive::CurrentUser, services)) {
        const std::string section = std::string(services).append("\\").append(service);
        const auto text = [&](PropTag tag) {
            const auto value = registry.Read(Hive::CurrentUser, section, tagName(tag));
            return value ? value->text : std::string();
        };
        if (const std::string mailbox = text(kUnresolvedName); !mailbox.empty())
            logon = {mailbox, text(kUnresolvedServer)};
    }
    return logon;
}

} // namespace kr::sqlite
