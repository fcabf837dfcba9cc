#include "console/Console.h"

#include "console/Menus.h"
#include "core/Trap.h"
#include "core/basListView.h"

namespace kr {

namespace {

/// Rows reach the model in batches, so that a shown list isn't repainted for each of them.
constexpr size_t kBatch = 5000;

/// Restores a value when a nested load ends.
class Restore {
public:
    Restore(uint64_t& variable, uint64_t value) : m_variable(variable), m_old(variable) {
        m_variable = value;
    }
    ~Restore() { m_variable = m_old; }
    Restore(const Restore&) = delete;
    Restore& operator=(const Restore&) = delete;

private:
    uint64_t& m_variable;
    uint64_t m_old;
};

std::string countText(size_t count, const Console::LoadPlan& plan) {
    return count == 1 ? plan.one : std::to_string(count) + plan.many;
}

} // namespace

void Console::ClearListView() {
    m_pending.clear();
    m_list.Clear();
    m_list.SetColumns({});
    m_view.FreezeList(false);
}

void Console::ShowStatus(std::string_view text, bool clearList) {
    m_view.SetStatus(text);
    if (!clearList)
        return;
    m_pending.clear();
    m_view.FreezeList(true);
    m_list.Clear();
    m_list.SetColumns({});
}

void Console::LoadList(const LoadPlan& plan) {
    const uint64_t load = ++m_load;
    const WaitCursor wait(m_session.ui());
    ShowStatus(plan.waitText, true);
    m_session.log(plan.logText);
    m_list.SetColumns(plan.columns);
    std::string reason;
    {
        const Restore running(m_running, load);
        reason = fill(plan);
    }
    if (load != m_load)
        return; // the list belongs to a newer load, or to a node without one
    flushRows();
    m_list.Sort(0, SortOrder::Ascending);
    m_view.FreezeList(false);
    m_view.FitColumns();
    if (!reason.empty())
        m_session.log(reason);
    ShowStatus(reason.empty() ? countText(m_list.Count(), plan) : reason);
    UpdateMenu();
}

std::string Console::fill(const LoadPlan& plan) {
    std::string failure;
    const std::string reason = Trap([&] { return plan.fill ? plan.fill(*this) : std::string(); },
                                    [&](const Trapped& trapped) { failure = trapped.description; });
    return failure.empty() ? reason : failure;
}

void Console::AddRow(ListRow row) {
    if (!LoadOvertaken()) {
        m_pending.push_back(std::move(row));
        if (m_pending.size() >= kBatch)
            flushRows();
    }
    m_session.ui().DoEvents();
}

void Console::flushRows() {
    m_list.AddAll(std::move(m_pending));
    m_pending.clear();
}

void Console::ColumnClick(int column) { ListColumnClick(m_session.ui(), m_list, column); }

std::vector<size_t> Console::GetContextSelection() const {
    return m_treeContext ? std::vector<size_t>{} : m_view.SelectedRows();
}

std::vector<const ListRow*> Console::SelectedRows() const {
    std::vector<const ListRow*> rows;
    for (const size_t position : GetContextSelection())
        rows.push_back(&m_list.At(position));
    return rows;
}

std::string Console::ContextTag() const {
    const auto rows = SelectedRows();
    return rows.empty() ? m_currentTag : rows.front()->tag;
}

void Console::SelectionChanged() {
    m_treeContext = false;
    UpdateMenu();
}

void Console::TreeContext() {
    m_treeContext = true;
    UpdateMenu();
}

void NodeKind::Activate(Console& console, const ListRow& row) {
    const std::string_view action = ActivationOf(row.tag);
    if (action == "goto")
        console.GoToNode(row.key);
    else if (!action.empty())
        console.RunCommand(action);
}

void Console::ActivateRow(size_t position) {
    if (position >= m_list.Count())
        return;
    m_treeContext = false;
    const ListRow row = m_list.At(position); // the command may empty the list
    NodeKind plain(row.tag);
    NodeKind* kind = Kind(row.tag);
    (kind ? kind : &plain)->Activate(*this, row);
}

bool Console::GoToRow(std::string_view key, std::string_view nodeKey) {
    size_t position = m_list.Find(key);
    if (position == ListModel::npos && GoToNode(nodeKey))
        position = m_list.Find(key);
    if (position == ListModel::npos)
        return false;
    m_view.SelectRow(position);
    SelectionChanged();
    return true;
}

void Console::CheckChanged(size_t position, bool checked) {
    m_list.SetChecked(position, checked);
    if (NodeKind* kind = Kind(m_list.At(position).tag))
        kind->Checked(*this, position, checked);
}

} // namespace kr
