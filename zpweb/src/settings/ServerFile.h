// A file of directives for the whole server, in the place that the distribution has for such files.
#pragma once

#include <optional>
#include <string>

#include "change/Transaction.h"

namespace zpweb {

enum class ServerFileKind {
    Directives,  // Debian: conf-available and conf-enabled
    FirstSite,   // Debian: sites-available and sites-enabled, read before all others there
};

// Debian: a file with its link. Red Hat: a file in conf.d. Else a file in zpweb.d that the main file
// includes: before its first block for a site that is to be the first.
Outcome putServerFile(Transaction& change, ServerFileKind kind, const std::string& name,
                      const std::string& text);
Outcome dropServerFile(Transaction& change, ServerFileKind kind, const std::string& name);
std::optional<std::string> serverFileText(const Transaction& change, ServerFileKind kind,
                                          const std::string& name);

}  // namespace zpweb
