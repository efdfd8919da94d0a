// What the options that every command has say.
#pragma once

#include <chrono>
#include <string>

namespace zpweb {

struct Settings {
    std::string configuration;  // the server's main configuration file; as given, or found
    bool json = false, diff = false, quiet = false, verbose = false;
    bool dryRun = false, detailedExit = false;
    bool exact = false;  // the library's own result, side effects included
    bool check = true, reload = true;
    bool ensure = false;         // what is up to date already is no failure
    bool allowImpact = false;    // names may lead elsewhere that nobody asked for
    bool allowLogLinks = false;  // a reload writes logs where links of sites' owners lead
    bool strict = false;         // an answer that got worse is rolled back
    bool leaveEdited = false;    // an undo leaves what a site's owner has edited in a file of the owner's
    std::chrono::seconds lockTimeout{30};
    std::string label;                      // by which changes are taken back together
    std::chrono::seconds confirmWithin{0};  // 0: the change stands without a confirmation
};

}  // namespace zpweb
