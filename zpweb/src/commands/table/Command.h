// One table describes every command. The command line, the help, the manual page, the completion and the
// list of the library's operations that are used all come from it.
#pragma once

#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "change/Transaction.h"
#include "commands/table/Arguments.h"
#include "commands/table/Parameter.h"
#include "commands/table/Site.h"
#include "input/Settings.h"
#include "output/Output.h"
#include "server/Configuration.h"
#include "sys/Outcome.h"

namespace zpweb {

// One run of the program.
struct Session {
    Settings& settings;
    Output& output;
    std::vector<std::string> words;  // with which it was called, for the log
    bool tellsEach = false;          // each of its commands has a result in the document
};

// What a command does. It reads or changes; what it is about, the configuration or the site that SITE
// names, is found for it. A batch makes changes of its own.
using Read = Outcome (*)(Session&, const Arguments&);
using ReadConfiguration = Outcome (*)(Session&, const Configuration&, const Arguments&);
using ReadSite = Outcome (*)(Session&, const Configuration&, const Site&, const Arguments&);
using Change = Outcome (*)(Transaction&, const Arguments&);
using ChangeSite = Outcome (*)(Transaction&, const Site&, const Arguments&);
struct Batch {
    Outcome (*run)(Session&, const Arguments&);
};
using Action = std::variant<Read, ReadConfiguration, ReadSite, Change, ChangeSite, Batch>;

struct Command {
    std::string_view words;    // "site create"
    std::string_view summary;  // one line
    Action action;
    std::vector<Parameter> parameters{};
    std::vector<std::string_view> operations{};  // of the library, that it calls
    std::string_view more{};                     // further words for help and manual
    std::vector<std::string_view> examples{};    // without the program's name
    bool removesSite = false;                    // a site that is not there is up to date
    bool onStopped = false;                      // changes a site that is stopped, too
    bool needsSecret = false;                    // takes a password; has --password-file then
    bool runsAlone = false;                      // never one of several commands of a change
    bool panelOnly = false;                      // of use for the panel alone

    bool changes() const {
        return std::holds_alternative<Change>(action) || std::holds_alternative<ChangeSite>(action);
    }
};

}  // namespace zpweb
