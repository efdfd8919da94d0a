// The exit statuses: one table for what is shown, the help, the manual and the documents.
#pragma once

#include <array>

#include "sys/Outcome.h"

namespace zpweb {

struct StatusText {
    Status status;
    const char* name;     // in JSON
    const char* meaning;  // for people; empty when the name says it
};

inline constexpr std::array<StatusText, 9> Statuses = {{
    {Status::Done, "done", "also when everything was up to date already"},
    {Status::Error, "error", "also: `doctor` found something"},
    {Status::Usage, "usage",
     "a wrong value or command line, or options that do not go together; nothing is changed"},
    {Status::Refused, "refused",
     "by the server's check, or names would lead elsewhere; nothing is changed"},
    {Status::RolledBack, "rolled back",
     "the server did not come through its reload; the old configuration is back"},
    {Status::Locked, "locked", "another run held the configuration for longer than `--lock-timeout`"},
    {Status::NotFound, "not found", ""},
    {Status::Exists, "exists", ""},
    {Status::WouldChange, "would change", "only with `--dry-run --detailed-exitcode`"},
}};

constexpr const char* nameOf(Status status) {
    for (const StatusText& each : Statuses) {
        if (each.status == status) {
            return each.name;
        }
    }
    return "error";
}

}  // namespace zpweb
