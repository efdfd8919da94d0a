#include "cli/UnknownWord.h"

#include <algorithm>
#include <utility>

#include "cli/Documents.h"
#include "commands/table/Table.h"
#include "input/Nearest.h"
#include "input/Quoted.h"

namespace zpweb {

namespace {

// The question whether a command that is like this one was meant.
std::string likeCommand(const std::string& text) {
    Nearest nearest(text);
    for (const Command& each : commandTable()) {
        nearest.consider(each.words);
        nearest.consider(each.words.substr(0, each.words.find(' ')));
    }
    for (const Document& each : documents()) {
        nearest.consider(each.name);
    }
    return nearest.question();
}

// The words that may follow those of a command so far, in one text.
std::string followersOf(const std::string& text) {
    std::string words;
    for (const Command& each : commandTable()) {
        if (each.words.starts_with(text + " ")) {
            words += (words.empty() ? "" : ", ") + std::string(each.words.substr(text.size() + 1));
        }
    }
    return words;
}

bool isDocument(const std::string& text) {
    return std::any_of(documents().begin(), documents().end(),
                       [&](const Document& each) { return each.name == text; });
}

// What is wrong with the words of a command; empty when they are one, or an option stands before that is
// seen.
std::string unknownCommand(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        const std::string followers = followersOf(text);
        text += (text.empty() ? "" : " ") + word;
        if (word.starts_with('-') || findCommand(text) != nullptr || isDocument(text)) {
            return {};
        }
        if (followersOf(text).empty()) {
            const std::string question = likeCommand(text);
            return "unknown command " + inQuotes(text) + question +
                   (question.empty() && !followers.empty() ? "; expected one of: " + followers : "");
        }
    }
    return text.empty() ? "a command is missing" : text + ": a command is missing: " + followersOf(text);
}

bool isOption(const std::string& name, const std::vector<Parameter>& parameters) {
    return std::any_of(parameters.begin(), parameters.end(),
                       [&](const Parameter& parameter) { return parameter.name == name; });
}

std::string likeOption(const std::string& name, const Command* command) {
    Nearest nearest(name);
    for (const Parameter& each : commonOptions()) {
        nearest.consider(each.name);
    }
    for (const Parameter& each : command == nullptr ? std::vector<Parameter>() : command->parameters) {
        nearest.consider(each.name);
    }
    return nearest.question();
}

bool takesValue(const std::string& option) {
    return std::any_of(commonOptions().begin(), commonOptions().end(), [&](const Parameter& each) {
        return each.name == option && each.kind != Kind::Flag;
    });
}

// The first word that looks like an option and is none of the command's; empty when there is none.
std::string unknownOption(const std::vector<std::string>& words) {
    std::string text;
    const Command* command = nullptr;
    bool isValue = false;  // of an option before the command
    for (const std::string& word : words) {
        if (std::exchange(isValue, command == nullptr && !isValue && takesValue(word))) {
            continue;
        }
        if (!word.starts_with('-') && command == nullptr) {
            text += (text.empty() ? "" : " ") + word;
            command = findCommand(text);
        }
        const std::string name = word.substr(0, word.find('='));
        if (word.starts_with('-') && word != "-" && !isOption(name, commonOptions()) &&
            (command == nullptr || !isOption(name, command->parameters))) {
            return "unknown option " + inQuotes(word) +
                   (command == nullptr ? "" : " of " + std::string(command->words)) +
                   likeOption(name, command);
        }
    }
    return {};
}

}  // namespace

std::string unknownWord(const std::vector<std::string>& words) {
    const std::string command = unknownCommand(words);
    return command.empty() ? unknownOption(words) : command;
}

}  // namespace zpweb
