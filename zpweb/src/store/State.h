// The directory in which this program keeps its lock, its journal, its log, the checkpoints and the staged
// copy of a change: /var/lib/zpweb for a configuration below /etc, so that a version control of /etc keeps
// no passwords; ".zpweb" beside any other.
#pragma once

#include <string>

namespace zpweb {

struct State {
    std::string directory;
    std::string configuration;  // the main file that it is for

    explicit State(const std::string& configuration);  // a path without links
    std::string lock() const { return directory + "/lock"; }
    std::string journal() const { return directory + "/journal"; }
    std::string unconfirmed() const { return directory + "/unconfirmed"; }
    std::string audit() const { return directory + "/audit.log"; }
    std::string checkpoints() const { return directory + "/checkpoints"; }
    std::string checkpoint(int number) const;
    std::string reading() const { return directory + "/reading"; }
    std::string released() const { return directory + "/released"; }
    std::string requests() const { return directory + "/requests"; }
    std::string rooms() const { return directory + "/rooms"; }
    std::string stage() const { return directory + "/stage"; }
    // Where earlier versions kept it, beside the configuration; the same where it is kept there still.
    std::string before() const;
};

}  // namespace zpweb
