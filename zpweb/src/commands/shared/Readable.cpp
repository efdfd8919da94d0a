#include "commands/shared/Readable.h"

#include <sys/mman.h>

#include <algorithm>

#include "commands/shared/PairLines.h"
#include "conf/Text.h"
#include "host/WriteAll.h"
#include "text/Marks.h"

namespace zpweb {

namespace {

constexpr std::string_view OfPaths[] = {"Alias",     "ScriptAlias",      "Redirect",
                                        "ProxyPass", "ProxyPassReverse", "ErrorDocument",
                                        "Include",   "DirectoryIndex"};

bool isOfPaths(const Statement& statement) {
    return std::any_of(std::begin(OfPaths), std::end(OfPaths), [&](std::string_view keyword) {
        return zp::conf::beginsIgnoringCase(statement.name, keyword);
    });
}

// Of words in quotes it takes the first blank for their end.
bool isReadWhole(const Statement& statement) {
    return statement.argument(0).find_first_of(" \t") == std::string::npos;
}

bool isOfOverrides(const Statement& statement) {
    return zp::conf::beginsIgnoringCase(statement.name, "AllowOverride");
}

// A reader takes "AliasMatch" for an "Alias" of "Match", what sections say for the block's own, and an
// "AllowOverride" for an "Allow".
std::string canonicalText(const Block& block) {
    View view(block);
    view.show([](const Statement& statement) {
        const bool known = std::any_of(std::begin(OfPaths), std::end(OfPaths),
                                       [&](std::string_view keyword) { return statement.is(keyword); });
        return !statement.is("ServerName") && !statement.is("ServerAlias") && !isRedirect(statement) &&
               (!isOfPaths(statement) || (known && isReadWhole(statement)));
    });
    view.showAs(isRedirect, redirectForm);
    view.showNames("ServerAlias", [](const std::string&) { return true; });
    view.showSections(
        [](const Statement& statement) { return !isCondition(statement.name); },
        [](const Statement& statement) { return !isOfPaths(statement) && !isOfOverrides(statement); });
    return view.text();
}

std::string readableText(const Block& block) {
    if (!block.stopped) {
        return canonicalText(block);
    }
    const std::string live = withoutMarks(block.text);
    const Contents contents = contentsOf(live);
    return contents.blocks.empty() ? std::string() : withMarks(canonicalText(contents.blocks.front()));
}

}  // namespace

Readable::Readable(const std::string& text)
    : copy_(::memfd_create("configuration", MFD_CLOEXEC)),
      path_("/proc/self/fd/" + std::to_string(copy_.number())) {
    static_cast<void>(zp::host::writeAll(copy_.number(), text));
}

Readable::Readable(const Block& block) : Readable(readableText(block)) {}

}  // namespace zpweb
