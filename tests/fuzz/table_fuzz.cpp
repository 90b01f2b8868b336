// Table::sort on random cells: numbers, near-numbers, text and ragged rows.
//
// After each sort the rows must be a permutation of the rows before (the same cell objects),
// ordered on the column in the direction the table reports, and stable: rows with equal keys
// keep their previous relative order. The order is checked against an independent reading of
// the documented rule: a column sorts numerically when every row has a cell there whose whole
// text is a finite decimal number (a leading '+' allowed), and otherwise as text with ASCII
// letters folded to lower case and other bytes compared as unsigned values; a missing cell
// sorts as empty text.
#include "fuzz_input.hpp"
#include "velmora/core/utf8.hpp"
#include "velmora/widgets/table.hpp"

#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace ui = velmora::ui;
using velmora::fuzz::require;

namespace {

using Row = std::vector<std::shared_ptr<ui::TableCell>>;

bool digits(const std::string& s, std::size_t& at) {
    const std::size_t from = at;
    while (at < s.size() && s[at] >= '0' && s[at] <= '9') ++at;
    return at > from;
}

// Decimal grammar: [+] [-] (digits [. digits?] | . digits) [(e|E) [+|-] digits].
// 0 not a number, 1 a finite number, 2 written as a number but out of double's range.
int number(const std::string& s, double& out) {
    std::size_t at = 0;
    if (at < s.size() && s[at] == '+') ++at;
    if (at < s.size() && s[at] == '-') {
        if (at == 1) return 0; // "+-"
        ++at;
    }
    const bool whole = digits(s, at);
    bool fraction = false;
    if (at < s.size() && s[at] == '.') {
        ++at;
        fraction = digits(s, at);
    }
    if (!whole && !fraction) return 0;
    if (at < s.size() && (s[at] == 'e' || s[at] == 'E')) {
        ++at;
        if (at < s.size() && (s[at] == '+' || s[at] == '-')) ++at;
        if (!digits(s, at)) return 0;
    }
    if (at != s.size()) return 0;
    errno = 0;
    out = std::strtod(s.c_str() + (s[0] == '+'), nullptr);
    // Overflow and underflow both set ERANGE; which of them the table accepts is left open.
    return errno == ERANGE || !std::isfinite(out) ? 2 : 1;
}

std::string fold(const std::string& s) {
    std::string out = s;
    for (char& ch : out)
        if (ch >= 'A' && ch <= 'Z') ch = static_cast<char>(ch - 'A' + 'a');
    return out;
}

int compare_bytes(const std::string& a, const std::string& b) {
    for (std::size_t i = 0; i < a.size() && i < b.size(); ++i) {
        const auto x = static_cast<unsigned char>(a[i]), y = static_cast<unsigned char>(b[i]);
        if (x != y) return x < y ? -1 : 1;
    }
    return a.size() == b.size() ? 0 : a.size() < b.size() ? -1 : 1;
}

// Whether `after` is `before` stably sorted on `column` in the given mode and direction.
bool sorted(const std::vector<Row>& before, const std::vector<Row>& after, std::size_t column, bool numeric,
            bool ascending) {
    std::map<const ui::TableCell*, std::size_t> position; // identifies a row by its first cell
    for (std::size_t i = 0; i < before.size(); ++i) position[before[i].front().get()] = i;
    for (std::size_t i = 0; i + 1 < after.size(); ++i) {
        const Row& a = after[i];
        const Row& b = after[i + 1];
        int order;
        if (numeric) {
            double x = 0, y = 0;
            number(a[column]->value(), x);
            number(b[column]->value(), y);
            order = x < y ? -1 : y < x ? 1 : 0;
        } else {
            const std::string x = column < a.size() ? fold(a[column]->value()) : "";
            const std::string y = column < b.size() ? fold(b[column]->value()) : "";
            order = compare_bytes(x, y);
        }
        if (!ascending) order = -order;
        if (order > 0) return false;
        if (order == 0 && position[a.front().get()] > position[b.front().get()]) return false;
    }
    return true;
}

const char* const words[] = {"",    "0",   "-0",  "+1", "1.5", "1e3",  "1e400", "1e-400",
                             ".5",  "5.",  "-",   "+",  "nan", "inf",  " 1",    "1,5",
                             "Abc", "abc", "ABD", "é",  "ÿ",   "0x10", "-.5e-2"};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    velmora::fuzz::Input in(data, size);
    auto table = std::make_shared<ui::Table>();
    const std::size_t columns = 1 + in.byte() % 3;
    table->columns.assign(columns, "c");
    const int row_count = in.byte() % 40;
    for (int r = 0; r < row_count; ++r) {
        // Every row keeps a first cell, to be recognised by; later columns may be missing.
        const std::size_t cells = 1 + in.byte() % (columns + 1);
        std::vector<std::string> values;
        for (std::size_t c = 0; c < cells; ++c) {
            const std::uint8_t how = in.byte();
            std::string value = how & 1 ? in.bytes(how >> 5) : words[(how >> 1) % std::size(words)];
            if (!ui::valid_utf8(value)) value.clear(); // a cell, like any text field, refuses it
            values.push_back(std::move(value));
        }
        table->row(values);
    }

    for (int step = 0; step < 8 && !in.empty(); ++step) {
        // Mostly real columns, sometimes one past either end.
        const std::uint8_t pick = in.byte();
        const int column = static_cast<int>(pick % (columns + 1)) - (pick & 0x80 ? 1 : 0);
        const auto before = table->rows;
        const int previous_column = table->sort_column;
        const bool previous_ascending = table->sort_ascending;
        table->select(0);
        if (column < 0 || column >= static_cast<int>(columns)) {
            bool threw = false;
            try {
                table->sort(column);
            } catch (const std::out_of_range&) {
                threw = true;
            }
            require(threw && table->rows == before && table->sort_column == previous_column);
            continue;
        }
        table->sort(column);
        require(table->sort_column == column);
        require(table->sort_ascending == (column == previous_column ? !previous_ascending : true));
        require(table->selected() == -1);
        require(table->rows.size() == before.size());

        const auto c = static_cast<std::size_t>(column);
        int mode = 1; // 1 numeric, 0 text, 2 open
        for (const Row& row : before) {
            double v;
            const int kind = c < row.size() ? number(row[c]->value(), v) : 0;
            if (kind == 0) {
                mode = 0;
                break;
            }
            if (kind == 2) mode = 2;
        }
        const bool ascending = table->sort_ascending;
        const bool ok = mode == 2 ? sorted(before, table->rows, c, false, ascending) ||
                                        sorted(before, table->rows, c, true, ascending)
                                  : sorted(before, table->rows, c, mode == 1, ascending);
        require(ok);
        // Same cells, each row intact.
        std::map<const ui::TableCell*, const Row*> rows_by_first;
        for (const Row& row : before) rows_by_first[row.front().get()] = &row;
        for (const Row& row : table->rows) {
            const auto found = rows_by_first.find(row.front().get());
            require(found != rows_by_first.end() && *found->second == row);
            rows_by_first.erase(found);
        }
    }
    return 0;
}
