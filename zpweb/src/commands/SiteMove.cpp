// site move: from the main file into a file of its own, or back.
#include "commands/Commands.h"
#include "commands/shared/LayoutChoice.h"
#include "commands/shared/SiteFiles.h"
#include "conf/Text.h"
#include "input/Quoted.h"
#include "sys/File.h"

namespace zpweb {

namespace {

// Its blocks, taken out of all files but `target`.
Outcome takeBlocks(Transaction& change, const Site& site, const std::string& target, std::string& blocks) {
    struct Taken {
        std::string file;
        size_t part;  // of a long one
        std::string block;
    };
    std::vector<Taken> found;
    for (const Place& place : site.places) {
        if (place.block->conditional) {
            return failure(Status::Refused, place.text() +
                                                ": the block stands in a condition, which it "
                                                "would leave; move it by hand");
        }
        if (place.file->path() != target) {
            found.push_back({place.file->path(), place.file->part(), std::string(place.block->text)});
        }
    }
    for (const Taken& each : found) {
        const ConfigurationFile& holder = *change.configuration().part(each.file, each.part);
        std::string text = holder.content().text();
        blocks += (blocks.empty() ? "" : "\n") + takeOut(text, each.block, each.part == 0);
        if (Outcome outcome = change.rewrite(holder, std::move(text)); !outcome.ok()) {
            return outcome;
        }
    }
    return done();
}

Outcome putBlocks(Transaction& change, const std::string& target, const Layout& layout,
                  const std::string& blocks) {
    const bool fresh = change.configuration().file(target) == nullptr;
    if (fresh && exists(target) && change.contentOf(target)) {
        return failure(Status::Exists, target + ": exists already and is no file of this site");
    }
    if (!fresh) {
        const ConfigurationFile& end = *change.configuration().lastPart(target);
        const std::string& text = end.content().text();
        const std::string between = text.empty() || text.ends_with("\n\n") ? ""
                                    : text.ends_with('\n')                 ? "\n"
                                                                           : "\n\n";
        return change.rewrite(end, text + between + blocks);
    }
    Outcome outcome = change.replace(target, blocks);
    return outcome.ok() && layout.hasLinks()
               ? change.link(layout.links + "/" + nameOf(target), layout.targetOf(target))
               : outcome;
}

Outcome moveSite(Transaction& change, const Site& site, const Arguments& given) {
    const auto layout = chosenLayout(change.configuration(), given[LayoutWord]);
    if (!layout.ok()) {
        return layout.outcome();
    }
    const std::string name = site.name();
    if (Outcome named = layout->keepsFiles() ? site.hasName() : done(); !named.ok()) {
        return named;
    }
    if (layout->keepsFiles() && (name.starts_with('.') || name.find('/') != std::string::npos)) {
        return failure(Status::Refused, "site " + inQuotes(name) + ": no file can have its name");
    }
    const std::string target =
        layout->keepsFiles() ? layout->fileOf(name) : change.configuration().main().path();
    change.output().set("site", name);
    change.output().set("file", target);
    const std::vector<std::string> files = site.files();
    std::string blocks;
    Outcome outcome = takeBlocks(change, site, target, blocks);
    outcome = outcome.ok() && !blocks.empty() ? putBlocks(change, target, *layout, blocks) : outcome;
    for (const std::string& file : files) {  // now that the blocks tell which Listen lines are theirs
        outcome = outcome.ok() && file != target ? removeLeftover(change, file) : outcome;
    }
    return outcome;
}

}  // namespace

Command siteMove() {
    return {
        .words = "site move",
        .summary = "Move a website into a file of its own, or into the main file",
        .action = moveSite,
        .parameters = {SiteName, LayoutWord},
        .more = "A file that is left with nothing to say goes, and so does the link to it.",
        .examples = {"site move shop.example --layout files"},
        .onStopped = true,
    };
}

}  // namespace zpweb
