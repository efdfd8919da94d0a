#include "server/SatisfyAny.h"

#include <string>
#include <vector>

#include "conf/Text.h"
#include "server/DirectoryPaths.h"
#include "server/DirectorySections.h"
#include "server/DirectoryUrls.h"
#include "server/Expressions.h"
#include "server/PassedOn.h"
#include "server/Postconditions.h"

namespace zpweb {

namespace {

bool isOfHosts(const Directive& directive) {
    return directive.is("Order") || directive.is("Allow") || directive.is("Deny") ||
           directive.is("Satisfy");
}

// Of sections with lines about hosts the last one counts, alone.
std::vector<const Directive*> hostLines(const Reading& reading, const std::vector<uint32_t>& sections) {
    std::vector<const Directive*> last;
    for (const uint32_t section : sections) {
        std::vector<const Directive*> lines;
        for (const uint32_t child : reading.childrenOf(section)) {
            if (isOfHosts(reading.directives()[child])) {
                lines.push_back(&reading.directives()[child]);
            }
        }
        last = lines.empty() ? last : lines;
    }
    return last;
}

// By its lines about hosts a section lets in everybody, and by "Satisfy Any" that is enough.
const Directive* admitsAnyHost(const std::vector<const Directive*>& lines) {
    const Directive* lax = nullptr;
    bool allowFirst = false, all = false, denied = false;
    for (const Directive* each : lines) {
        const std::string says = lowerCase(each->arguments);
        if (each->is("Satisfy")) {
            lax = says == "any" ? each : nullptr;
        } else if (each->is("Order")) {
            allowFirst = !says.starts_with("deny");
        } else {
            all = all || (each->is("Allow") && zp::conf::contains(says, " all"));
            denied = denied || each->is("Deny");
        }
    }
    return (allowFirst ? all && !denied : all || !denied) ? lax : nullptr;
}

// Does an alias lead requests for the path elsewhere than below the document root?
bool isAliased(const Reading& reading, uint32_t block, const std::string& path) {
    for (const uint32_t level : {block, Directive::None}) {
        for (const uint32_t child : reading.childrenOf(level)) {
            const Directive& each = reading.directives()[child];
            const std::vector<std::string> words = argumentsIn(each.arguments);
            const bool pattern = each.is("AliasMatch") || each.is("ScriptAliasMatch");
            const bool plain = each.is("Alias") || each.is("ScriptAlias");
            if (!words.empty() && ((plain && isBelow(path, withoutSlash(words[0]))) ||
                                   (pattern && findsIn(words[0], path)))) {
                return true;
            }
        }
    }
    return false;
}

}  // namespace

Postcondition asksBesideHosts(const BlocksOf& blocks, const std::string& path) {
    return [=](const Reading& staged) {
        for (const uint32_t block : sectionsOf(staged, blocks)) {
            const std::string root = staged.rootIn(block);
            if (root.empty() || passedOn(staged, block, path) != nullptr ||
                isAliased(staged, block, path)) {
                continue;
            }
            const std::string directory = withoutSlash(root + path);
            const auto behind = hostLines(staged, sectionsBehind(staged, block, root));
            const auto above = hostLines(staged, sectionsAbove(staged, block, directory));
            if (const Directive* lax = behind.empty() ? admitsAnyHost(above) : nullptr) {
                return notShown("\"Satisfy Any\" at " + staged.originOf(*lax).text() +
                                " lets everybody into " + directory +
                                ", whatever is required: take that line away first");
            }
        }
        return done();
    };
}

}  // namespace zpweb
