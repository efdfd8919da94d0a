// Who may see a directory, in the terms of a 2.4 server: what a <Directory> section holds for it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "text/Statements.h"

namespace zpweb {

// Lists of hosts: "all", addresses, networks, names, "env=NAME".
struct Restriction {
    std::string allow, deny;
    bool denyFirst =
        true;            // hosts that are allowed are exceptions to those denied; else the other way around
    bool users = false;  // and who comes must be a user
};

// Directives of a section that say who may see it.
inline constexpr std::string_view WhoMaySee[] = {"Require", "Order", "Allow", "Deny", "Satisfy"};

// Lines of Require terms; none when nothing is asked for.
std::vector<std::string> requireLines(const Restriction& restriction);
// What such lines ask for; absent when they are not as these are written.
std::optional<Restriction> restrictionOf(const std::vector<std::string>& lines);
// One of such a list that has a slash and is no network; empty when there is none.
std::string hostThatIsNone(std::string_view hosts);
// Does the statement say who may see the directory, by host or by user?
bool isRestriction(const Statement& statement);

// An Options directive with some switched: "+Indexes", "-ExecCGI".
std::string switchedOptions(const std::vector<std::string>& words,
                            const std::vector<std::string>& switches);

}  // namespace zpweb
