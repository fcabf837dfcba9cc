#include "tests/support/JetFile.h"

#include <cstring>
#include <utility>

namespace kr {

namespace {

/// Collects the pages of the file.
class JetFile {
public:
    explicit JetFile(const std::vector<JetTable>& tables) {
        m_pages.resize(kCatalogRows + 1);
        std::vector<JetTable> catalog(1);
        catalog[0].columns = {{"Id", JetColumn::Long},    {"ParentId", JetColumn::Long},
                              {"Name", JetColumn::Text},  {"Type", JetColumn::Long},
                              {"Flags", JetColumn::Long}, {"LvProp", JetColumn::Text}};
        std::vector<std::string> maps(1, usageMap({kCatalogRows}));
        for (const JetTable& table : tables) {
            const auto definition = static_cast<uint32_t>(m_pages.size());
            m_pages.push_back(tableDefinition(table, 'N', static_cast<uint8_t>(maps.size())));
            catalog[0].rows.push_back(
                {static_cast<int32_t>(definition), 0, Value(table.name), 1, 0, Value()});
            maps.push_back(usageMap(writeRows(table, definition)));
        }
        m_pages[0] = header();
        m_pages[1] = dataPages(maps, 0).at(0);
        m_pages[2] = tableDefinition(catalog[0], 'S', 0);
        m_pages[kCatalogRows] = dataPages(rowsOf(catalog[0]), 2).at(0);
    }
    std::string Bytes() const {
        std::string all;
        for (const std::string& page : m_pages)
            all += page + std::string(kPage - page.size(), '\0');
        return all;
    }

private:
    static constexpr size_t kPage = 4096;
    static constexpr uint32_t kCatalogRows = 3;

    static void put(std::string& out, uint64_t number, size_t bytes) {
        for (size_t i = 0; i < bytes; ++i)
            out += static_cast<char>(number >> (8 * i) & 0xFF);
    }
    static void put(std::string& out, size_t at, uint64_t number, size_t bytes) {
        std::string text;
        put(text, number, bytes);
        out.replace(at, bytes, text);
    }
    static std::string wide(const std::string& ascii) {
        std::string out;
        for (const char c : ascii)
            put(out, static_cast<unsigned char>(c), 2);
        return out;
    }

    /// The first page; a part of it is enciphered with a key that every such file has.
    static std::string header() {
        std::string page("\0\1\0\0Standard Jet DB\0\1", 21);
        page.resize(kPage, '\0');
        put(page, 0x3C, 1252, 2);
        const uint8_t key[] = {0xC7, 0xDA, 0x39, 0x6B};
        uint8_t box[256];
        for (int i = 0; i < 256; ++i)
            box[i] = static_cast<uint8_t>(i);
        for (int i = 0, j = 0; i < 256; ++i) {
            j = (j + box[i] + key[i % 4]) & 0xFF;
            std::swap(box[i], box[j]);
        }
        for (int n = 0, i = 0, j = 0; n < 128; ++n) {
            i = (i + 1) & 0xFF;
            j = (j + box[i]) & 0xFF;
            std::swap(box[i], box[j]);
            char& byte = page[0x18 + static_cast<size_t>(n)];
            byte = static_cast<char>(static_cast<uint8_t>(byte) ^ box[(box[i] + box[j]) & 0xFF]);
        }
        return page;
    }
    static bool isVariable(const JetColumn& column) { return column.type == JetColumn::Text; }
    static size_t widthOf(const JetColumn& column) {
        return column.type == JetColumn::Boolean ? 0 : column.type == JetColumn::Long ? 4 : 8;
    }

    static std::string tableDefinition(const JetTable& table, char kind, uint8_t mapRow) {
        std::string page(63, '\0');
        put(page, 0, 0x0102, 2);
        put(page, 16, table.rows.size(), 4);
        page[40] = kind;
        uint16_t variable = 0, fixed = 0, number = 0;
        for (const JetColumn& column : table.columns) {
            std::string entry(25, '\0');
            entry[0] = static_cast<char>(column.type);
            put(entry, 5, number, 2);
            put(entry, 9, number++, 2);
            if (isVariable(column)) {
                put(entry, 7, variable++, 2);
                entry[15] = 2;
                put(entry, 23, 510, 2);
            } else {
                put(entry, 21, fixed, 2);
                entry[15] = 3;
                put(entry, 23, widthOf(column), 2);
                fixed = static_cast<uint16_t>(fixed + widthOf(column));
            }
            page += entry;
        }
        for (const JetColumn& column : table.columns) {
            put(page, column.name.size() * 2, 2);
            page += wide(column.name);
        }
        put(page, 8, page.size() - 8, 4);
        put(page, 41, number, 2);
        put(page, 43, variable, 2);
        put(page, 45, number, 2);
        put(page, 55, mapRow | 1U << 8U, 4); // row of page 1
        put(page, 59, mapRow | 1U << 8U, 4);
        return page;
    }

