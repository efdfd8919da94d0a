// What a command asks of a change: an operation of the library on files.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "server/Configuration.h"
#include "sys/Outcome.h"
#include "text/Excerpt.h"
#include "text/Scope.h"

namespace zpweb {

// One operation on one file of the configuration.
struct Edit {
    std::string file;  // the live file; the operation gets a staged one
    size_t bound = 0;  // the most characters of a line that it reads
    std::function<Scope(const ConfigurationFile&)> scope{};      // what it is asked to change
    std::function<Excerpt(const ConfigurationFile&)> excerpt{};  // or that, and how it is laid back
    std::function<int(const std::string& staged)> operation{};
    std::function<Outcome(int result)> meaning{};  // of its result
    // Looks at what it has made of its part.
    std::function<Outcome(std::string_view made)> look{};
    // The site whose blocks alone it is about; with `appends`, it adds to the end of the file. Either way
    // it need not be given the rest of a long file.
    std::string site{};
    const ConfigurationFile* part = nullptr;  // or the part that it is about alone
    bool appends = false;
    // Files and directories that it makes by itself where there are none, outermost first.
    std::vector<std::string> makes{};
};

// One operation on files that are not part of the configuration, in a directory that stands in for theirs.
struct OtherEdit {
    std::vector<std::string> files;  // live files; each is staged under its own name
    mode_t mode = 0600;              // of a file that is new
    bool createEmpty = false;        // a file that does not exist is staged empty
    // Gets the directory in which the files are staged.
    std::function<Outcome(const std::string& directory)> operation;
    // Text of the files that names their directory, and what it is while they are staged.
    std::string directoryInText;
};

}  // namespace zpweb
