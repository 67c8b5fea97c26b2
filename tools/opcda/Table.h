// Rows of text in aligned columns.
#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace Korvex::Tool {

class Table {
public:
    using Row = std::vector<std::string>;

    explicit Table(Row header) : rows_{std::move(header)} {}

    // The content of a cell appears as visible text.
    void add(Row row);

    // With `styled`, the header is set off with terminal attributes.
    void print(std::ostream& out, bool styled) const;

private:
    std::vector<Row> rows_;
};

}  // namespace Korvex::Tool
