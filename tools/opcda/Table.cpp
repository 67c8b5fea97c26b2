#include "Table.h"

#include <algorithm>
#include <ostream>

#include "columns.h"
#include "com/visible_text.h"

namespace Korvex::Tool {
namespace {

constexpr const char* kBold = "\033[1m";
constexpr const char* kPlain = "\033[0m";

}  // namespace

void Table::add(Row row) {
    for (std::string& cell : row) cell = Com::visibleText(cell);
    rows_.push_back(std::move(row));
}

void Table::print(std::ostream& out, bool styled) const {
    std::vector<std::size_t> widths(rows_.front().size());
    for (const Row& row : rows_) {
        for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], width(row[i]));
    }
    for (const Row& row : rows_) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            if (i != 0) line += kColumnGap;
            line += i + 1 == row.size() ? row[i] : padded(row[i], widths[i]);
        }
        line.erase(line.find_last_not_of(' ') + 1);
        const bool isHeader = &row == &rows_.front();
        if (styled && isHeader)
            out << kBold << line << kPlain << '\n';
        else
            out << line << '\n';
    }
}

}  // namespace Korvex::Tool
