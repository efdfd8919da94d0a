#include "text/Values.h"

#include <algorithm>
#include <array>

#include "conf/Text.h"
#include "text/Words.h"

namespace zpweb {

namespace {

constexpr std::string_view MarksOfNames = ".-_*[]:";

// What a character is to a simple word: part of it, its end, or more than it can have.
enum class Role : char { Part, End, Other };

using Roles = std::array<Role, 256>;

constexpr Roles rolesOf(std::string_view ends) {
    Roles roles{};
    for (const char c : {'\\', '$', '\n', '"', '\''}) {
        roles[static_cast<unsigned char>(c)] = Role::Other;
    }
    for (const char c : ends) {
        roles[static_cast<unsigned char>(c)] = Role::End;
    }
    return roles;
}

constexpr Roles InQuotes = rolesOf("\"");
constexpr Roles Plain = rolesOf(" \t\n\v\f\r");

// A word whose value is what is written; empty when it takes more to tell.
std::string_view simpleWord(std::string_view text) {
    size_t begin = 0;
    while (begin < text.size() && (text[begin] == ' ' || text[begin] == '\t')) {
        ++begin;
    }
    const bool quoted = begin < text.size() && text[begin] == '"';
    text.remove_prefix(begin + (quoted ? 1 : 0));
    const Roles& roles = quoted ? InQuotes : Plain;
    const auto roleAt = [&](size_t i) { return roles[static_cast<unsigned char>(text[i])]; };
    size_t end = 0;
    while (end < text.size() && roleAt(end) == Role::Part) {
        ++end;
    }
    const bool ends = end == text.size() ? !quoted : roleAt(end) == Role::End;
    return ends ? text.substr(0, end) : std::string_view();
}

}  // namespace

std::string_view Values::first(std::string_view arguments) {
    if (const std::string_view simple = simpleWord(arguments); !simple.empty()) {
        return simple;
    }
    const auto word = nextWord(arguments);
    return word ? plain(keep(word->value())) : std::string_view();
}

std::string_view Values::plain(std::string_view text) {
    return zp::conf::contains(text, "${") ? keep(resolved(text, around_.defines)) : text;
}

void Values::define(std::string_view arguments) {
    if (const auto name = nextWord(arguments)) {
        const auto value = nextWord(arguments);
        around_.defines[name->value()] = value ? resolved(value->value(), around_.defines) : std::string();
    }
}

std::string_view Values::nameIn(std::string_view pattern) {
    const auto known = around_.includedNames.find(pattern);
    if (known == around_.includedNames.end()) {
        around_.namesSought.emplace(pattern);
        return {};
    }
    return keep(known->second);
}

std::optional<bool> Values::isMet(std::string_view condition) const {
    const auto known = around_.met.find(condition);
    return known == around_.met.end() ? std::nullopt : std::optional(known->second);
}

std::vector<std::string> variablesIn(std::string_view text) {
    std::vector<std::string> names;
    for (size_t begin = text.find("${"); begin != text.npos; begin = text.find("${", begin + 2)) {
        if (const size_t end = text.find('}', begin); end != text.npos) {
            names.emplace_back(text.substr(begin + 2, end - begin - 2));
        }
    }
    return names;
}

std::string resolved(std::string_view text, const Defines& defines) {
    std::string made;
    for (size_t at = 0; at < text.size();) {
        const size_t begin = std::min(text.find("${", at), text.size());
        made += text.substr(at, begin - at);
        const size_t end = std::min(text.find('}', begin), text.size());
        const std::string_view variable = text.substr(begin, end - begin + 1);
        const auto known =
            end == text.size() ? defines.end() : defines.find(variable.substr(2, variable.size() - 3));
        made += known == defines.end() ? variable : std::string_view(known->second);
        at = begin + variable.size();
    }
    return made;
}

std::string_view hostOf(std::string_view name) {
    if (const size_t scheme = name.find("://"); scheme != name.npos) {
        name.remove_prefix(scheme + 3);
    }
    const size_t colon = name.find(':');
    return colon != name.npos && !name.starts_with('[') ? name.substr(0, colon) : name;
}

bool isServerName(std::string_view name) {
    return !name.empty() && std::all_of(name.begin(), name.end(), [](char c) {
        return zp::conf::isLetter(c) || (c >= '0' && c <= '9') ||
               MarksOfNames.find(c) != MarksOfNames.npos || static_cast<unsigned char>(c) >= 0x80;
    });
}

std::string_view unaskable(std::string_view name) {
    const auto isForeign = [](char c) { return static_cast<unsigned char>(c) >= 0x80; };
    return name.ends_with('.') ? "the server takes the dot at the end off a request's name"
           : std::any_of(name.begin(), name.end(), isForeign)
               ? "a request has the name in ASCII (xn--), and no other one is answered"
               : "";
}

std::string_view unquoted(std::string_view argument) {
    argument = zp::conf::trimEnd(argument);
    if (!argument.empty() && argument.front() == '"') {
        return argument.substr(1, argument.find('"', 1) - 1);
    }
    return argument;
}

std::string bareAddress(std::string_view address) {
    if (!address.empty() && address.front() == '[') {
        return std::string(address.substr(1, address.rfind(']') - 1));
    }
    return std::string(zp::conf::upTo(address, ": >"));
}

std::string_view portOf(std::string_view address) {
    const size_t behindBrackets = address.starts_with('[') ? address.find(']') : 0;
    const size_t colon = address.find(':', std::min(behindBrackets, address.size()));
    return colon == address.npos ? std::string_view() : address.substr(colon + 1);
}

}  // namespace zpweb
