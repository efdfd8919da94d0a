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

}  // namespace

const ConfigurationFile& BlockAt::holder(const Configuration& configuration) const {
    return *configuration.part(file, part);
}

const Block& BlockAt::in(const Configuration& configuration) const {
    return holder(configuration).blocks()[number];
}

const Block* BlockAt::before(const Configuration& configuration) const {
    return number == 0 ? nullptr : &holder(configuration).blocks()[number - 1];
}

std::string BlockAt::place(const Configuration& configuration) const {
    const ConfigurationFile& held = holder(configuration);
    return file + ":" + std::to_string(held.firstLine() + held.blocks()[number].lines.first + 1);
}

std::vector<BlockAt> blocksOf(const Site& site, const BlockTest& test) {
    const std::vector<Place> lastFirst(site.places.rbegin(), site.places.rend());
    std::vector<BlockAt> found;
    for (const std::string& path : site.files()) {
        for (const Place& place : lastFirst) {
            if (place.file->path() == path && test(*place.block)) {
                const auto number = static_cast<size_t>(place.block - place.file->blocks().data());
                found.push_back({path, place.file->part(), number});
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
    std::vector<BlockAt> blocks = blocksOf(site, [&](const Block& block) {
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
    edit.part = &at.holder(change.configuration());
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
