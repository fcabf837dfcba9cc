#pragma once

#include <QAbstractItemView>
#include <QAction>
#include <QJsonObject>
#include <QMessageBox>
#include <QWidget>
#include <string>

/// What a journey sees of the running program: widgets by object name, and their state as JSON.
namespace kr::journeys {

inline QString Q(const std::string& text) { return QString::fromStdString(text); }
inline std::string S(const QString& text) { return text.toStdString(); }

/// The window that a person would use now: the modal one, else the main form. Throws Failure.
QWidget* ActiveForm();
/// frmFleetMain; throws Failure when it isn't there.
QWidget* MainForm();
bool MainFormIsOpen();

/// The visible control of that name in the active form; throws Failure.
QWidget* Control(const std::string& name);
/// The same as an item view; a combo box is no view.
QAbstractItemView* View(const std::string& name);
QAction* Entry(const std::string& name);
QMessageBox* Box();

/// A control's content as text: what it shows, "on" or "off", the selected item.
QString ContentOf(const QWidget& control);

/// The tree node of that key, or one with that text; an invalid index when there is none. Nodes
/// below a collapsed one are found too.
QModelIndex NodeOf(const std::string& key);
/// A row of a view: "#3" by place from 1 on, "#last", else by the text of its first column, else of
/// any column, else by its key.
QModelIndex RowOf(const QAbstractItemView& view, const std::string& which);
/// Row of a view with children: walks all levels by text.
QModelIndex ItemOf(const QAbstractItemView& view, const std::string& text);

QJsonObject TreeAsJson();
QJsonObject ListAsJson(const QAbstractItemView& view, int limit);
QJsonObject MenuAsJson();
QJsonObject FormAsJson(const QWidget& form);
QJsonObject BoxAsJson();
QJsonObject StatusAsJson();

} // namespace kr::journeys
