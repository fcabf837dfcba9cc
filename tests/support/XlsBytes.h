#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "core/Value.h"

namespace kr {

/// An old workbook (BIFF8 in a compound file) of the tests' own making: one sheet of numbers,
/// flags, texts and days.
class XlsBytes {
public:
    explicit XlsBytes(std::string sheet) : m_sheet(std::move(sheet)) {}

    void Text(uint16_t row, uint16_t column, const std::string& text) {
        std::string body = place(row, column, 0);
        put(body, m_strings.size(), 4);
        record(m_cells, 0x00FD, body); // LABELSST
        m_strings.push_back(text);
    }
    void Number(uint16_t row, uint16_t column, double number, bool date = false) {
        std::string body = place(row, column, date ? 1 : 0);
        uint64_t bits = 0;
        std::memcpy(&bits, &number, sizeof bits);
        put(body, bits, 8);
        record(m_cells, 0x0203, body); // NUMBER
    }
    void Flag(uint16_t row, uint16_t column, bool flag) {
        std::string body = place(row, column, 0);
        put(body, flag ? 1 : 0, 1);
        put(body, 0, 1);
        record(m_cells, 0x0205, body); // BOOLERR
    }
    std::string Bytes() const { return compound(stream()); }

private:
    static void put(std::string& out, uint64_t number, size_t bytes) {
        for (size_t i = 0; i < bytes; ++i)
            out += static_cast<char>(number >> (8 * i) & 0xFF);
    }
    static void record(std::string& out, uint16_t kind, const std::string& body) {
        put(out, kind, 2);
        put(out, body.size(), 2);
        out += body;
    }
    std::string place(uint16_t row, uint16_t column, uint16_t style) {
        m_rows = std::max<uint32_t>(m_rows, row + 1U);
        m_columns = std::max<uint16_t>(m_columns, static_cast<uint16_t>(column + 1));
        std::string body;
        put(body, row, 2);
        put(body, column, 2);
        put(body, style, 2);
        return body;
    }
    static std::string begin(uint16_t kind) { // BOF
        std::string body, out;
        for (const uint64_t word :
             {uint64_t{0x0600}, uint64_t{kind}, uint64_t{0x0DBB}, uint64_t{0x07CC}})
            put(body, word, 2);
        put(body, 0x41, 4);
        put(body, 6, 4);
        record(out, 0x0809, body);
        return out;
    }
    static std::string style(uint16_t format) { // XF
        std::string body;
        put(body, 0, 2);
        put(body, format, 2);
        body.resize(20, '\0');
        return body;
    }
    std::string stream() const {
        std::string globals = begin(0x0005);
        record(globals, 0x0042, std::string("\xB0\x04", 2)); // CODEPAGE: UTF-16
        record(globals, 0x0022, std::string(2, '\0'));       // DATEMODE: from 1900
        record(globals, 0x00E0, style(0));
        record(globals, 0x00E0, style(14));
        std::string strings;
        put(strings, m_strings.size(), 4);
        put(strings, m_strings.size(), 4);
        for (const std::string& text : m_strings) {
            put(strings, text.size(), 2);
            strings += '\0'; // a byte a character
            strings += text;
        }
        std::string tail;
        record(tail, 0x00FC, strings); // SST
        record(tail, 0x000A, {});      // EOF
        const size_t sheetEntry = 4 + 8 + m_sheet.size();
        std::string bound;
        put(bound, globals.size() + sheetEntry + tail.size(), 4);
        put(bound, 0, 2);
        put(bound, m_sheet.size(), 1);
        bound += '\0';
        record(globals, 0x0085, bound + m_sheet); // BOUNDSHEET
        std::string size;
        put(size, 0, 4);
        put(size, m_rows, 4);
        put(size, 0, 2);
        put(size, m_columns, 2);
        put(size, 0, 2);
        std::string sheet = begin(0x0010);
        record(sheet, 0x0200, size); // DIMENSIONS
        sheet += m_cells;
        record(sheet, 0x000A, {});
        return globals + tail + sheet;
    }
    static std::string entry(const std::string& name, uint8_t kind, uint32_t child, uint32_t start,
                             size_t size) {
        std::string out;
        for (const char c : name)
            put(out, static_cast<unsigned char>(c), 2);
        out.resize(64, '\0');
        put(out, name.empty() ? 0 : (name.size() + 1) * 2, 2);
        put(out, kind, 1);
        put(out, 1, 1);
        put(out, 0xFFFFFFFF, 4);
        put(out, 0xFFFFFFFF, 4);
        put(out, child, 4);
        out.resize(116, '\0');
        put(out, start, 4);
        put(out, size, 8);
        return out;
    }
    /// One stream, large enough to stand in whole sectors, behind the table of sectors and the
    /// directory.
    static std::string compound(std::string body) {
        body.resize(std::max<size_t>(4096, (body.size() + 511) / 512 * 512), '\0');
        const uint32_t end = 0xFFFFFFFE, sectors = static_cast<uint32_t>(body.size() / 512);
        std::string table;
        put(table, 0xFFFFFFFD, 4);
        put(table, end, 4);
        for (uint32_t i = 0; i < sectors; ++i)
            put(table, i + 1 < sectors ? i + 3 : end, 4);
        table.resize(512, '\xFF');
        std::string head("\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1", 8);
        head.resize(24, '\0');
        for (const uint64_t word : {0x3E, 3, 0xFFFE, 9, 6})
            put(head, word, 2);
        head.resize(44, '\0');
        for (const uint64_t word :
             {uint64_t{1}, uint64_t{1}, uint64_t{0}, uint64_t{4096}, uint64_t{end}, uint64_t{0},
              uint64_t{end}, uint64_t{0}, uint64_t{0}})
            put(head, word, 4);
        head.resize(512, '\xFF');
        return head + table + entry("Root Entry", 5, 1, end, 0) +
               entry("Workbook", 2, 0xFFFFFFFF, 2, body.size()) + std::string(256, '\0') + body;
    }

    std::string m_sheet;
    std::string m_cells;
    std::vector<std::string> m_strings;
    uint32_t m_rows = 0;
    uint16_t m_columns = 0;
};

} // namespace kr
