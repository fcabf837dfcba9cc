#include "tests/journeys/World.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>

#include "app/ctl/AdminCtl.h"
#include "app/sample/Sample.h"
#include "core/Text.h"
#include "platform/registry/regfile/RegFileRegistry.h"
#include "tests/journeys/Driver.h"

namespace kr::journeys {

namespace {

std::unique_ptr<Registry> registryOfNow() {
    return MakeRegFileRegistry(UserRegistryFolder(), MachineRegistryFolder());
}

} // namespace

std::string World::folder() const { return m_folder ? m_folder->path().toStdString() : ""; }

void World::Make(const std::string& kind, size_t users) {
    if (m_folder)
        throw Failure("there is a world already");
    if (kind != "none" && kind != "empty" && kind != "sample")
        throw Failure("a world is none, empty or sample");
    m_folder = std::make_unique<QTemporaryDir>(QDir::tempPath() + "/kr-journey-XXXXXX");
    const auto point = [&](const char* variable, const char* name) {
        QDir(m_folder->path()).mkpath(name);
        qputenv(variable, (m_folder->path() + "/" + name).toUtf8());
    };
    point("XDG_CONFIG_HOME", "config");
    point("XDG_STATE_HOME", "state");
    point("XDG_DATA_HOME", "data");
    point("XDG_CACHE_HOME", "cache");
    point("KR_MACHINE_REGISTRY", "machine");
    point("TMPDIR", "tmp");
    // no programs that show files, whatever this machine has
    point("XDG_DATA_DIRS", "share");
    point("XDG_CONFIG_DIRS", "etc");
    // nor a proxy that it is behind
    for (const char* variable : {"http_proxy", "https_proxy", "HTTPS_PROXY", "all_proxy",
                                 "ALL_PROXY", "no_proxy", "NO_PROXY"})
        qunsetenv(variable);
    if (kind == "none")
        return;
    SampleOptions options;
    options.users = users;
    options.empty = kind == "empty";
    const std::string store = folder() + "/org.kr";
    MakeSample(store, options);
    RegisterStore(*registryOfNow(), store, "MAIL01");
    m_organisation = std::make_unique<Organisation>(store);
    m_session = m_organisation->OpenSession("agentbox");
}

RDOFolderPtr World::folderAt(const std::string& path) {
    if (!m_session)
        throw Failure("this world has no store");
    RDOFolderPtr folder = m_session->Stores().DefaultStore()->RootFolder();
    for (const std::string& name : SplitNonEmpty(ReplaceAll(path, "\\", "/"), "/"))
        if (folder)
            folder = folder->Folders()->Item(name);
    return folder;
}

RDOMessagePtr World::Find(const std::string& path, const std::string& subject) {
    auto folder = folderAt(path);
    auto items = folder ? folder->Items() : nullptr;
    for (int i = 1; items && i <= items->Count(); ++i)
        if (auto item = items->Item(i); item->Subject() == subject)
            return item;
    return nullptr;
}

int World::Count(const std::string& path) {
    auto folder = folderAt(path);
    return folder ? folder->Items()->Count() : 0;
}

void World::Delete(const std::string& path, const std::string& subject) {
    auto message = Find(path, subject);
    if (!message)
        throw Failure("there is no record " + subject + " in " + path);
    message->Delete();
}

void World::SetKey(const std::string& path, const std::string& subject, const std::string& key,
                   const std::string& text) {
    auto message = Find(path, subject);
    if (!message)
        throw Failure("there is no record " + subject + " in " + path);
    message->SetFields(message->GetIDsFromNames(PS_PUBLIC_STRINGS, key) |
                           static_cast<PropTag>(PropType::String),
                       text);
    message->Save();
}

void World::SetRegistry(const std::string& hive, const std::string& key, const std::string& name,
                        const std::string& text) {
    RegValue value;
    value.type = RegType::Sz;
    value.text = text;
    registryOfNow()->Write(hive == "HKLM" ? Hive::LocalMachine : Hive::CurrentUser, key, name,
                           value);
}

std::string World::LogText() const {
    QDirIterator files(QString::fromStdString(folder()), {"KR-Admin.log"}, QDir::Files,
                       QDirIterator::Subdirectories);
    if (!files.hasNext())
        return {};
    QFile file(files.next());
    return file.open(QIODevice::ReadOnly) ? file.readAll().toStdString() : std::string();
}

} // namespace kr::journeys
