// Single directives of the server or of a site.
#pragma once

#include <optional>
#include <string>

#include "ApacheHelper.h"
#include "commands/shared/BlockEdit.h"
#include "commands/shared/Expectations.h"
#include "commands/shared/LineOperation.h"
#include "commands/table/Arguments.h"
#include "text/Statements.h"

namespace zpweb {

inline constexpr auto DirectiveName = needed("NAME", Kind::Word, "The directive");
inline constexpr auto DirectiveValue = needed("VALUE", Kind::Text, "Its value");
inline constexpr auto Quoted = flag("--quoted", "The value stands in quotes");

// The directive's line, as the call gives it.
std::string wholeLine(const Arguments& given);

// The value as the line has it.
std::string writtenValue(const Arguments& given);

// The statements of a block that are this directive; with a value, those that have it.
StatementTest directiveTest(const std::string& name, const std::optional<std::string>& value = {});
// The last of them that stand in the block itself, or at the server's level; None without one.
size_t lastOf(const Statements& statements, size_t level, const StatementTest& test);

// Has the level the directive with this value, and no later line of it that counts instead?
bool holdsDirective(const Statements& statements, size_t level, const std::string& name,
                    const std::string& value);

// A change of lines: in the blocks of the site that --site names, or at the server's level.
struct DirectiveChange {
    const char* operation;
    StatementTest test;
    bool onlyLast;  // that is the one that counts
    std::function<int(ApacheHelper&, const std::string& staged, const std::string& domain)> call;
    // What holds afterwards, in these blocks or at the server's level.
    std::function<void(const BlocksOf& blocks)> expect;
};
Outcome changeDirective(Transaction& change, const Arguments& given, const DirectiveChange& wanted);

}  // namespace zpweb
