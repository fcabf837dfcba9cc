#include "platform/registry/regfile/RegFileRegistry.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "platform/registry/regfile/RegFile.h"

namespace kr {

namespace {

constexpr long kBadParameter = 87;
constexpr std::string_view kVendor = "zandrel";

std::string_view rootOf(Hive hive) {
    switch (hive) {
    case Hive::CurrentUser:
        return "HKEY_CURRENT_USER";
    case Hive::ClassesRoot:
        return "HKEY_CLASSES_ROOT";
    case Hive::LocalMachine:
        break;
    }
    return "HKEY_LOCAL_MACHINE";
}

std::string fullPath(Hive hive, std::string_view key) {
    return CanonicalRegPath(std::string(rootOf(hive)) + '\\' + std::string(key));
}

/// A key's name stands on a line of its own, so it can hold no line break.
void checkKey(std::string_view key) {
    if (key.find_first_of(std::string_view("\r\n\0", 3)) != std::string_view::npos)
        throw PlatformError(kBadParameter, "A key's name can't hold a line break or NUL",
                            "Registry");
    // The hive's own levels count as well.
    if (static_cast<size_t>(std::count(key.begin(), key.end(), '\\')) + 4 > kRegMaxDepth)
        throw PlatformError(kBadParameter, "Keys are nested too deeply", "Registry");
}

class RegFileRegistry : public Registry {
public:
    RegFileRegistry(const std::string& userFolder, const std::string& machineFolder,
                    const RegFile::Report& report)
        : m_user(userFolder + "/user.reg", true, report),
          m_machine(machineFolder + "/machine.reg", false, report) {}

    bool KeyExists(Hive hive, std::string_view key) override {
        return key.empty() || find(hive, key) != nullptr;
    }

    void CreateKey(Hive hive, std::string_view key) override {
        checkKey(key);
        const std::string path = fullPath(hive, key);
        file(hive).Update([&](RegTree& tree) {
            if (tree.Find(path))
                return false;
            tree.Make(path);
            return true;
        });
    }

    std::optional<RegValue> Read(Hive hive, std::string_view key, std::string_view name) override {
        const RegNode* node = find(hive, key);
        const RegNode::Entry* entry = node ? node->Value(name) : nullptr;
        return entry ? std::optional(entry->value) : std::nullopt;
    }

    void Write(Hive hive, std::string_view key, std::string_view name,
               const RegValue& value) override {
        checkKey(key);
        const std::string path = fullPath(hive, key);
        file(hive).Update(
            [&](RegTree& tree) { return RegTree::SetValue(tree.Make(path), name, value); });
    }

    bool DeleteValue(Hive hive, std::string_view key, std::string_view name) override {
        const RegNode* node = find(hive, key);
        if (!node || !node->Value(name))
            return false;
        const std::string path = fullPath(hive, key);
        return file(hive).Update([&](RegTree& tree) {
            return tree.Find(path) && RegTree::RemoveValue(tree.Make(path), name);
        });
    }

    bool DeleteKey(Hive hive, std::string_view key) override {
        // A hive itself can't be removed.
        if (key.find_first_not_of('\\') == std::string_view::npos || !find(hive, key))
            return false;
        const std::string path = fullPath(hive, key);
        return file(hive).Update([&](RegTree& tree) { return tree.Remove(path); });
    }

    std::vector<std::string> ValueNames(Hive hive, std::string_view key) override {
        std::vector<std::string> names;
        if (const RegNode* node = find(hive, key))
            for (const auto& [folded, entry] : node->values)
                names.push_back(entry.name);
        return names;
    }

    std::vector<std::string> SubKeys(Hive hive, std::string_view key) override {
        std::vector<std::string> names;
        if (const RegNode* node = find(hive, key))
            for (const auto& [folded, child] : node->children)
                names.push_back(child->name);
        return names;
    }

private:
    RegFile& file(Hive hive) { return hive == Hive::CurrentUser ? m_user : m_machine; }
    const RegNode* find(Hive hive, std::string_view key) {
        return file(hive).Current().Find(fullPath(hive, key));
    }

    RegFile m_user;
    RegFile m_machine;
};

std::string environment(const char* name) {
    const char* value = getenv(name);
    return value ? value : "";
}

std::string homeFolder() {
    if (std::string home = environment("HOME"); !home.empty())
        return home;
    const passwd* person = getpwuid(getuid());
    return person && person->pw_dir ? person->pw_dir : "/";
}

} // namespace

std::unique_ptr<Registry> MakeRegFileRegistry(const std::string& userFolder,
                                              const std::string& machineFolder,
                                              const std::function<void(std::string_view)>& report) {
    return std::make_unique<RegFileRegistry>(userFolder, machineFolder, report);
}

std::string UserRegistryFolder() {
    std::string base = environment("XDG_CONFIG_HOME");
    if (!base.starts_with('/')) // a relative folder there means nothing
        base = homeFolder() + "/.config";
    return base + '/' + std::string(kVendor);
}

std::string MachineRegistryFolder() {
    const std::string given = environment("KR_MACHINE_REGISTRY");
    return given.empty() ? "/etc/" + std::string(kVendor) : given;
}

} // namespace kr
