#pragma once

#include <QDialog>
#include <memory>

#include "core/ListModel.h"

namespace Ui {
class frmDetails;
}

namespace kr {

class ListAdapter;

/// "Details": a list of rows that the caller fills, with a count and, where there is reason, a
/// warning. A click on a column sorts as in the main list.
class frmDetails : public QDialog {
    Q_OBJECT
public:
    explicit frmDetails(QWidget* parent = nullptr);
    ~frmDetails() override;

    ListModel& list() { return m_list; }
    /// lblCount
    void SetCount(std::string_view text);
    /// lblWarning; hidden while empty.
    void SetWarning(std::string_view text);

protected:
    void showEvent(QShowEvent* event) override;
    void changeEvent(QEvent* event) override;
    std::unique_ptr<::Ui::frmDetails> m_ui;

private:
    void showOrder();
    void widen();

    ListModel m_list;
    std::unique_ptr<ListAdapter> m_adapter;
};

/// The twin for the results of custom contact lists; its count label is `lblResult`.
class frmDetailsCCL : public frmDetails {
    Q_OBJECT
public:
    explicit frmDetailsCCL(QWidget* parent = nullptr);
};

} // namespace kr
