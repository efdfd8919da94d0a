#include "commands/shared/BlockEdit.h"

#include <algorithm>
#include <memory>
#include <set>

#include "input/HostName.h"
#include "input/Quoted.h"

namespace zpweb {

namespace {

Excerpt excerptOf(const Block& block, const BlockOperation& operation) {
    const auto view = std::make_shared<View>(block);
    operation.show(*view);
    return {block.text, view->text(),
            [view, &operation](std::string_view made) {
                return view->laidBack(operation.adjusted ? operation.adjusted(made) : std::string(made));
            },
            block.lines.first};
}

const ConfigurationFile& holderOf(const Configuration& configuration, const std::string& file,
                                  const std::string& site) {
    const ConfigurationFile* part = site.empty() ? nullptr : configuration.partOf(file, site);
    return part == nullptr ? *configuration.file(file) : *part;
}

}  // namespace

const Block& BlockAt::in(const Configuration& configuration) const {
    return holderOf(configuration, file, site).blocks()[number];
}

const Block* BlockAt::before(const Configuration& configuration) const {
    return number == 0 ? nullptr : &holderOf(configuration, file, site).blocks()[number - 1];
}

std::string BlockAt::place(const Configuration& configuration) const {
    const ConfigurationFile& holder = holderOf(configuration, file, site);
    return file + ":" + std::to_string(holder.firstLine() + holder.blocks()[number].lines.first + 1);
}

std::vector<BlockAt> blocksOf(const Configuration& configuration, const Site& site, const BlockTest& test) {
    const std::string name(site.first().block->name);
    std::vector<BlockAt> found;
    for (const std::string& path : site.files()) {
        const ConfigurationFile& holder = holderOf(configuration, path, name);
        for (size_t i = holder.blocks().size(); i-- > 0;) {
            const Block& block = holder.blocks()[i];
            const bool own = std::any_of(site.places.begin(), site.places.end(), [&](const Place& place) {
                return place.file == &holder ? place.block == &block
                                             : place.file->path() == path &&
                                                   place.file->firstLine() + place.block->lines.first ==
                                                       holder.firstLine() + block.lines.first;
            });
            if (own && test(block)) {
                found.push_back({path, name, i});
            }
        }
    }
    return found;
}

bool isOnPort(const Block& block, const std::string& port) {
    const std::vector<Word> addresses = writtenWords(block.addresses);
    return std::any_of(addresses.begin(), addresses.end(),
                       [&](const Word& word) { return portOf(word.value()) == port; });
}

Expected<std::vector<BlockAt>> runningBlocks(const Configuration& configuration, const Site& site,
                                             const Arguments& given) {
    const auto number = given[OnPort];
    const std::string port = number ? std::to_string(*number) : "";
    std::vector<BlockAt> blocks = blocksOf(configuration, site, [&](const Block& block) {
        return !block.stopped && (port.empty() || isOnPort(block, port));
    });
    if (blocks.empty()) {
        return failure(Status::NotFound, "site " + inQuotes(readableHostName(site.name())) +
                                             ": no block of it runs on port " + port);
    }
    for (const BlockAt& at : blocks) {
        if (const Block& block = at.in(configuration); !block.closed) {
            return failure(at.place(configuration) +
                           ": this <VirtualHost> is never closed; close it first");
        }
    }
    return blocks;
}

Outcome editBlock(Transaction& change, const BlockAt& at, const BlockOperation& operation) {
    const std::string domain = domainOf(at.in(change.configuration()));
    Edit edit;
    edit.file = at.file;
    edit.site = at.site;
    edit.bound = operation.bound;
    edit.excerpt = [&](const ConfigurationFile& file) {
        return excerptOf(file.blocks()[at.number], operation);
    };
    edit.operation = [&](const std::string& staged) { return operation.run(staged, domain); };
    edit.meaning = operation.meaning;
    edit.makes = operation.makes;
    return change.edit(edit);
}

Outcome editBlocks(Transaction& change, const std::vector<BlockAt>& blocks,
                   const BlockOperation& operation) {
    std::set<std::string> whole;  // files that an exact operation has worked on already
    for (const BlockAt& at : blocks) {
        if (change.settings().exact && !whole.insert(at.file).second) {
            continue;
        }
        if (Outcome edited = editBlock(change, at, operation); !edited.ok()) {
            return edited;
        }
    }
    return done();
}

}  // namespace zpweb
