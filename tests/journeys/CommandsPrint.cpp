#include <QApplication>
#include <QJsonDocument>
#include <QPixmap>
#include <QScreen>
#include <QWindow>
#include <cstdio>

#include "tests/journeys/Commands.h"
#include "tests/journeys/Look.h"

namespace kr::journeys {

namespace {

constexpr int kAllRows = 1000000;

QJsonObject described(const Words& words) {
    const std::string& what = words[0];
    if (what == "tree")
        return TreeAsJson();
    if (what == "list")
        return ListAsJson(*View(words.size() > 1 ? words[1] : "lvMain"), kAllRows);
    if (what == "menu")
        return MenuAsJson();
    if (what == "form")
        return FormAsJson(*ActiveForm());
    if (what == "box")
        return BoxAsJson();
    if (what == "status")
        return StatusAsJson();
    throw Failure("print tree, list [NAME], menu, form, box or status");
}

void print(const Words& words) {
    std::printf("%s\n", QJsonDocument(described(words)).toJson(QJsonDocument::Compact).constData());
    std::fflush(stdout);
}

// Offscreen the window is drawn by itself; on a real display the screen shows menus and frames too.
void screenshot(const Words& words) {
    QWidget* form = ActiveForm();
    const bool wholeScreen = words.size() > 1 && words[1] == "--screen";
    const QPixmap picture = wholeScreen ? form->screen()->grabWindow(0) : form->grab();
    if (picture.isNull() || !picture.save(Q(words[0]), "PNG"))
        throw Failure("the picture can't be written to " + words[0]);
}

} // namespace

void AddPrintCommands(Driver& driver) {
    driver.Add("print", {"tree | list [NAME] | menu | form | box | status",
                         "print what is to be seen as one line of JSON", 1, 2, print, false, true});
    driver.Add("screenshot", {"FILE [--screen]", "write a picture of the active form or the screen",
                              1, 2, screenshot, false, true});
}

} // namespace kr::journeys
