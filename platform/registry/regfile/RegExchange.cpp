#include "platform/registry/regfile/RegExchange.h"

#include "core/Text.h"
#include "platform/registry/regfile/RegText.h"

namespace kr {

namespace {

struct HivePath {
    std::string_view name;
    Hive hive;
};
constexpr HivePath kHivePaths[] = {
    {"HKEY_CURRENT_USER", Hive::CurrentUser},
    {"HKEY_LOCAL_MACHINE", Hive::LocalMachine},
    {"HKEY_CLASSES_ROOT", Hive::ClassesRoot},
};

std::string pathOf(Hive hive, std::string_view key) {
    for (const HivePath& known : kHivePaths)
        if (known.hive == hive)
            return std::string(known.name) + (key.empty() ? "" : "\\") + std::string(key);
    return {};
}

void exportKey(std::string& out, Registry& registry, Hive hive, const std::string& key) {
    out += '\n';
    AppendRegKey(out, pathOf(hive, key));
    for (const std::string& name : registry.ValueNames(hive, key))
        if (const auto value = registry.Read(hive, key, name))
            AppendRegValue(out, name, *value);
    for (const std::string& child : registry.SubKeys(hive, key))
        exportKey(out, registry, hive,
                  key.empty() ? child : std::string(key).append(1, '\\').append(child));
}

/// Only looks whether the text parses.
class NullSink : public RegSink {
public:
    void OnKey(const std::string&) override {}
    void OnDeleteKey(const std::string&) override {}
    void OnValue(const std::string&, RegValue) override {}
    void OnDeleteValue(const std::string&) override {}
};

class ImportSink : public RegSink {
public:
    explicit ImportSink(Registry& registry) : m_registry(registry) {}
    size_t leftOut() const { return m_leftOut; }

    void OnKey(const std::string& path) override {
        if (locate(path))
            m_registry.CreateKey(m_hive, m_key);
    }
    void OnDeleteKey(const std::string& path) override {
        if (locate(path))
            m_registry.DeleteKey(m_hive, m_key);
    }
    void OnValue(const std::string& name, RegValue value) override {
        if (m_known)
            m_registry.Write(m_hive, m_key, name, value);
    }
    void OnDeleteValue(const std::string& name) override {
        if (m_known)
            m_registry.DeleteValue(m_hive, m_key, name);
    }

private:
    bool locate(const std::string& path) {
        const size_t end = std::min(path.find('\\'), path.size());
        m_known = false;
        for (const HivePath& known : kHivePaths) {
            if (path.substr(0, end) != known.name)
                continue;
            m_hive = known.hive;
            m_key = path.substr(std::min(end + 1, path.size()));
            m_known = true;
        }
        m_leftOut += m_known ? 0 : 1;
        return m_known;
    }

    Registry& m_registry;
    Hive m_hive = Hive::CurrentUser;
    std::string m_key;
    bool m_known = false;
    size_t m_leftOut = 0;
};

} // namespace

std::string ExportReg(Registry& registry, Hive hive, std::string_view key) {
    if (!registry.KeyExists(hive, key))
        return {};
    std::string text(kRegHeader);
    text += '\n';
    exportKey(text, registry, hive, std::string(key));
    return RegTextForWindows(text);
}

size_t ImportReg(Registry& registry, std::string_view content) {
    NullSink probe;
    ParseRegText(content, probe);
    ImportSink sink(registry);
    ParseRegText(content, sink);
    return sink.leftOut();
}

} // namespace kr
