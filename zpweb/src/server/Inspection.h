// Asks the server about a configuration file: is it sound (its check), and what does it make of it (its
// reading)?
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "server/Program.h"
#include "server/Reading.h"
#include "sys/Process.h"

namespace zpweb {

// Files that the server is given, each in the place of a live one.
using LiveNames = std::vector<std::pair<std::string, std::string>>;

struct Inspected {
    bool ran = false, sound = false;
    std::string words;                       // what the check said
    std::shared_ptr<const Reading> reading;  // null when there is none
};

// Both runs go on side by side: the printing one leaves out some of what the check looks at, the files of
// TLS among it. Neither leaves anything on the machine.
Inspected inspect(const Program& program, const std::string& file, const LiveNames& liveNames,
                  const std::function<void()>& waiting);
// The check alone.
Inspected checkOnly(const Program& program, const std::string& file, const std::function<void()>& waiting);
// A reading that is made while other things are done.
class ReadingRun {
public:
    ReadingRun(const Program& program, const std::string& file);
    // Null when the server refuses the configuration or cannot be asked.
    std::shared_ptr<const Reading> end(const std::function<void()>& waiting);

private:
    std::optional<Running> running_;
};

}  // namespace zpweb
