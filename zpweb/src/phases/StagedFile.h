// A file or a symbolic link of a change, before and after.
#pragma once

#include <sys/types.h>

#include <string>

#include "sys/Content.h"

namespace zpweb {

struct StagedFile {
    Content before, after;
    bool ofServer = false;  // the server reads it
    mode_t mode = 0600;     // of one that is new
    std::string like{};  // whose owner, mode and attributes one that is new gets; empty: root, and its mode
    std::string candidate{};
    std::string beside{};  // where the candidate comes to stand in the file's own directory; empty: nowhere

    bool changed() const { return !before.isSameAs(after); }
};

// What one of several changes that are made together has made of a file.
struct FileStep {
    std::string path;
    Content before, after;
    mode_t mode = 0600;  // of a file that is new
};

}  // namespace zpweb
