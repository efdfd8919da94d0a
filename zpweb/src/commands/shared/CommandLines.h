// Commands as JSON lines, and their run as one change.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "commands/table/Run.h"

namespace zpweb {

// {"command": "site create", "arguments": ["example.com"], "options": {"address": "192.0.2.1"}}
Expected<Invocation> invocationFrom(const nlohmann::ordered_json& line);
// A line each; `source` is named in what goes wrong.
Expected<std::vector<Invocation>> invocationsFrom(const std::string& text, const std::string& source);

// The text of a file, or of standard input for "-".
Expected<std::string> inputText(const std::string& file);

// Runs them as one change of the configuration that has this fingerprint; an empty one: of any.
Outcome runTogether(Session& session, std::vector<Invocation> invocations,
                    const std::string& fingerprint = {});

}  // namespace zpweb
