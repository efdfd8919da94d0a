// Edits at one <Directory> line of a domain.
#pragma once

#include <functional>
#include <string>

#include "ApacheHelper.h"
#include "conf/Directory.h"
#include "conf/Rewrite.h"

namespace zp {

// What a <Directory> line of the domain is to an edit.
enum class Match { Wanted, Other, Malformed };

Match compare(const conf::Value& directory, const std::string& wanted);
// For edits that take a directory without quotes for an error, also in a block that is not wanted.
Match compareQuoted(const conf::Line& line, const std::string& wanted);

using Examine = std::function<Match(const conf::Line& line)>;
using EditAt = std::function<bool(conf::Rewrite& rewrite, const conf::Line& line)>;

// Edits the file at the wanted <Directory> line: `edit` gets that line and reads on as far as it changes
// anything; false from it means that the block has no end.
int editDirectory(const std::string& file, const char* temporarySuffix, const std::string& domain,
                  const Examine& examine, const EditAt& edit);

// Passes over the block's lines, its closing one included. False when that does not come before the site's
// own.
bool skipDirectory(conf::Rewrite& rewrite);
// The lines between the opening one and the closing one, and that.
void writeContents(conf::Rewrite& rewrite, const StringVector& directives);

}  // namespace zp
