#include "tests/journeys/Launch.h"

#include <algorithm>

#include "app/App.h"
#include "console/forms/frmFleetMain.h"
#include "core/basExport.h"
#include "platform/ui/qt/QtUi.h"
#include "tests/journeys/Driver.h"

namespace kr::journeys {

namespace {

class RunningApp : public Launched {
public:
    explicit RunningApp(const std::string& commandLine) : m_app(DefaultOptions(commandLine)) {}
    void start() { m_app.Start(); }
    std::string Call(const std::vector<std::string>& words) override {
        if (words[0] == "pick-folder")
            return pickFolder(words);
        if (words[0] == "plant-node")
            return plantNode(words);
        const ListModel& list = m_app.main().console().list();
        if (words[0] == "export-csv")
            return ExportCSV(m_app.session(), list) ? "yes" : "no";
        if (words[0] == "export-xml")
            return ExportXML(m_app.session(), list) ? "yes" : "no";
        throw Failure("there is no procedure " + words[0]);
    }

private:
    // as a record has that another program deletes before the next refresh
    std::string plantNode(const std::vector<std::string>& words) {
        const std::string& key = words.at(1);
        TreeModel& tree = m_app.main().console().tree();
        return tree.Add("langroot", key, "language", key, "") ? "yes" : "no";
    }
    std::string pickFolder(const std::vector<std::string>& words) {
        const auto said = [&](std::string_view word) {
            return std::ranges::find(words, word) != words.end();
        };
        FolderPickOptions options;
        options.allowMail = said("mail");
        options.allowContacts = said("contacts");
        options.allowNotes = said("notes");
        options.allowTasks = said("tasks");
        options.multiple = said("multiple");
        std::string paths;
        for (const FolderPick& pick : m_app.ui().PickFolders(*m_app.session().rdo, options))
            paths += (paths.empty() ? "" : ";") + pick.path;
        return paths;
    }

    App m_app;
};

} // namespace

std::unique_ptr<Launched> Launch(const std::string& commandLine) {
    auto running = std::make_unique<RunningApp>(commandLine);
    running->start();
    return running;
}

} // namespace kr::journeys
