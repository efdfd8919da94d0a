// One table describes every command. The command line, the help, the manual page, the completion and the
// list of the library's operations that are used all come from it.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "change/Configuration.h"
#include "change/Settings.h"
#include "change/Transaction.h"
#include "input/Typed.h"
#include "output/Output.h"
#include "sys/Outcome.h"

namespace zpweb {

// A positional ("SITE") or an option ("--address") of a command.
struct Parameter {
    std::string name;
    Kind kind;
    std::string value;  // the placeholder of an option's value, or the choices
    std::string help;
    bool required = false, many = false;

    bool isOption() const { return name.starts_with("--"); }
};

// The values of one call, each of its kind. Options are named with their hyphens.
struct Arguments {
    std::map<std::string, std::vector<std::string>> values;
    std::optional<std::string> secret;  // a password that came with the call

    bool has(const std::string& name) const { return values.contains(name); }
    std::string one(const std::string& name, const std::string& otherwise = "") const {
        const auto found = values.find(name);
        return found == values.end() || found->second.empty() ? otherwise : found->second.front();
    }
    std::vector<std::string> all(const std::string& name) const {
        const auto found = values.find(name);
        return found == values.end() ? std::vector<std::string>() : found->second;
    }
};

// What a command that only reads has to work with.
struct Session {
    Settings& settings;
    Output& output;
    Expected<Configuration> load() const;
};

struct Command {
    std::string words;    // "site create"
    std::string summary;  // one line
    std::vector<Parameter> parameters;
    std::vector<std::string> operations;  // of the library, that it calls
    // One of the two is there.
    Outcome (*read)(Session&, const Arguments&) = nullptr;
    Outcome (*change)(Transaction&, const Arguments&) = nullptr;
    std::string more{};  // further words for the manual
};

const std::vector<Command>& commandTable();
const Command* findCommand(const std::string& words);

// The options that every command has.
const std::vector<Parameter>& commonOptions();

}  // namespace zpweb
