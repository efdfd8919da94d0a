#include "cli/Help.h"

#include <algorithm>
#include <functional>
#include <sstream>
#include <vector>

#include "cli/Documents.h"
#include "commands/table/Table.h"
#include "output/Statuses.h"

namespace zpweb {

namespace {

constexpr size_t Width = 79;

// The text in lines of the page's width; all but the first are indented.
std::string wrapped(const std::string& text, size_t indent) {
    std::istringstream words(text);
    std::string result;
    std::string word;
    size_t column = indent;
    while (words >> word) {
        if (column > indent && column + 1 + word.size() > Width) {
            result += '\n' + std::string(indent, ' ');
            column = indent;
        }
        result += (column > indent ? " " : "") + word;
        column += word.size() + (column > indent ? 1 : 0);
    }
    return result;
}

struct Entry {
    std::string name, text;
};

void printEntries(std::ostream& out, const std::string& title, const std::vector<Entry>& entries) {
    constexpr size_t WidestName = 26;
    if (entries.empty()) {
        return;
    }
    size_t width = 0;
    for (const Entry& each : entries) {
        width = std::max(width, std::min(each.name.size(), WidestName));
    }
    out << '\n' << title << ":\n";
    for (const auto& [name, text] : entries) {
        const bool fits = name.size() <= width;
        out << "  " << name
            << (fits ? std::string(width - name.size(), ' ') : '\n' + std::string(width + 2, ' ')) << "  "
            << wrapped(text, width + 4) << '\n';
    }
}

std::vector<Entry> helpEntries(const std::vector<Parameter>& parameters) {
    std::vector<Entry> entries;
    for (const Parameter& each : parameters) {
        const std::string value =
            each.isOption() && !each.value.empty() ? " " + std::string(each.value) : "";
        entries.push_back({std::string(each.name) + value,
                           std::string(each.help) + (each.many ? "; may be given several times" : "")});
    }
    return entries;
}

std::vector<Entry> commandsWhere(const std::function<bool(const Command&)>& test) {
    std::vector<Entry> entries;
    for (const Command& each : commandTable()) {
        if (test(each)) {
            entries.push_back({std::string(each.words), std::string(each.summary)});
        }
    }
    return entries;
}

std::string usageOf(const Command& command) {
    std::string text = "zpweb " + std::string(command.words);
    for (const Parameter& each : command.parameters) {
        if (!each.isOption() || each.required) {
            const std::string value = each.isOption() ? " " + std::string(each.value) : "";
            const std::string name = std::string(each.name) + value + (each.many ? "..." : "");
            text += each.required ? " " + name : " [" + name + "]";
        }
    }
    return text + " [OPTION...]";
}

void printCommand(std::ostream& out, const Command& command) {
    out << "Usage: " << wrapped(usageOf(command), 7) << "\n\n"
        << wrapped(std::string(command.summary), 0) << ".\n";
    if (!command.more.empty()) {
        out << wrapped(std::string(command.more), 0) << '\n';
    }
    printEntries(out, "Arguments and options", helpEntries(command.parameters));
    out << "\nExamples:\n";
    for (const std::string_view example : command.examples) {
        out << "  zpweb " << example << '\n';
    }
    out << "\nOptions that every command has: zpweb help\n";
}

void printOverview(std::ostream& out) {
    out << "Usage: zpweb [OPTION...] COMMAND [ARGUMENT...]\n\n"
        << "Websites of an Apache HTTP Server: safe by default.\n";
    printEntries(out, "Commands", commandsWhere([](const Command& each) { return !each.panelOnly; }));
    std::vector<Entry> rest;
    for (const Document& each : documents()) {
        rest.push_back({each.name, each.summary});
    }
    printEntries(out, "About this program", rest);
    printEntries(out, "Options", helpEntries(commonOptions()));
    std::vector<Entry> statuses;
    for (const StatusText& each : Statuses) {
        std::string text(each.name);
        text += *each.meaning == '\0' ? "" : ": " + std::string(each.meaning);
        std::erase(text, '`');
        statuses.push_back({std::to_string(static_cast<int>(each.status)), text});
    }
    printEntries(out, "Exit status", statuses);
    printEntries(out, "Of use for the panel alone",
                 commandsWhere([](const Command& each) { return each.panelOnly; }));
    out << "\nMore about a command, with examples: zpweb help site create\n";
}

}  // namespace

bool printHelp(std::ostream& out, const std::string& words) {
    if (words.empty()) {
        printOverview(out);
        return true;
    }
    if (const Command* command = findCommand(words)) {
        printCommand(out, *command);
        return true;
    }
    const auto group =
        commandsWhere([&](const Command& each) { return each.words.starts_with(words + " "); });
    if (!group.empty()) {
        out << "Usage: zpweb " << words << " COMMAND [ARGUMENT...]\n";
        printEntries(out, "Commands", group);
    }
    return !group.empty();
}

}  // namespace zpweb
