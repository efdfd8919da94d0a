// What each command that changes something is asked to touch, and what must hold afterwards: see
// server/Judge.
#pragma once

#include <map>
#include <string>
#include <utility>

#include "commands/table/Command.h"

namespace zpweb {

// Of the commands of one change. What a later one promises of a site takes the place of what an earlier one
// has.
class Promises {
public:
    // Before the command runs: what it is asked to touch is told to the change.
    void take(Transaction& change, const Command& command, const Arguments& given);
    // After all of them: what must hold.
    void tell(Transaction& change) const;

private:
    // By the site and what of it they are about: a name, or nothing for its life.
    std::map<std::pair<std::string, std::string>, Postcondition> kept_;
};

}  // namespace zpweb
