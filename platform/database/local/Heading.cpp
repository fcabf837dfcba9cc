#include <unordered_map>

#include "core/Text.h"
#include "platform/database/Database.h"
#include "platform/database/local/TableSource.h"

namespace kr {

std::vector<std::string> HeadingNames(const std::vector<std::string>& cells) {
    if (cells.size() > kMostTableColumns)
        throw PlatformError(DB_E_FAIL, "Too many fields defined.", "Local");
    std::vector<std::string> names;
    // by folded name: the digit that was given last to that name
    std::unordered_map<std::string, int> taken;
    for (size_t i = 0; i < cells.size(); ++i) {
        std::string stem = ReplaceAll(Trim(cells[i]), ".", "#");
        if (stem.empty())
            stem = "F" + std::to_string(i + 1);
        std::string name = stem;
        while (!taken.try_emplace(Fold(name), 0).second)
            name = stem + std::to_string(++taken[Fold(stem)]);
        names.push_back(std::move(name));
    }
    return names;
}

} // namespace kr
