#include "console/FindUser.h"

#include "console/basUsers.h"
#include "core/Text.h"
#include "core/basText.h"

namespace kr {

bool FindCriterion::Used() const { return op != FindOperator::Any && !Trim(text).empty(); }

std::string FindClause(std::string_view field, const FindCriterion& criterion) {
    if (!criterion.Used())
        return {};
    const std::string_view before = criterion.op == FindOperator::Contains ? "*" : "";
    const std::string_view after = criterion.op == FindOperator::Exactly ? "" : "*";
    std::string clause = "[";
    clause.append(field).append("] like '").append(before);
    clause.append(EscapeQuotes(Trim(criterion.text))).append(after).append("'");
    return clause;
}

std::string FindUserFilter(const FindCriterion& name, const FindCriterion& email) {
    const std::string first = FindClause("DisplayName", name);
    const std::string second = FindClause("Email", email);
    return first + (first.empty() || second.empty() ? "" : " and ") + second;
}

int64_t FindUsers(AgentSession& session, ListModel& lvUsers, const FindCriterion& name,
                  const FindCriterion& email) {
    lvUsers.Clear();
    lvUsers.SetColumns({{"Name", "Name"}, {"Email", "Email"}});
    const std::string filter = FindUserFilter(name, email);
    if (filter.empty()) {
        session.ui().MsgBox("You must supply a Display Name or Email Address on which to search.",
                            BoxIcon::Exclamation);
        return 0;
    }
    std::vector<ListRow> rows;
    if (const std::shared_ptr<Recordset> users = RequireUsers(session)) {
        const std::shared_ptr<Recordset> found = users->Clone();
        ApplyFilter(session, *found, filter);
        for (; !found->EOF_(); found->MoveNext()) {
            ListRow row;
            row.key = found->Text(Index(UserFieldID::EntryID));
            row.tag = "user";
            row.icon = "imgUser";
            row.texts = {UserName(*found), std::string(found->Text(Index(UserFieldID::Email)))};
            rows.push_back(std::move(row));
        }
    }
    const auto count = static_cast<int64_t>(rows.size());
    lvUsers.AddAll(std::move(rows));
    lvUsers.Sort(0, SortOrder::Ascending);
    if (count == 0)
        session.ui().MsgBox("No users found matching supplied parameters.", BoxIcon::Information);
    return count;
}

} // namespace kr
