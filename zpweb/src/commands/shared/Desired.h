// Plans: the commands that make the sites of a configuration what a document says.
#pragma once

#include <string>
#include <vector>

#include "commands/table/Command.h"
#include "commands/table/Run.h"
#include "desired/Plan.h"

namespace zpweb {

inline constexpr auto Exclusive =
    flag("--exclusive", "With a document of sites: delete the sites that it does not name");
inline constexpr auto Removals =
    numberOption("--confirm-removals", "NUMBER",
                 "With --exclusive: the number of sites that it deletes, as plan tells it");

struct SitesPlan {
    Plan commands;
    std::vector<std::string> removals;  // sites
    std::string fingerprint;            // of the configuration that it is made for
};

// The plan for the document that a file holds ("-": standard input).
Expected<SitesPlan> planFrom(Session& session, const std::string& file, const Arguments& given);
// An error when it is not the one that a file holds, as "plan --json" prints it.
Outcome isPlanned(const SitesPlan& plan, const std::string& file);
Expected<std::vector<Invocation>> invocationsOf(const SitesPlan& plan);
void showPlan(Output& output, const SitesPlan& plan);

}  // namespace zpweb
