// A list of things, each with its fields. It is text from the beginning: JSON, or the cells of a table.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "output/Value.h"

namespace zpweb {

class List {
public:
    // A table has these columns only; JSON has all fields.
    List(std::vector<std::string> columns, bool json) : columns_(std::move(columns)), json_(json) {}

    List& row();  // begins one
    List& add(std::string_view field, const Value& value);

    void printJson(std::ostream& out) const { out << '[' << text_ << (text_.empty() ? "]" : "}]"); }
    void printTable(std::ostream& out) const;  // with a line of titles

private:
    std::vector<std::string> columns_;
    bool json_, fresh_ = true;
    std::string text_;  // JSON, without the brackets and the last brace
    std::vector<std::vector<std::string>> rows_;
};

}  // namespace zpweb
