// What of a configuration a change is about.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "server/Configuration.h"
#include "text/Scope.h"

namespace zpweb {

using LineTest = std::function<bool(std::string_view text)>;  // without leading white space

// The sections that `opens` (a <Directory> or <IfModule> line) within a site's blocks, whole.
Scope sectionScope(const ConfigurationFile& file, const std::string& name, const LineTest& opens);
// The whole file; nothing is changed, only added.
Scope additionsScope(const ConfigurationFile& file);
// Adds to what may be changed the lines of its part that pass the test.
void allowLines(Scope& scope, const LineTest& test);
// The site's blocks.
std::vector<Block> blocksOf(const ConfigurationFile& file, const std::string& name);

// Tests of a line.
std::string_view textOf(std::string_view line);  // what they look at
LineTest beginsWithAny(std::vector<std::string> keywords);
LineTest lineOpensDirectory(const std::string& path);
LineTest opensModule(const std::string& module);

bool blockHas(const Place& place, const LineTest& test);
bool anyLine(std::string_view text, const LineTest& test);

}  // namespace zpweb
