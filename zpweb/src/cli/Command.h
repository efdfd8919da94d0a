// One table describes every command. The command line, the help, the manual page, the completion and the
// list of the library's operations that are used all come from it.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <variant>
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
    std::string verb;  // the command's last word: "add"
    std::map<std::string, std::vector<std::string>> values{};
    std::optional<std::string> secret{};  // a password that came with the call

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
};

using Places = std::vector<Place>;

// What a command does. It reads or changes; what it is about, a configuration or the site that SITE names,
// is found for it: all blocks of the site, or for a change the first one that runs.
using Read = Outcome (*)(Session&, const Arguments&);
using ReadConfiguration = Outcome (*)(Session&, const Configuration&, const Arguments&);
using ReadSite = Outcome (*)(Session&, const Configuration&, const Places&, const Arguments&);
using Change = Outcome (*)(Transaction&, const Arguments&);
using ChangeSite = Outcome (*)(Transaction&, const Place&, const Arguments&);
using Action = std::variant<Read, ReadConfiguration, ReadSite, Change, ChangeSite>;

struct Command {
    std::string words;    // "site create"
    std::string summary;  // one line
    Action action;
    std::vector<Parameter> parameters{};
    std::vector<std::string> operations{};  // of the library, that it calls
    std::string more{};                     // further words for the manual

    bool changes() const {
        return std::holds_alternative<Change>(action) || std::holds_alternative<ChangeSite>(action);
    }
    std::string verb() const { return words.substr(words.rfind(' ') + 1); }
    Outcome read(Session& session, const Arguments& arguments) const;
    Outcome change(Transaction& transaction, const Arguments& arguments) const;
};

const std::vector<Command>& commandTable();
const Command* findCommand(const std::string& words);

// The options that every command has.
const std::vector<Parameter>& commonOptions();

}  // namespace zpweb
