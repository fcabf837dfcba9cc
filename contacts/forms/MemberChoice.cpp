#include "contacts/forms/MemberChoice.h"

#include "console/forms/frmDetails.h"
#include "contacts/forms/Members.h"
#include "core/Text.h"
#include "platform/ui/qt/QtUi.h"

namespace kr {

void ShowMembersOrEntries(AgentSession& session, std::string_view title, const std::string& names,
                          const std::string& addresses, bool expand, QWidget* parent) {
    if (expand) {
        ShowMembers(session, title, addresses, parent);
        return;
    }
    frmDetails form(parent);
    form.setWindowTitle(FromUtf8(title));
    form.list().SetColumns({{"Name", "txtName"}, {"E-mail", "txtEmail"}});
    const auto nameList = Split(names, ";");
    const auto addressList = Split(addresses, ";");
    for (size_t i = 0; i < addressList.size(); ++i) {
        const std::string address = Trim(addressList[i]);
        const std::string name = i < nameList.size() ? Trim(nameList[i]) : std::string();
        if (address.empty() && name.empty())
            continue;
        ListRow row;
        row.key = address;
        row.texts = {name.empty() ? address : name, address};
        form.list().Add(std::move(row));
    }
    form.SetCount("Count: " + std::to_string(form.list().Count()));
    form.exec();
}

} // namespace kr
