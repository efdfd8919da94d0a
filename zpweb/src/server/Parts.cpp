#include "server/Parts.h"

#include <algorithm>
#include <utility>

#include "conf/Text.h"
#include "input/HostName.h"
#include "server/Cuts.h"
#include "server/DirectoryPaths.h"
#include "server/ServerLevel.h"

namespace zpweb {

namespace {

constexpr size_t LongFile = size_t{128} * 1024;
constexpr std::string_view Wildcard = "*";

bool announces(std::string_view line) {
    return zp::conf::beginsIgnoringCase(zp::conf::skipSpace(line), "NameVirtualHost");
}

std::string announcementsIn(std::string_view text) {
    std::string found;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        if (announces(line)) {
            found += std::string(line) + "\n";
        }
        text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
    return found;
}

}  // namespace

// The same for all forms of a name.
Parts::Key Parts::keyOf(std::string_view name) {
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
Parts::Keys Parts::sitesOf(const ConfigurationFile& file, size_t from, size_t to) {
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

Parts::Keys Parts::namesOf(const ConfigurationFile& file) {
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

void Parts::take(const ConfigurationFile& file, size_t order, bool inBlocks) {
    const std::string& path = file.path();
    File& taken = files_[path];
    taken.order = order;
    taken.inBlocks = inBlocks;
    const std::vector<size_t> cuts =
        file.content().size() >= LongFile ? cutsOf(file) : std::vector<size_t>();
    if (cuts.empty()) {
        Part& whole = *taken.parts.emplace_back(std::make_unique<Part>());
        whole.file = &file;
        whole.order = order;
        whole.inBlocks = inBlocks;
        enter(whole, file, 0, file.content().size());
        enterNames(whole);
        enterDirectories(whole);
        return;
    }
    size_t at = 0;
    for (Content& piece : piecesOf(file.content(), cuts)) {
        const size_t size = piece.size();
        Part& part = add(taken, path, std::move(piece));
        enter(part, file, at, at + size);
        at += size;
    }
    file.forget();
    for (const auto& part : taken.parts) {
        enterNames(*part);
        enterDirectories(*part);
    }
}

void Parts::drop(const std::string& path) {
    const auto found = files_.find(path);
    if (found == files_.end()) {
        return;
    }
    for (const auto& part : found->second.parts) {
        leave(*part);
    }
    files_.erase(found);
}

Parts::Part& Parts::add(File& file, const std::string& path, Content content) {
    Part& part = *file.parts.emplace_back(std::make_unique<Part>());
    part.order = file.order;
    part.inBlocks = file.inBlocks;
    part.number = file.parts.size() - 1;
    file.lines.append(0);
    fill(part, file, path, std::move(content));
    return part;
}

void Parts::fill(Part& part, File& file, const std::string& path, Content content) {
    const Pieces pieces = content.pieces();
    size_t lines = 0;
    for (const std::string_view piece : pieces) {
        lines += static_cast<size_t>(std::count(piece.begin(), piece.end(), '\n'));
    }
    file.lines.set(part.number, lines);
    part.announcements = announcementsIn(pieces.size() == 1 ? pieces.front() : content.text());
    part.own = std::make_unique<ConfigurationFile>(path, std::move(content), around_);
    part.own->within_ = this;
    part.own->number_ = part.number;
    part.file = part.own.get();
}

// With what was found between two places of a text that is the part's.
void Parts::enter(Part& part, const ConfigurationFile& found, size_t from, size_t to) {
    part.sites = sitesOf(found, from, to);
    for (const Key key : part.sites) {
        sites_.emplace(key, &part);
    }
    if (!part.inBlocks && speaksAtServer(found, from, to)) {
        atServer_.emplace(std::pair(part.order, part.number), &part);
    }
}

void Parts::enterNames(Part& part) {
    if (!names_) {
        return;
    }
    part.names = namesOf(*part.file);
    for (const Key key : part.names) {
        names_->emplace(key, &part);
    }
    for (const Block& block : part.file->blocks()) {
        if (!block.stopped) {
            part.addresses.push_back(addresses_.try_emplace(std::string(block.address)).first);
            ++part.addresses.back()->second;
        }
    }
}

void Parts::leave(Part& part) {
    const auto leaveIndex = [&](Index& index, const Keys& keys) {
        for (const Key key : keys) {
            auto [entry, end] = index.equal_range(key);
            while (entry != end) {
                entry = entry->second == &part ? index.erase(entry) : std::next(entry);
            }
        }
    };
    leaveIndex(sites_, part.sites);
    if (names_) {
        leaveIndex(*names_, part.names);
    }
    for (const Counts::iterator& address : std::exchange(part.addresses, {})) {
        --address->second;
    }
    for (const Directories::iterator& directory : std::exchange(part.directories, {})) {
        directories_->erase(directory);
    }
    atServer_.erase({part.order, part.number});
}

Parts::Files Parts::sorted(const Index& index, std::string_view name) {
    std::vector<const Part*> found;
    const auto [begin, end] = index.equal_range(keyOf(name));
    std::transform(begin, end, std::back_inserter(found), [](const auto& entry) { return entry.second; });
    return sorted(std::move(found));
}

Parts::Files Parts::sorted(std::vector<const Part*> found) {
    std::sort(found.begin(), found.end(), [](const Part* a, const Part* b) {
        return std::pair(a->order, a->number) < std::pair(b->order, b->number);
    });
    found.erase(std::unique(found.begin(), found.end()), found.end());
    Files files;
    std::transform(found.begin(), found.end(), std::back_inserter(files),
                   [](const Part* part) { return part->file; });
    return files;
}

Parts::Files Parts::holdersOf(std::string_view name) {
    Files files = sorted(sites_, name);
    noteUse(files);
    return files;
}

void Parts::rest() {
    for (const std::string& path : std::exchange(grown_, {})) {
        if (isInParts(path)) {
            splitLast(files_.at(path), path);
        }
    }
    for (const auto& [path, number] : std::exchange(used_, {})) {
        const auto file = files_.find(path);
        if (!goneThrough_ && file != files_.end() && number < file->second.parts.size()) {
            file->second.parts[number]->file->forget();
        }
    }
}

void Parts::indexNames() {
    names_.emplace();
    eachFresh(&Parts::enterNames);
}

// What nobody has got of a part yet is forgotten once it is entered.
void Parts::eachFresh(void (Parts::*entering)(Part& part)) {
    for (const auto& [path, file] : files_) {
        for (const auto& part : file.parts) {
            const bool isFresh = !part->file->contents_ && !part->file->lines_;
            (this->*entering)(*part);
            if (isFresh) {
                part->file->forget();
            }
        }
    }
}

void Parts::enterDirectories(Part& part) {
    for (const std::string& path :
         directories_ ? directoriesIn(part.file->content().text()) : std::set<std::string>()) {
        part.directories.push_back(directories_->emplace(path, &part));
    }
}

// In their order, with those that name directories that nobody can tell from the text.
Parts::Files Parts::withUnknown(std::vector<const Part*> found) {
    const auto [begin, end] = directories_->equal_range(UnknownDirectory);
    std::transform(begin, end, std::back_inserter(found), [](const auto& entry) { return entry.second; });
    Files files = sorted(std::move(found));
    noteUse(files);
    return files;
}

void Parts::indexDirectories() {
    if (!directories_) {
        directories_.emplace();
        eachFresh(&Parts::enterDirectories);
    }
}

Parts::Files Parts::namingAbove(const std::string& directory) {
    indexDirectories();
    std::vector<const Part*> found;
    for (std::string path = directory; !path.empty();
         path.resize(path == "/" ? 0 : std::max<size_t>(path.rfind('/'), 1))) {
        const auto [begin, end] = directories_->equal_range(path);
        std::transform(begin, end, std::back_inserter(found),
                       [](const auto& entry) { return entry.second; });
    }
    return withUnknown(std::move(found));
}

Parts::Files Parts::namingBelow(const std::string& directory) {
    indexDirectories();
    std::vector<const Part*> found;
    for (auto entry = directories_->lower_bound(directory);
         entry != directories_->end() && entry->first.starts_with(directory); ++entry) {
        found.push_back(entry->second);
    }
    return withUnknown(std::move(found));
}

void Parts::noteUse(const Files& files) {
    for (const ConfigurationFile* file : files) {
        if (file->isPart() && !goneThrough_) {
            used_.emplace_back(file->path(), file->number_);
        }
    }
}

Parts::Files Parts::atServer() const {
    Files files;
    std::transform(atServer_.begin(), atServer_.end(), std::back_inserter(files),
                   [](const auto& entry) { return entry.second->file; });
    return files;
}

const Parts::Counts& Parts::addresses() {
    if (!names_) {
        indexNames();
    }
    return addresses_;
}

Parts::Files Parts::carriersOf(std::string_view name) {
    if (!names_) {
        indexNames();
    }
    Files files = sorted(*names_, name);
    for (const ConfigurationFile* file : sorted(*names_, Wildcard)) {
        if (std::find(files.begin(), files.end(), file) == files.end()) {
            files.push_back(file);
        }
    }
    noteUse(files);
    return files;
}

bool Parts::isInParts(const std::string& path) const {
    const auto found = files_.find(path);
    return found != files_.end() && found->second.parts.front()->own != nullptr;
}

Parts::Files Parts::partsOf(const std::string& path) {
    goneThrough_ = true;
    Files files;
    for (const auto& part : files_.at(path).parts) {
        files.push_back(part->file);
    }
    return files;
}

const ConfigurationFile* Parts::last(const std::string& path) const {
    return files_.at(path).parts.back()->file;
}

const ConfigurationFile* Parts::at(const std::string& path, size_t number) {
    const auto& parts = files_.at(path).parts;
    if (number >= parts.size()) {
        return nullptr;
    }
    noteUse({parts[number]->file});
    return parts[number]->file;
}

const ConfigurationFile* Parts::atLine(const std::string& path, size_t line) {
    const File& file = files_.at(path);
    size_t number = 0;
    for (size_t end = file.parts.size(); number + 1 < end;) {
        const size_t middle = (number + end) / 2;
        const bool isHere = file.lines.before(middle) <= line;
        number = isHere ? middle : number;
        end = isHere ? end : middle;
    }
    return at(path, number);
}

std::string Parts::announcementsBeforeLast(const std::string& path) const {
    std::string lines;
    const auto& parts = files_.at(path).parts;
    for (size_t i = 0; i + 1 < parts.size(); ++i) {
        lines += parts[i]->announcements;
    }
    return lines;
}

size_t Parts::firstLineOf(const ConfigurationFile& part) const {
    return files_.at(part.path()).lines.before(part.number_);
}

// What stands behind the part, up to the end of the one that follows.
std::string_view Parts::behind(const ConfigurationFile& part) const {
    const auto& parts = files_.at(part.path()).parts;
    for (size_t i = part.number_ + 1; i < parts.size(); ++i) {
        if (const Pieces pieces = parts[i]->file->content().pieces(); sizeOf(pieces) > 0) {
            return pieces.front();
        }
    }
    return {};
}

const ConfigurationFile& Parts::replace(const ConfigurationFile& part, Content content) {
    const std::string path = part.path();
    File& file = files_.at(path);
    const size_t number = part.number_;
    Part& changed = *file.parts.at(number);
    leave(changed);
    fill(changed, file, path, std::move(content));
    enter(changed, *changed.file, 0, changed.file->content().size());
    enterNames(changed);
    enterDirectories(changed);
    if (number + 1 == file.parts.size()) {
        grown_.insert(path);
    }
    return *changed.file;
}

// A last part that has grown, by sites that were added, becomes several.
void Parts::splitLast(File& file, const std::string& path) {
    const Content content = file.parts.back()->file->content();
    const std::vector<size_t> cuts = cutsOf(*file.parts.back()->file);
    if (content.size() < 3 * PartSize || cuts.empty()) {
        return;
    }
    leave(*file.parts.back());
    file.parts.pop_back();
    file.lines.removeLast();
    for (const Content& piece : piecesOf(content, cuts)) {
        Part& part = add(file, path, Content(std::string(piece.text())));
        enter(part, *part.file, 0, part.file->content().size());
        enterNames(part);
        enterDirectories(part);
    }
}

Content Parts::joined(const std::string& path) const {
    std::vector<Content> texts;
    for (const auto& part : files_.at(path).parts) {
        texts.push_back(part->file->content());
    }
    return Content::joined(texts);
}

}  // namespace zpweb
