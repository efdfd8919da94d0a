#include "output/Value.h"

#include <algorithm>
#include <charconv>
#include <nlohmann/json.hpp>

namespace zpweb {

namespace {

constexpr const char* Nothing = "-";

bool standsForItself(char c) { return c >= ' ' && c < '\x7f' && c != '"' && c != '\\'; }

void appendQuoted(std::string& text, std::string_view value) {
    if (std::all_of(value.begin(), value.end(), standsForItself)) {
        text += '"';
        text += value;
        text += '"';
    } else {
        using Json = nlohmann::json;
        text += Json(value).dump(-1, ' ', false, Json::error_handler_t::replace);
    }
}

void appendNumber(std::string& text, long number) {
    char digits[24];
    text.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
}

// A terminal is never handed what an input could use to steer it.
std::string printable(std::string_view text) {
    std::string result(text);
    std::replace_if(
        result.begin(), result.end(),
        [](char c) { return (static_cast<unsigned char>(c) < ' ' && c != '\t') || c == '\x7f'; }, '?');
    return result;
}

struct JsonWriter {
    std::string& text;

    void operator()(std::monostate) const { text += "null"; }
    void operator()(bool value) const { text += value ? "true" : "false"; }
    void operator()(long value) const { appendNumber(text, value); }
    void operator()(std::string_view value) const { appendQuoted(text, value); }
    void operator()(JsonText value) const { text += value.text; }
    void operator()(const Pairs* pairs) const {
        text += '{';
        for (const auto& pair : *pairs) {
            appendMember(text, pair.first, pair.second, &pair == pairs->data());
        }
        text += '}';
    }
    void operator()(std::span<const std::string> values) const {
        text += '[';
        for (const std::string& value : values) {
            text += &value == values.data() ? "" : ",";
            appendQuoted(text, value);
        }
        text += ']';
    }
};

struct CellWriter {
    std::string operator()(std::monostate) const { return Nothing; }
    std::string operator()(bool value) const { return value ? "true" : "false"; }
    std::string operator()(long value) const { return std::to_string(value); }
    std::string operator()(JsonText value) const { return printable(value.text); }
    std::string operator()(std::string_view value) const {
        return value.empty() ? Nothing : printable(value);
    }
    std::string operator()(const Pairs* pairs) const {
        std::string text;
        for (const auto& [name, value] : *pairs) {
            text += (text.empty() ? "" : ", ") + printable(name) + " " + (*this)(value);
        }
        return text.empty() ? Nothing : text;
    }
    std::string operator()(std::span<const std::string> values) const {
        std::string text;
        for (const std::string& value : values) {
            text += (text.empty() ? "" : " ") + (*this)(value);
        }
        return text.empty() ? Nothing : text;
    }
};

}  // namespace

void appendJson(std::string& text, const Value& value) { std::visit(JsonWriter{text}, value); }

std::string cellOf(const Value& value) { return std::visit(CellWriter{}, value); }

void appendMember(std::string& text, std::string_view name, const Value& value, bool first) {
    text += first ? "" : ",";
    appendQuoted(text, name);
    text += ':';
    appendJson(text, value);
}

}  // namespace zpweb
