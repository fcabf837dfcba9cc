#include <freexl.h>

#include <climits>

#include "platform/database/Database.h"
#include "platform/database/local/Sheet.h"

namespace kr {

namespace {

/// Old workbooks, by the library for them.
class XlsFile : public Sheets {
public:
    XlsFile(const std::string& path, const std::atomic<bool>* cancel) : m_cancel(cancel) {
        if (freexl_open(path.c_str(), &m_handle) != FREEXL_OK)
            fail();
        unsigned int secret = 0, count = 0;
        freexl_get_info(m_handle, FREEXL_BIFF_PASSWORD, &secret);
        if (secret == FREEXL_BIFF_OBFUSCATED) {
            freexl_close(m_handle);
            throw PlatformError(DB_E_FAIL, "The workbook is protected by a password.", "Excel");
        }
        freexl_get_info(m_handle, FREEXL_BIFF_SHEET_COUNT, &count);
        for (unsigned int i = 0; i < count && i < USHRT_MAX; ++i) {
            const char* name = nullptr;
            freexl_get_worksheet_name(m_handle, static_cast<unsigned short>(i), &name);
            m_names.emplace_back(name ? name : "");
        }
    }
    ~XlsFile() override { freexl_close(m_handle); }
    XlsFile(const XlsFile&) = delete;
    XlsFile& operator=(const XlsFile&) = delete;

    const std::vector<std::string>& Names() const override { return m_names; }
    const std::map<std::string, std::string>& Ranges() const override { return m_ranges; }
    SheetCells Read(size_t sheet) override {
        unsigned int rows = 0;
        unsigned short columns = 0;
        if (freexl_select_active_worksheet(m_handle, static_cast<unsigned short>(sheet)) !=
                FREEXL_OK ||
            freexl_worksheet_dimensions(m_handle, &rows, &columns) != FREEXL_OK)
            fail();
        SheetCells cells;
        for (unsigned int row = 0; row < rows; ++row) {
            if (m_cancel && *m_cancel)
                throw PlatformError(DB_E_CANCELED, "Operation was canceled.", "Excel");
            for (unsigned short column = 0; column < columns; ++column) {
                FreeXL_CellValue cell{};
                if (freexl_get_cell_value(m_handle, row, column, &cell) != FREEXL_OK)
                    fail();
                if (Value value = valueOf(cell); !value.empty())
                    cells.Set(row, column, std::move(value));
            }
        }
        return cells;
    }

private:
    [[noreturn]] static void fail() {
        throw PlatformError(DB_E_FAIL, "External table is not in the expected format.", "Excel");
    }
    static Value valueOf(const FreeXL_CellValue& cell) {
        switch (cell.type) {
        case FREEXL_CELL_INT:
            return static_cast<int32_t>(cell.value.int_value);
        case FREEXL_CELL_DOUBLE:
            return cell.value.double_value;
        case FREEXL_CELL_NULL:
            return {};
        default:
            return cell.value.text_value ? Value(cell.value.text_value) : Value();
        }
    }

    const void* m_handle = nullptr;
    const std::atomic<bool>* m_cancel;
    std::vector<std::string> m_names;
    std::map<std::string, std::string> m_ranges;
};

} // namespace

std::unique_ptr<Sheets> OpenXls(const std::string& path, const std::atomic<bool>* cancel) {
    return std::make_unique<XlsFile>(path, cancel);
}

} // namespace kr
