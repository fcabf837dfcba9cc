#include <glob.h>

#include <QApplication>
#include <QDateTime>
#include <QFile>
#include <QJsonArray>
#include <QLocale>

#include "app/ctl/Describe.h"
#include "core/Text.h"
#include "tests/journeys/Commands.h"
#include "tests/journeys/Look.h"

namespace kr::journeys {

namespace {

void same(const std::string& what, const QString& is, const std::string& wanted) {
    if (S(is) != wanted)
        throw Failure(what + " is \"" + S(is) + "\"");
}
void same(const std::string& what, int is, const std::string& wanted) {
    same(what, QString::number(is), wanted);
}
void holds(const std::string& what, const QString& is, const std::string& wanted) {
    if (!is.contains(Q(wanted)))
        throw Failure(what + " is \"" + S(is) + "\"");
}
void need(bool so, const std::string& otherwise) {
    if (!so)
        throw Failure(otherwise);
}

QString status() { return StatusAsJson()["status"].toString(); }
QString title() { return StatusAsJson()["title"].toString(); }
QAbstractItemModel& listModel() { return *View("lvMain")->model(); }

QString boxText() {
    const QMessageBox* box = Box();
    need(box != nullptr, "no box is open");
    return box->text();
}

// Rows shown; those that a person still has to scroll to count as well.
void columns(const Words& words) {
    const QJsonArray are = ListAsJson(*View("lvMain"), 0)["columns"].toArray();
    QStringList names;
    for (const auto& name : are)
        names << name.toString();
    QStringList wanted;
    for (const std::string& word : words)
        wanted << Q(word);
    need(names == wanted, "the columns are \"" + S(names.join("\" \"")) + "\"");
}

void cell(const Words& words) {
    const QModelIndex row = RowOf(*View("lvMain"), words[0]);
    need(row.isValid(), "there is no row " + words[0]);
    for (int column = 0; column < listModel().columnCount(); ++column)
        if (listModel().headerData(column, Qt::Horizontal).toString() == Q(words[1]))
            return same("the cell", row.siblingAtColumn(column).data().toString(), words[2]);
    throw Failure("there is no column " + words[1]);
}

// Dates as lists show them; what is no date comes before every date.
QDateTime dateIn(const QModelIndex& index) {
    const QString text = index.data().toString();
    return QLocale::c().toDateTime(text, "M/d/yyyy h:mm:ss AP");
}

void sortedByDate(const Words& words) {
    const QAbstractItemModel& model = listModel();
    int column = 0;
    while (column < model.columnCount() &&
           model.headerData(column, Qt::Horizontal).toString() != Q(words[0]))
        ++column;
    need(column < model.columnCount(), "there is no column " + words[0]);
    int dates = 0;
    for (int row = 0; row < model.rowCount(); ++row) {
        const QDateTime here = dateIn(model.index(row, column));
        dates += here.isValid();
        if (row == 0)
            continue;
        const QDateTime above = dateIn(model.index(row - 1, column));
        const bool rising = !above.isValid() || (here.isValid() && above <= here);
        const bool falling = !here.isValid() || (above.isValid() && above >= here);
        need(words[1] == "ascending" ? rising : falling,
             "row " + std::to_string(row + 1) + " breaks the order");
    }
    need(dates > 1, "the column holds no dates");
}

void entryShown(const std::string& name, bool shown) {
    if (const QWidget* popup = QApplication::activePopupWidget()) {
        bool there = false;
        for (const QAction* action : popup->actions())
            there |= action->isVisible() && S(action->objectName()) == name;
        return need(there == shown, "the open menu has it otherwise");
    }
    need(Entry(name)->isVisible() == shown, "the menu has it otherwise");
}

void entryEnabled(const std::string& name, bool enabled) {
    const QAction* entry = Entry(name);
    need(entry->isVisible(), "the menu doesn't show it");
    need(entry->isEnabled() == enabled, enabled ? "it is disabled" : "it is enabled");
}

void noForm(const Words&) {
    const QWidget* modal = QApplication::activeModalWidget();
    need(!modal, modal ? "the form " + S(modal->objectName()) + " is open" : "");
}

// "*" in the path stands for what nobody knows before, as a temporary folder's name.
void fileHolds(const Words& words) {
    glob_t found{};
    const bool any = glob(words[0].c_str(), GLOB_NOCHECK, nullptr, &found) == 0;
    QFile file(any ? QString::fromUtf8(found.gl_pathv[0]) : Q(words[0]));
    globfree(&found);
    need(file.open(QIODevice::ReadOnly), "there is no file " + words[0]);
    holds("the file", QString::fromUtf8(file.readAll()), words[1]);
}

using Check = std::function<void(const Words&)>;
struct Expectation {
    const char* usage;
    size_t least, most;
    Check check;
};
using Expectations = std::map<std::string, Expectation>;

Expectations formExpectations() {
    return {
        {"status", {"TEXT", 1, 1, [](const Words& w) { same("the status", status(), w[0]); }}},
        {"status-has", {"TEXT", 1, 1, [](const Words& w) { holds("the status", status(), w[0]); }}},
        {"title", {"TEXT", 1, 1, [](const Words& w) { same("the title", title(), w[0]); }}},
        {"title-has", {"TEXT", 1, 1, [](const Words& w) { holds("the title", title(), w[0]); }}},
        {"box", {"TEXT", 1, 1, [](const Words& w) { same("the box", boxText(), w[0]); }}},
        {"box-has", {"TEXT", 1, 1, [](const Words& w) { holds("the box", boxText(), w[0]); }}},
        {"form",
         {"NAME", 1, 1,
          [](const Words& w) { same("the form", ActiveForm()->objectName(), w[0]); }}},
        {"form-title",
         {"TEXT", 1, 1,
          [](const Words& w) { same("the form's title", ActiveForm()->windowTitle(), w[0]); }}},
        {"no-form", {"", 0, 0, noForm}},
        {"closed",
         {"", 0, 0, [](const Words&) { need(!MainFormIsOpen(), "the main form is open"); }}},
        {"value",
         {"NAME TEXT", 2, 2, [](const Words& w) { same(w[0], ContentOf(*Control(w[0])), w[1]); }}},
        {"value-has",
         {"NAME TEXT", 2, 2, [](const Words& w) { holds(w[0], ContentOf(*Control(w[0])), w[1]); }}},
        {"enabled",
         {"NAME", 1, 1,
          [](const Words& w) { need(Control(w[0])->isEnabled(), "it is disabled"); }}},
        {"disabled",
         {"NAME", 1, 1,
          [](const Words& w) { need(!Control(w[0])->isEnabled(), "it is enabled"); }}},
        {"focus",
         {"NAME", 1, 1,
          [](const Words& w) {
              // also where nobody makes the window the active one again behind a closed box
              const QWidget* focus = ActiveForm()->focusWidget();
              same("the focus", focus ? focus->objectName() : "nowhere", w[0]);
          }}},
        {"items",
         {"NAME COUNT", 2, 2,
          [](const Words& w) { same("the count", View(w[0])->model()->rowCount(), w[1]); }}},
        {"item",
         {"NAME TEXT", 2, 2,
          [](const Words& w) {
              need(ItemOf(*View(w[0]), w[1]).isValid() || RowOf(*View(w[0]), w[1]).isValid(),
                   "there is no such item");
          }}},
        {"entry", {"ENTRY", 1, 1, [](const Words& w) { entryShown(w[0], true); }}},
        {"entry-enabled", {"ENTRY", 1, 1, [](const Words& w) { entryEnabled(w[0], true); }}},
        {"entry-disabled", {"ENTRY", 1, 1, [](const Words& w) { entryEnabled(w[0], false); }}},
        {"no-entry", {"ENTRY", 1, 1, [](const Words& w) { entryShown(w[0], false); }}}};
}

Expectations listExpectations() {
    return {{"list-count",
             {"N", 1, 1, [](const Words& w) { same("the count", listModel().rowCount(), w[0]); }}},
            {"list-has",
             {"TEXT", 1, 1,
              [](const Words& w) {
                  need(RowOf(*View("lvMain"), w[0]).isValid(), "there is no such row");
              }}},
            {"list-lacks",
             {"TEXT", 1, 1,
              [](const Words& w) {
                  need(!RowOf(*View("lvMain"), w[0]).isValid(), "there is such a row");
              }}},
            {"columns", {"TITLE...", 1, 40, columns}},
            {"sorted-by-date", {"COLUMN ascending|descending", 2, 2, sortedByDate}},
            {"cell", {"ROW COLUMN TEXT", 3, 3, cell}},
            {"node",
             {"KEY [TEXT]", 1, 2,
              [](const Words& w) {
                  const QModelIndex node = NodeOf(w[0]);
                  need(node.isValid(), "there is no such node");
                  if (w.size() > 1)
                      same("the node's text", node.data().toString(), w[1]);
              }}},
            {"no-node",
             {"KEY", 1, 1,
              [](const Words& w) { need(!NodeOf(w[0]).isValid(), "there is such a node"); }}},
            {"selected", {"KEY", 1, 1, [](const Words& w) {
                              same("the selected node", TreeAsJson()["selected"].toString(), w[0]);
                          }}}};
}

void recordIs(World& world, const Words& words) {
    auto message = world.Find(words[0], words[1]);
    need(message != nullptr, "there is no such record");
    for (const auto& property : DescribeProperties(*message)) {
        if (property.value("name", std::string()) != words[2])
            continue;
        const auto& value = property["value"];
        return same("the key", Q(value.is_string() ? value.get<std::string>() : value.dump()),
                    words[3]);
    }
    same("the key", "", words[3]);
}

Expectations outerExpectations(World& world) {
    return {{"file", {"PATH TEXT", 2, 2, fileHolds}},
            {"log",
             {"TEXT", 1, 1,
              [&world](const Words& w) {
                  need(world.LogText().find(w[0]) != std::string::npos, "the log has it not");
              }}},
            {"no-log",
             {"TEXT", 1, 1,
              [&world](const Words& w) {
                  need(world.LogText().find(w[0]) == std::string::npos, "the log has it");
              }}},
            {"record",
             {"FOLDER SUBJECT KEY VALUE", 4, 4, [&world](const Words& w) { recordIs(world, w); }}},
            {"result",
             {"TEXT", 1, 1,
              [&world](const Words& w) {
                  need(world.result.has_value(), "nothing has returned yet");
                  same("the result", Q(*world.result), w[0]);
              }}},
            {"records",
             {"FOLDER COUNT", 2, 2,
              [&world](const Words& w) { same("the count", world.Count(w[0]), w[1]); }}},
            {"no-record", {"FOLDER SUBJECT", 2, 2, [&world](const Words& w) {
                               need(!world.Find(w[0], w[1]), "there is such a record");
                           }}}};
}

// A push by its place, from 1 on or "last", and of it a header, the query, or the body's size.
QString pushedText(Peers& peers, const Words& words) {
    const nlohmann::json pushes = peers.PushesTo(words[0]);
    const size_t place = words[1] == "last" ? pushes.size() : std::stoul(words[1]);
    need(place > 0 && place <= pushes.size(), std::to_string(pushes.size()) + " pushes came");
    const nlohmann::json& push = pushes[place - 1];
    if (words[2] == "query")
        return Q(push["query"].get<std::string>());
    if (words[2] == "bytes")
        return QString::number(
            QByteArray::fromBase64(QByteArray::fromStdString(push["body"].get<std::string>()))
                .size());
    for (const auto& header : push["headers"])
        if (EqualNoCase(header[0].get<std::string>(), words[2]))
            return Q(header[1].get<std::string>());
    return {};
}

Expectations peerExpectations(Peers& peers) {
    return {{"pushes",
             {"PIN COUNT", 2, 2,
              [&peers](const Words& w) {
                  same("the count", static_cast<int>(peers.PushesTo(w[0]).size()), w[1]);
              }}},
            {"push", {"PIN NUMBER|last HEADER|query|bytes TEXT", 4, 4, [&peers](const Words& w) {
                          same(w[2], pushedText(peers, w), w[3]);
                      }}}};
}

void run(const Expectations& all, const Words& words) {
    const auto found = all.find(words[0]);
    if (found == all.end())
        throw Failure("there is no expectation \"" + words[0] + "\"");
    const size_t given = words.size() - 1;
    if (given < found->second.least || given > found->second.most)
        throw Failure("usage: expect " + words[0] + " " + found->second.usage);
    found->second.check(Words(words.begin() + 1, words.end()));
}

} // namespace

void AddExpectCommands(Driver& driver, World& world, Peers& peers) {
    Expectations all = formExpectations();
    all.merge(listExpectations());
    all.merge(outerExpectations(world));
    all.merge(peerExpectations(peers));
    std::string help = "wait until it is so:";
    for (const auto& [name, expectation] : all)
        help += "\n        " + name + " " + expectation.usage;
    driver.Add("expect", {"WHAT ...", help, 1, 41, [all](const Words& words) { run(all, words); },
                          true, true});
}

} // namespace kr::journeys
