#include "commands/shared/SiteSwitch.h"

#include <algorithm>

#include "commands/shared/Scopes.h"
#include "commands/shared/SiteEdit.h"
#include "input/Quoted.h"

namespace zpweb {

namespace {

// The blocks of the site that are in the other state.
Scope switchScope(const ConfigurationFile& file, const std::string& name, bool stop) {
    std::vector<Block> blocks = blocksOf(file, name);
    std::erase_if(blocks, [stop](const Block& block) { return block.stopped == stop; });
    Scope scope = Scope::ofBlocks(file.content().text(), blocks);
    scope.marks = stop ? Marks::Added : Marks::Removed;
    for (const Range& range : scope.part) {
        scope.allow(range);
    }
    // The start gives up at a line of comment marks alone.
    for (size_t i = 0; !stop && i < scope.lines.size(); ++i) {
        scope.hidden[i] = scope.lines[i].find_first_not_of("# \t\r") == std::string_view::npos;
    }
    return scope;
}

}  // namespace

Outcome switchSite(Transaction& change, const Site& site, const SiteSwitch& wanted) {
    const std::string name(site.places.front().block->name);
    const std::string place = site.places.front().text();
    Edit edit;
    edit.bound = bound::StartStop;
    edit.site = name;
    edit.scope = [&](const ConfigurationFile& file) { return switchScope(file, name, wanted.stop); };
    edit.operation = [&](const std::string& staged) { return wanted.operation(staged, name); };
    edit.meaning = wanted.meaning;
    edit.look = [&](std::string_view made) {
        const std::vector<bool> states = stoppedBlocks(made, name);
        return std::find(states.begin(), states.end(), !wanted.stop) == states.end()
                   ? done()
                   : failure("site " + inQuotes(name) + " could not be " +
                             (wanted.stop ? "stopped" : "started") + ": " + place +
                             " has more on its ServerName line");
    };
    change.output().set("site", name);
    change.output().set("state", wanted.stop ? "stopped" : "running");
    return editAll(change, site, edit);
}

}  // namespace zpweb
