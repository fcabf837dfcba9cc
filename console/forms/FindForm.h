#pragma once

#include <QDialog>
#include <array>
#include <functional>
#include <memory>
#include <string>

#include "console/FindUser.h"

class QComboBox;
class QLineEdit;
class QMenu;
class QPushButton;
class QTreeView;

namespace kr {

class ListAdapter;

/// What the find dialogs share: two criteria, the list of what was found, and "Go To".
class FindForm : public QDialog {
    Q_OBJECT
public:
    /// Selects the row of that key (the record's entry id) in the main list.
    using GoTo = std::function<void(const std::string& key)>;

protected:
    struct Criterion {
        QComboBox* how;
        QLineEdit* text;
    };
    struct Controls {
        std::array<Criterion, 2> criteria;
        QTreeView* list;
        QPushButton* query;
        QPushButton* exit;
        const char* menuName; // object name of the list's context menu
    };
    /// Fills the list with what both criteria find, or says why there is nothing.
    using Find = std::function<void(ListModel& list, const FindCriterion& first,
                                    const FindCriterion& second)>;

    FindForm(GoTo goTo, Find find, QWidget* parent);
    ~FindForm() override;
    /// Called once, after the form has its controls.
    void begin(const Controls& controls);

    void keyPressEvent(QKeyEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void makeMenu();
    void onQuery();
    void fitColumns();
    void onGoTo();
    void showMenu(const QPoint& at);

    GoTo m_goTo;
    Find m_find;
    Controls m_controls{};
    ListModel m_list;
    std::unique_ptr<ListAdapter> m_adapter;
    QMenu* m_menu = nullptr;
};

} // namespace kr
