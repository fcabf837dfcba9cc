#include <fstream>

#include "core/Text.h"
#include "platform/database/Database.h"
#include "platform/database/local/Sheet.h"

namespace kr {

namespace {

class Workbook : public TableSource {
public:
    Workbook(std::unique_ptr<Sheets> sheets, bool header)
        : m_sheets(std::move(sheets)), m_header(header) {}

    bool Read(std::string_view table, TableSink& sink) override {
        std::string name(table);
        if (name.size() > 1 && name.front() == '\'' && name.back() == '\'')
            name = ReplaceAll(name.substr(1, name.size() - 2), "''", "'");
        SheetRange range;
        size_t sheet = m_sheets->Names().size();
        const size_t dollar = name.rfind('$');
        if (dollar != std::string::npos) {
            sheet = find(name.substr(0, dollar));
            const std::string part = Trim(std::string_view(name).substr(dollar + 1));
            if (!part.empty() && !ParseRange(part, range))
                return false;
        } else {
            for (const auto& [key, target] : m_sheets->Ranges())
                if (EqualNoCase(key, name))
                    sheet = resolve(target, range);
        }
        if (sheet >= m_sheets->Names().size())
            return false;
        SheetCells cells = m_sheets->Read(sheet);
        GiveCells(cells, range, m_header, sink);
        return true;
    }

private:
    size_t find(std::string_view name) const {
        const auto& names = m_sheets->Names();
        const auto at = std::find_if(names.begin(), names.end(), [&](const std::string& other) {
            return EqualNoCase(other, name);
        });
        return static_cast<size_t>(at - names.begin());
    }
    size_t resolve(const std::string& target, SheetRange& range) const {
        const size_t mark = target.rfind('!');
        if (mark == std::string::npos || !ParseRange(target.substr(mark + 1), range))
            return m_sheets->Names().size();
        std::string name = target.substr(0, mark);
        if (name.size() > 1 && name.front() == '\'')
            name = ReplaceAll(name.substr(1, name.size() - 2), "''", "'");
        return find(name);
    }

    std::unique_ptr<Sheets> m_sheets;
    bool m_header;
};

} // namespace

std::unique_ptr<TableSource> OpenWorkbook(const std::string& path, bool header,
                                          const std::atomic<bool>* cancel) {
    std::ifstream file(path, std::ios::binary);
    char mark[4] = {};
    if (!file)
        throw PlatformError(DB_E_FAIL, "Could not find file '" + path + "'.", "Excel");
    file.read(mark, sizeof mark);
    const bool zipped = mark[0] == 'P' && mark[1] == 'K';
    return std::make_unique<Workbook>(zipped ? OpenXlsx(path, cancel) : OpenXls(path, cancel),
                                      header);
}

} // namespace kr
