// A list of things, each with its fields. It is text from the beginning: JSON, or the cells of a table.
#pragma once

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
    // In JSON only: a field whose value is what the caller appends.
    std::string& member(std::string_view field);

    // The list as JSON; it is empty then.
    std::string takeJson();
    void appendTable(std::string& text) const;  // with a line of titles

private:
    std::vector<std::string> columns_;
    bool json_, fresh_ = true;
    std::string text_;  // JSON, without the last brace and bracket
    std::vector<std::vector<std::string>> rows_;
};

}  // namespace zpweb
