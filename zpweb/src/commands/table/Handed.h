// A run as a text, for another process that makes it along with its own: see store/Requests.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "commands/table/Run.h"

namespace zpweb {

struct Handed {
    Settings settings;
    std::vector<std::string> words;
    std::string login;
    bool tellsEach = false;
    std::vector<Invocation> invocations;
    std::string request;  // its id; empty for one's own
};

// Absent for what its own process has to make: with a password, a file that is read, a diff, a
// confirmation, impact that is allowed, and the like.
std::optional<std::string> handedText(const Session& session, const std::vector<Invocation>& invocations);
// Absent unless it is to be made under the very conditions of `own`, such a text too.
std::optional<Handed> handedFrom(const std::string& text, const std::string& own, const Settings& settings);

}  // namespace zpweb
