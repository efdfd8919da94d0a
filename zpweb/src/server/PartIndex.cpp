#include "server/PartIndex.h"

#include <algorithm>
#include <utility>

#include "conf/Text.h"
#include "input/HostName.h"
#include "server/DirectoryPaths.h"
#include "server/ServerLevel.h"

namespace zpweb {

namespace {

constexpr std::string_view Wildcard = "*";

}  // namespace

// The same for all forms of a name.
PartIndex::Key PartIndex::keyOf(std::string_view name) {
    std::string key(name);
    const bool plain =
        std::all_of(name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) < 128; });
    if (!plain) {
        const auto ascii = asciiHostName(key);
        key = ascii.ok() ? *ascii : key;
    }
    std::transform(key.begin(), key.end(), key.begin(), zp::conf::lower);
    return std::hash<std::string>()(key);
}

// Of the blocks that begin between two places of the text.
PartIndex::Keys PartIndex::sitesOf(const ConfigurationFile& file, size_t from, size_t to) {
    const char* const text = file.content().text().data();
    const std::vector<Block>& blocks = file.blocks();
    auto block = std::partition_point(blocks.begin(), blocks.end(),
                                      [&](const Block& each) { return each.text.data() < text + from; });
    Keys keys;
    for (; block != blocks.end() && block->text.data() < text + to; ++block) {
        const Key key = keyOf(block->name);
        if (!block->name.empty() && std::find(keys.begin(), keys.end(), key) == keys.end()) {
            keys.push_back(key);
        }
    }
    return keys;
}

PartIndex::Keys PartIndex::namesOf(const ConfigurationFile& file) {
    Keys keys;
    for (const Block& block : file.blocks()) {
        std::vector<std::string> names = block.stopped ? std::vector<std::string>() : aliasesOf(block);
        names.emplace_back(block.stopped ? "" : block.name);
        for (const std::string& name : names) {
            const bool wild = name.find_first_of("*?[\\") != std::string::npos;
            keys.push_back(keyOf(wild ? Wildcard : name));
        }
    }
    std::sort(keys.begin(), keys.end());
    keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
    return keys;
}

void PartIndex::enter(Part& part, const ConfigurationFile& found, size_t from, size_t to) {
    parts_.insert(&part);
    part.entries.sites = sitesOf(found, from, to);
    for (const Key key : part.entries.sites) {
        sites_.emplace(key, &part);
    }
    if (!part.inBlocks && speaksAtServer(found, from, to)) {
        atServer_.emplace(std::pair(part.order, part.number), &part);
    }
}

void PartIndex::enterText(Part& part) {
    if (names_) {
        enterNames(part);
    }
    if (directories_) {
        enterDirectories(part);
    }
    if (paths_) {
        enterPaths(part);
    }
}

void PartIndex::enterNames(Part& part) {
    part.entries.names = namesOf(*part.file);
    for (const Key key : part.entries.names) {
        names_->emplace(key, &part);
    }
    for (const Block& block : part.file->blocks()) {
        if (!block.stopped) {
            part.entries.addresses.push_back(addresses_.try_emplace(std::string(block.address)).first);
            ++part.entries.addresses.back()->second;
        }
    }
}

void PartIndex::enterDirectories(Part& part) {
    for (const std::string& path : directoriesIn(part.file->content().text())) {
        part.entries.directories.push_back(directories_->emplace(path, &part));
    }
}

void PartIndex::enterPaths(Part& part) {
    for (const std::string& path : pathsIn(part.file->content().text())) {
        part.entries.paths.push_back(paths_->emplace(path, &part));
    }
}

void PartIndex::leave(Part& part) {
    const auto leaveIndex = [&](Index& index, const Keys& keys) {
        for (const Key key : keys) {
            auto [entry, end] = index.equal_range(key);
            while (entry != end) {
                entry = entry->second == &part ? index.erase(entry) : std::next(entry);
            }
        }
    };
    const Entries entries = std::exchange(part.entries, {});
    leaveIndex(sites_, entries.sites);
    if (names_) {
        leaveIndex(*names_, entries.names);
    }
    for (const Counts::iterator& address : entries.addresses) {
        --address->second;
    }
    for (const Directories::iterator& directory : entries.directories) {
        directories_->erase(directory);
    }
    for (const Directories::iterator& path : entries.paths) {
        paths_->erase(path);
    }
    atServer_.erase({part.order, part.number});
    parts_.erase(&part);
}

