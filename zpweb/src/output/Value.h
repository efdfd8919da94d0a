// Values that are shown: as JSON, or as cells of a table. A value only refers to what it stands for.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace zpweb {

using Pairs = std::vector<std::pair<std::string, std::string>>;

// A value that is JSON already.
struct JsonText {
    std::string_view text;
};

using Value = std::variant<std::monostate, bool, long, std::string_view, std::span<const std::string>,
                           const Pairs*, JsonText>;

void appendJson(std::string& text, const Value& value);
// What a person sees; "-" for nothing.
std::string cellOf(const Value& value);

// A member of an object, behind a comma unless it is the first; or its name and colon alone.
void appendName(std::string& text, std::string_view name, bool first);
void appendMember(std::string& text, std::string_view name, const Value& value, bool first = false);

// Absent when the text is empty.
inline Value known(std::string_view text) { return text.empty() ? Value() : Value(text); }

}  // namespace zpweb
