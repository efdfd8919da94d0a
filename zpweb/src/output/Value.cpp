#include "output/Value.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "input/Json.h"
#include "sys/Printable.h"

namespace zpweb {

namespace {

constexpr const char* Nothing = "-";

// By a character's code: whether it stands for itself in JSON.
constexpr auto StandsForItself = [] {
    std::array<bool, 256> table{};
    for (size_t c = ' '; c < 0x7f; ++c) {
        table[c] = c != '"' && c != '\\';
    }
    return table;
}();

bool standsForItself(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return StandsForItself[static_cast<unsigned char>(c)]; });
}

// What could steer a terminal is escaped here too.
std::string dumped(const Json& value) {
    using Handler = Json::error_handler_t;
    std::string text = value.dump(-1, ' ', false, Handler::replace);
    return printable(text) == text ? text : value.dump(-1, ' ', true, Handler::replace);
}

void appendNumber(std::string& text, long number) {
    char digits[24];
    text.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
}

// Lists have many rows, so the values that they hold are written without a detour.
void appendQuoted(std::string& text, std::string_view value) {
    if (standsForItself(value)) {
        text += '"';
        text += value;
        text += '"';
    } else {
        text += dumped(value);
    }
}

struct JsonWriter {
    std::string& text;

    void operator()(std::monostate) const { text += "null"; }
    void operator()(bool value) const { text += value ? "true" : "false"; }
    void operator()(long value) const { appendNumber(text, value); }
    void operator()(std::string_view value) const { appendQuoted(text, value); }
    void operator()(JsonText value) const { text += value.text; }
    void operator()(const Pairs* pairs) const {
        Json object = Json::object();
        for (const auto& [name, value] : *pairs) {
            object[name] = value;
        }
        text += dumped(object);
    }
    void operator()(std::span<const std::string> values) const {
        if (!std::all_of(values.begin(), values.end(), standsForItself)) {
            text += dumped(std::vector(values.begin(), values.end()));
            return;
        }
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

void appendName(std::string& text, std::string_view name, bool first) {
    text += first ? "" : ",";
    appendQuoted(text, name);
    text += ':';
}

void appendMember(std::string& text, std::string_view name, const Value& value, bool first) {
    appendName(text, name, first);
    appendJson(text, value);
}

}  // namespace zpweb
