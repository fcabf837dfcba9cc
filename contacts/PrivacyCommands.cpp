#include <algorithm>

#include "console/Console.h"
#include "contacts/ContactKinds.h"
#include "contacts/basPrivacy.h"
#include "core/Text.h"
#include "core/basStore.h"

namespace kr {

namespace {

constexpr std::string_view kContactRow = "mastercntct";

/// The contacts that a command acts on, copied: the dialog lets events run.
struct Selected {
    std::vector<std::string> ids;
    std::string name; // of the first
};

Selected selectedContacts(const Console& console) {
    Selected selected;
    for (const ListRow* row : console.SelectedRows()) {
        if (row->tag != kContactRow)
            continue;
        if (selected.ids.empty() && !row->texts.empty())
            selected.name = row->texts.front();
        selected.ids.push_back(row->key);
    }
    return selected;
}

void setCell(const ListModel& list, ListRow& row, std::string_view title, std::string text) {
    const auto& columns = list.Columns();
    const auto column = std::ranges::find(columns, title, &ListColumn::title);
    if (column == columns.end())
        return;
    const auto at = static_cast<size_t>(column - columns.begin());
    if (row.texts.size() <= at)
        row.texts.resize(at + 1);
    row.texts[at] = std::move(text);
}

/// Shows what the rows' contacts hold now; the selection stays.
void refreshRows(Console& console, const std::vector<std::string>& ids) {
    for (const std::string& id : ids) {
        const size_t at = console.list().Find(id);
        const RDOMessagePtr contact =
            at == ListModel::npos ? nullptr : GetMessage(console.session(), EntryID(id));
        if (!contact)
            continue;
        ListRow row = console.list().At(at);
        setCell(console.list(), row, "Granted Access", KeyText(*contact, kAccessNamesKey));
        setCell(console.list(), row, "Additional Restricted Fields",
                KeyText(*contact, kPrivateFieldsKey));
        console.list().Change(at, std::move(row));
    }
}

void edit(Console& console,
          const std::function<bool(const std::string&, const std::string&)>& form) {
    const Selected contacts = selectedContacts(console);
    if (!contacts.ids.empty() && form && form(Join(contacts.ids, ";"), contacts.name))
        refreshRows(console, contacts.ids);
}

void showAccess(Console& console, const ContactForms& forms) {
    const Selected contacts = selectedContacts(console);
    if (contacts.ids.empty())
        return;
    AgentSession& session = console.session();
    const std::string granted = AccessListOf(session, EntryID(contacts.ids.front()));
    if (SplitNonEmpty(granted, ";").empty())
        session.ui().MsgBox("No access has been granted for " + contacts.name,
                            BoxIcon::Information);
    else if (forms.showMembers)
        forms.showMembers(contacts.name + " - access granted to:", granted);
}

} // namespace

void RegisterPrivacyCommands(Console& console, const ContactForms& forms) {
    console.RegisterCommand("mnuMcSetPrivate",
                            [form = forms.frmPrivateFieldsMC](Console& c) { edit(c, form); });
    console.RegisterCommand("mnuMcSetACL",
                            [form = forms.frmAccessListMC](Console& c) { edit(c, form); });
    console.RegisterCommand("mnuMcShowAccess", [forms](Console& c) { showAccess(c, forms); });
}

} // namespace kr