    static std::vector<std::string> rowsOf(const JetTable& table) {
        std::vector<std::string> rows;
        for (const auto& values : table.rows)
            rows.push_back(rowOf(table, values));
        return rows;
    }
    static std::string rowOf(const JetTable& table, const std::vector<Value>& values) {
        std::string fixed, variable, mask((table.columns.size() + 7) / 8, '\0');
        std::vector<size_t> ends;
        for (size_t i = 0; i < values.size(); ++i) {
            const JetColumn& column = table.columns[i];
            const auto* flag = values[i].get<bool>();
            if (flag ? *flag : !values[i].empty())
                mask[i / 8] = static_cast<char>(mask[i / 8] | 1 << (i % 8));
            if (column.type == JetColumn::Long) {
                put(fixed, static_cast<uint32_t>(values[i].integerOr(0)), 4);
            } else if (isVariable(column)) {
                ends.push_back(variable.size());
                variable += wide(values[i].text());
            } else if (widthOf(column) == 8) {
                uint64_t bits = 0;
                const double number = values[i].valueOr(0.0);
                std::memcpy(&bits, &number, sizeof bits);
                put(fixed, bits, 8);
            }
        }
        std::string row;
        put(row, table.columns.size(), 2);
        row += fixed;
        const size_t base = row.size();
        row += variable;
        put(row, row.size(), 2);
        for (size_t i = ends.size(); i-- > 0;)
            put(row, base + ends[i], 2);
        put(row, ends.size(), 2);
        return row + mask;
    }

    /// Rows packed into pages of data: from the end of each page towards its list of places.
    static std::vector<std::string> dataPages(const std::vector<std::string>& rows,
                                              uint32_t owner) {
        std::vector<std::string> pages;
        size_t at = 0, count = 0;
        for (const std::string& row : rows) {
            if (pages.empty() || at < row.size() + 16 + 2 * count) {
                pages.emplace_back(kPage, '\0');
                put(pages.back(), 0, 0x0101, 2);
                put(pages.back(), 4, owner, 4);
                at = kPage;
                count = 0;
            }
            std::string& page = pages.back();
            at -= row.size();
            page.replace(at, row.size(), row);
            put(page, 14 + 2 * count++, at, 2);
            put(page, 12, count, 2);
            put(page, 2, at - 14 - 2 * count, 2);
        }
        return pages;
    }
    std::vector<uint32_t> writeRows(const JetTable& table, uint32_t owner) {
        std::vector<uint32_t> numbers;
        for (std::string& page : dataPages(rowsOf(table), owner)) {
            numbers.push_back(static_cast<uint32_t>(m_pages.size()));
            m_pages.push_back(std::move(page));
        }
        return numbers;
    }
    /// Which pages a table has: a bit for each, kept in a page of their own for a large file.
    std::string usageMap(const std::vector<uint32_t>& numbers) {
        const bool small = numbers.empty() || numbers.back() < 512;
        std::string bits(small ? 64 : kPage - 4, '\0');
        for (const uint32_t number : numbers)
            bits.at(number / 8) = static_cast<char>(bits.at(number / 8) | 1 << (number % 8));
        std::string map(1, small ? '\0' : '\1');
        put(map, small ? 0 : m_pages.size(), 4);
        if (small)
            return map + bits;
        m_pages.push_back(std::string("\5\1\0\0", 4) + bits);
        return map + std::string(64, '\0');
    }

    std::vector<std::string> m_pages;
};

} // namespace

std::string JetFileBytes(const std::vector<JetTable>& tables) { return JetFile(tables).Bytes(); }

} // namespace kr
