#include "output/List.h"

#include <algorithm>
#include <utility>

#include "conf/Text.h"

namespace zpweb {

namespace {

// The columns that a text takes on a terminal, wide characters left aside.
size_t widthOf(const std::string& text) {
    return static_cast<size_t>(std::count_if(
        text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xc0) != 0x80; }));
}

std::string titleOf(std::string column) {
    std::transform(column.begin(), column.end(), column.begin(),
                   [](char c) { return zp::conf::isLetter(c) ? static_cast<char>(c & ~0x20) : c; });
    return column;
}

void appendRow(std::string& text, const std::vector<std::string>& cells,
               const std::vector<size_t>& widths) {
    for (size_t i = 0; i < cells.size(); ++i) {
        text += cells[i];
        if (i + 1 < cells.size()) {
            text.append(widths[i] - widthOf(cells[i]) + 2, ' ');
        }
    }
    text += '\n';
}

}  // namespace

List& List::row() {
    if (json_) {
        text_ += text_.empty() ? "[{" : "},{";
        fresh_ = true;
    } else {
        rows_.emplace_back(columns_.size(), cellOf({}));
    }
    return *this;
}

std::string& List::member(std::string_view field) {
    appendName(text_, field, std::exchange(fresh_, false));
    return text_;
}

std::string List::takeJson() {
    text_ += text_.empty() ? "[]" : "}]";
    return std::exchange(text_, {});
}

List& List::add(std::string_view field, const Value& value) {
    if (json_) {
        appendJson(member(field), value);
        return *this;
    }
    const auto column = std::find(columns_.begin(), columns_.end(), field);
    if (column != columns_.end()) {
        rows_.back()[static_cast<size_t>(column - columns_.begin())] = cellOf(value);
    }
    return *this;
}

void List::appendTable(std::string& text) const {
    std::vector<std::string> titles(columns_.size());
    std::transform(columns_.begin(), columns_.end(), titles.begin(), titleOf);
    std::vector<size_t> widths;
    for (size_t i = 0; i < columns_.size(); ++i) {
        widths.push_back(titles[i].size());
        for (const auto& row : rows_) {
            widths[i] = std::max(widths[i], widthOf(row[i]));
        }
    }
    appendRow(text, titles, widths);
    for (const auto& row : rows_) {
        appendRow(text, row, widths);
    }
}

}  // namespace zpweb
