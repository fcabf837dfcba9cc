#pragma once

#include <QDialog>
#include <QTimer>
#include <memory>

#include "console/FolderTree.h"

class QTreeWidgetItem;

namespace Ui {
class frmFolderPicker;
}

namespace kr {

/// "Folder Selector": the folders of the mailbox, of the public folders, or both, each level read
/// when it is opened.
class frmFolderPicker : public QDialog {
    Q_OBJECT
public:
    frmFolderPicker(RDOSession& session, const Log& log, const FolderPickOptions& options,
                    QWidget* parent = nullptr);
    ~frmFolderPicker() override;

    /// After OK.
    std::vector<FolderPick> picks() const;
    /// No folder could be read, so the window closed by itself.
    bool failed() const { return m_failed; }

private:
    void loadRoots();
    void addItem(FolderNode& node, QTreeWidgetItem* parent);
    void onExpanded(QTreeWidgetItem* item);
    void showStart();
    void onSelection();
    FolderNode& nodeOf(const QTreeWidgetItem& item) const;
    QTreeWidgetItem* itemOf(FolderNode& node);

    std::unique_ptr<::Ui::frmFolderPicker> m_ui;
    FolderTree m_tree;
    std::string m_startPath;
    QTimer m_root; // tmrRoot
    bool m_failed = false;
};

} // namespace kr