PartIndex::Files PartIndex::sorted(const Index& index, std::string_view name) {
    std::vector<const Part*> found;
    const auto [begin, end] = index.equal_range(keyOf(name));
    std::transform(begin, end, std::back_inserter(found), [](const auto& entry) { return entry.second; });
    return sorted(std::move(found));
}

PartIndex::Files PartIndex::sorted(std::vector<const Part*> found) {
    std::sort(found.begin(), found.end(), [](const Part* a, const Part* b) {
        return std::pair(a->order, a->number) < std::pair(b->order, b->number);
    });
    found.erase(std::unique(found.begin(), found.end()), found.end());
    Files files;
    std::transform(found.begin(), found.end(), std::back_inserter(files),
                   [](const Part* part) { return part->file; });
    return files;
}

// What nobody has got of a part yet is forgotten once it is entered.
void PartIndex::eachFresh(void (PartIndex::*entering)(Part& part)) {
    for (Part* part : parts_) {
        const bool isFresh = !part->file->isRead();
        (this->*entering)(*part);
        if (isFresh) {
            part->file->forget();
        }
    }
}

void PartIndex::indexNames() {
    if (!names_) {
        names_.emplace();
        eachFresh(&PartIndex::enterNames);
    }
}

void PartIndex::indexDirectories() {
    if (!directories_) {
        directories_.emplace();
        eachFresh(&PartIndex::enterDirectories);
    }
}

void PartIndex::indexPaths() {
    if (!paths_) {
        paths_.emplace();
        eachFresh(&PartIndex::enterPaths);
    }
}

PartIndex::Files PartIndex::holdersOf(std::string_view name) const { return sorted(sites_, name); }

PartIndex::Files PartIndex::carriersOf(std::string_view name) {
    indexNames();
    Files files = sorted(*names_, name);
    for (const ConfigurationFile* file : sorted(*names_, Wildcard)) {
        if (std::find(files.begin(), files.end(), file) == files.end()) {
            files.push_back(file);
        }
    }
    return files;
}

const PartIndex::Counts& PartIndex::addresses() {
    indexNames();
    return addresses_;
}

// With those that name directories that nobody can tell from the text.
PartIndex::Files PartIndex::withUnknown(const Directories& index, std::vector<const Part*> found) {
    const auto [begin, end] = index.equal_range(UnknownDirectory);
    std::transform(begin, end, std::back_inserter(found), [](const auto& entry) { return entry.second; });
    return sorted(std::move(found));
}

PartIndex::Files PartIndex::namingAbove(const std::string& directory) {
    indexDirectories();
    std::vector<const Part*> found;
    for (std::string path = directory; !path.empty();
         path.resize(path == "/" ? 0 : std::max<size_t>(path.rfind('/'), 1))) {
        const auto [begin, end] = directories_->equal_range(path);
        std::transform(begin, end, std::back_inserter(found),
                       [](const auto& entry) { return entry.second; });
    }
    return withUnknown(*directories_, std::move(found));
}

PartIndex::Files PartIndex::namingBelow(const std::string& directory) {
    indexPaths();
    std::vector<const Part*> found;
    for (auto entry = paths_->lower_bound(directory);
         entry != paths_->end() && entry->first.starts_with(directory); ++entry) {
        found.push_back(entry->second);
    }
    return withUnknown(*paths_, std::move(found));
}

PartIndex::Files PartIndex::atServer() const {
    Files files;
    std::transform(atServer_.begin(), atServer_.end(), std::back_inserter(files),
                   [](const auto& entry) { return entry.second->file; });
    return files;
}

}  // namespace zpweb
