// The folder beside the configuration in which this program keeps its lock, its journal, its log, the
// checkpoints and the staged copy of a change.
#pragma once

#include <string>

namespace zpweb {

struct State {
    std::string folder;

    explicit State(const std::string& configuration);  // a path without links
    std::string lock() const { return folder + "/lock"; }
    std::string journal() const { return folder + "/journal"; }
    std::string audit() const { return folder + "/audit.log"; }
    std::string checkpoints() const { return folder + "/checkpoints"; }
    std::string checkpoint(int number) const;
    std::string stage() const { return folder + "/stage"; }
};

}  // namespace zpweb
