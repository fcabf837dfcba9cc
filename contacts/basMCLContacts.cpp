#include "contacts/basMCLContacts.h"

#include "contacts/RequireTag.h"
#include "core/Text.h"

namespace kr {

namespace {

/// The three e-mail address properties in PSETID_Address.
constexpr std::string_view kAddressIds[] = {"0x8083", "0x8093", "0x80A3"};

std::string textOf(const TableCell& cell) { return cell.isText() ? Trim(cell.bytes) : ""; }

std::string firstAddress(const TableRows& rows, size_t row, size_t firstColumn) {
    for (size_t i = 0; i < std::size(kAddressIds); ++i) {
        const TableCell& cell = rows.at(row, firstColumn + i);
        if (std::string address = textOf(cell); !address.empty())
            return address;
    }
    return {};
}

} // namespace

void WalkSourceContacts(AgentSession& session, RDOFolder& folder, bool all,
                        const std::function<bool(const SourceContact&)>& contact) {
    std::vector<PropTag> columns{PR_SUBJECT, PR_MOBILE_TELEPHONE_NUMBER};
    for (const std::string_view id : kAddressIds)
        columns.push_back(RequireTag(folder, id, PropType::String, PSETID_Address));
    const MAPITablePtr table = folder.Items()->Table();
    table->Columns(columns);
    for (TableRows rows = table->GetRows(); !rows.empty(); rows = table->GetRows()) {
        for (size_t i = 0; i < rows.rows; ++i) {
            std::string address = firstAddress(rows, i, 2);
            if (address.empty() && !all)
                continue;
            const TableCell& name = rows.at(i, 0);
            if (!contact({name.isText() ? std::string(name.bytes) : "", std::move(address),
                          textOf(rows.at(i, 1))}))
                return;
        }
        session.ui().DoEvents();
    }
}

int64_t CountSourceContacts(AgentSession& session, RDOFolder& folder, bool all,
                            const std::function<bool()>& stop) {
    if (all)
        return folder.Items()->Count();
    int64_t count = 0;
    WalkSourceContacts(session, folder, false, [&](const SourceContact&) {
        ++count;
        return !stop();
    });
    return count;
}

} // namespace kr
