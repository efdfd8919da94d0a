// What is found of a configuration in its files or, once there is an index, in the parts of long ones.
#include <algorithm>
#include <utility>

#include "input/HostName.h"
#include "server/Configuration.h"
#include "server/Parts.h"

namespace zpweb {

void Configuration::index() {
    if (!parts_) {
        static_cast<void>(named());  // while the files are read as wholes
        parts_ = std::make_shared<Parts>(around_);
        for (const auto& file : files_) {
            const Known& known = known_.at(file->path());
            parts_->take(*file, known.order, known.inBlocks);
        }
    }
    parts_->rest();
}

std::vector<const ConfigurationFile*> Configuration::parts() const {
    std::vector<const ConfigurationFile*> all;
    for (const auto& file : files_) {
        if (parts_ && parts_->isInParts(file->path())) {
            const auto parts = parts_->partsOf(file->path());
            all.insert(all.end(), parts.begin(), parts.end());
        } else {
            all.push_back(file.get());
        }
    }
    return all;
}

std::vector<const ConfigurationFile*> Configuration::serverParts() const {
    if (parts_) {
        return parts_->atServer();
    }
    std::vector<const ConfigurationFile*> all = parts();
    std::erase_if(all, [this](const ConfigurationFile* file) { return isInBlocks(*file); });
    return all;
}

std::vector<Place> Configuration::undecided() const {
    std::vector<Place> places;
    for (const ConfigurationFile* file : parts()) {
        for (const Block& block : file->blocks()) {
            if (block.undecided) {
                places.push_back({file, &block});
            }
        }
    }
    return places;
}

std::map<std::string, int> Configuration::addresses() const {
    std::map<std::string, int> counts;
    if (parts_) {
        counts = parts_->addresses();
        std::erase_if(counts, [](const auto& address) { return address.second == 0; });
        return counts;
    }
    auto last = counts.end();  // most sites stand beside others with the same one
    for (const auto& file : files_) {
        for (const Block& block : file->blocks()) {
            if (!block.stopped) {
                last = last != counts.end() && last->first == block.address
                           ? last
                           : counts.try_emplace(std::string(block.address)).first;
                ++last->second;
            }
        }
    }
    return counts;
}

std::vector<Place> Configuration::find(std::string_view name) const {
    std::vector<Place> places;
    const SameHost matches(name);
    for (const ConfigurationFile* holder : parts_ ? parts_->holdersOf(name) : parts()) {
        for (const Block& block : holder->blocks()) {
            if (!block.name.empty() && matches(block.name)) {
                places.push_back({holder, &block});
            }
        }
    }
    return places;
}

std::vector<const ConfigurationFile*> Configuration::carriersOf(std::string_view name) const {
    return parts_ ? parts_->carriersOf(name) : parts();
}

std::vector<const ConfigurationFile*> Configuration::namingAbove(const std::string& directory) const {
    return parts_ ? parts_->namingAbove(directory) : parts();
}

std::vector<const ConfigurationFile*> Configuration::namingBelow(const std::string& directory) const {
    return parts_ ? parts_->namingBelow(directory) : parts();
}

const ConfigurationFile* Configuration::partOf(const std::string& path, std::string_view site) const {
    if (!parts_ || !parts_->isInParts(path)) {
        return nullptr;
    }
    auto holders = parts_->holdersOf(site);
    std::erase_if(holders, [&](const ConfigurationFile* holder) { return holder->path() != path; });
    return holders.size() == 1 ? holders.front() : nullptr;
}

const ConfigurationFile* Configuration::part(const std::string& path, size_t number) const {
    return parts_ && parts_->isInParts(path) ? parts_->at(path, number) : file(path);
}

const ConfigurationFile* Configuration::partAt(const std::string& path, size_t line) const {
    return parts_ && parts_->isInParts(path) ? parts_->atLine(path, line) : file(path);
}

const ConfigurationFile* Configuration::lastPart(const std::string& path) const {
    return parts_ && parts_->isInParts(path) ? parts_->last(path) : file(path);
}

std::string Configuration::announcements(const std::string& path) const {
    return parts_ && parts_->isInParts(path) ? parts_->announcementsBeforeLast(path) : "";
}

void Configuration::putPart(const ConfigurationFile& part, Content content) {
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): the part is gone before it ends
    const std::string path = part.path();
    const Before before = leave(part);
    const ConfigurationFile& made = parts_->replace(part, std::move(content));
    Content whole = Content::later([parts = parts_, path] { return parts->joined(path); });
    *known_.at(path).file = std::make_unique<ConfigurationFile>(path, std::move(whole), around_);
    enter(made, before);
}

}  // namespace zpweb
