#pragma once

#include <QDialog>
#include <array>
#include <functional>
#include <memory>
#include <vector>

#include "hosts/HostEditor.h"

class QCheckBox;
class QComboBox;
class QDateTimeEdit;
class QListWidget;

namespace Ui {
class frmHost;
}

namespace kr {

class LimitBox;

/// "Server Properties": the settings and schedules of one agent server.
class frmHost : public QDialog {
    Q_OBJECT
public:
    frmHost(AgentSession& session, const EntryID& host, QWidget* parent = nullptr);
    ~frmHost() override;

    /// The record was read; else the person has been told why not.
    bool loaded() const { return m_loaded; }
    /// It was saved at least once.
    bool saved() const { return m_editor.saved; }

    void SetDirty();
    void LoadServerList();
    void LoadDSNList();
    // The fields of a page follow its master box, the limits their own one
    void EnableProfileInfo(bool enable);
    void EnableClients(bool enable);
    void EnableMCC(bool enable);
    void EnableSSU(bool enable);
    void EnableMaxEPS(bool enable);
    void EnableMaxMCC(bool enable);

private:
    void collectControls();
    void fillUnits();
    void showAll();
    void showIntervals();
    void showDates();
    void showLogging();
    void applyVersion();
    void connectFields();
    void connectIntervals();
    void connectLogging();
    void connectLists();
    void connectButtons();
    void readFields();
    void setLimits(size_t index);
    void onInterval(size_t index);
    void onDate(size_t job);
    bool save();
    void goTo(const HostStop& stop);
    HostTab currentTab() const;

    std::unique_ptr<::Ui::frmHost> m_ui;
    HostEditor m_editor;
    // Controls by IntervalIndex and JobIndex
    std::array<LimitBox*, kIntervals> m_numbers{};
    std::array<QComboBox*, kIntervals> m_units{};
    std::array<QDateTimeEdit*, kJobs> m_dates{};
    std::array<QCheckBox*, kJobs> m_masters{};
    std::array<QWidget*, 5> m_pages{}; // by HostTab
    bool m_loaded = false;
    bool m_loading = true; // nothing that is set now is a change
};

} // namespace kr
