#pragma once

#include <QAbstractButton>
#include <QListWidget>
#include <functional>
#include <string>

#include "console/basPickers.h"

namespace kr {

/// A recipient list in a dialog: a list box with its buttons "Select", "Delete" and "Members", of
/// which the last two may be missing. Delete and Members are enabled while they make sense.
class RecipientBox : public QObject {
    Q_OBJECT
public:
    struct Controls {
        QListWidget* list;
        QAbstractButton* select;
        QAbstractButton* remove = nullptr;
        QAbstractButton* members = nullptr;
    };
    /// What the address book shows on itself and on the button that adds names.
    struct Picker {
        std::string title;
        std::string toLabel = {};
    };
    /// `members` shows the expansion of the addresses.
    RecipientBox(AgentSession& session, const Controls& controls, Picker picker,
                 std::function<void(const std::string& addresses)> showMembers, QObject* parent);

    void Set(std::string_view names, std::string_view addresses);
    const std::string& names() const { return m_recipients.names; }
    const std::string& addresses() const { return m_recipients.addresses; }
    bool empty() const;

signals:
    /// The person chose another selection, or took an entry out.
    void changed();

private:
    void onSelect();
    void onRemove();
    void show();
    void adjust();

    AgentSession& m_session;
    Controls m_controls;
    Picker m_picker;
    std::function<void(const std::string&)> m_showMembers;
    RecipientList m_recipients;
};

} // namespace kr
