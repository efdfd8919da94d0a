#include "server/Parts.h"

#include <algorithm>
#include <utility>

#include "conf/Text.h"
#include "input/HostName.h"

namespace zpweb {

namespace {

constexpr size_t LongFile = size_t{128} * 1024;
constexpr size_t PartSize = size_t{16} * 1024;

// The same for all forms of a name.
std::string keyOf(std::string_view name) {
    std::string key(name);
    const bool plain =
        std::all_of(name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) < 128; });
    if (!plain) {
        const auto ascii = asciiHostName(key);
        return ascii.ok() ? *ascii : key;
    }
    std::transform(key.begin(), key.end(), key.begin(), zp::conf::lower);
    return key;
}

std::vector<std::string> keysOf(const ConfigurationFile& file) {
    std::vector<std::string> keys;
    for (const Block& block : file.blocks()) {
        std::string key = keyOf(block.name);
        if (!key.empty() && std::find(keys.begin(), keys.end(), key) == keys.end()) {
            keys.push_back(std::move(key));
        }
    }
    return keys;
}

// Where the text can be cut: the offsets behind closed blocks that stand in no section, at least one part's
// size from each other, and never between two blocks of one site.
std::vector<size_t> cutsOf(const ConfigurationFile& file) {
    const std::string& text = file.content().text();
    const std::vector<Block>& blocks = file.blocks();
    std::vector<size_t> cuts;
    size_t from = 0;
    for (size_t i = 0; i + 1 < blocks.size(); ++i) {
        const Block& block = blocks[i];
        const Block& next = blocks[i + 1];
        const auto end = static_cast<size_t>(block.text.data() + block.text.size() - text.data());
        const bool free = block.closed && !block.stopped && !block.conditional &&
                          next.text.data() >= text.data() + end && text[end - 1] == '\n';
        if (free && end - from >= PartSize && !zp::conf::equalIgnoringCase(block.name, next.name)) {
            cuts.push_back(end);
            from = end;
        }
    }
    return cuts;
}

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

Parts::Parts(const std::deque<std::unique_ptr<ConfigurationFile>>& files, std::shared_ptr<Defines> defines)
    : defines_(std::move(defines)) {
    for (size_t i = 0; i < files.size(); ++i) {
        const ConfigurationFile& file = *files[i];
        numbers_[file.path()] = i;
        if (file.content().size() >= LongFile) {
            split(file.path(), file, i);
        }
        if (!isInParts(file.path())) {
            enterWhole(file, i);
        }
    }
}

void Parts::split(const std::string& path, const ConfigurationFile& file, size_t number) {
    const std::vector<size_t> cuts = cutsOf(file);
    const std::string& text = file.content().text();
    if (cuts.empty()) {
        return;
    }
    File& parts = split_[path];
    size_t from = 0;
    for (const size_t cut : cuts) {
        enter(add(parts, path, text.substr(from, cut - from)), number);
        from = cut;
    }
    enter(add(parts, path, text.substr(from)), number);
}

Parts::Part& Parts::add(File& parts, const std::string& path, std::string text) {
    parts.push_back(std::make_unique<Part>());
    fill(*parts.back(), path, Content(std::move(text)));
    return *parts.back();
}

void Parts::fill(Part& part, const std::string& path, Content content) {
    const std::string& text = content.text();
    part.lines = static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
    part.announcements = announcementsIn(text);
    part.file = std::make_unique<ConfigurationFile>(path, std::move(content), defines_);
    part.file->within_ = this;
    part.keys = keysOf(*part.file);
}

void Parts::enter(const Part& part, size_t number) {
    for (const std::string& key : part.keys) {
        sites_[key].push_back({number, nullptr, &part});
    }
}

void Parts::leave(const Part& part) {
    for (const std::string& key : part.keys) {
        std::erase_if(sites_[key], [&](const Holder& holder) { return holder.part == &part; });
    }
}

std::vector<const ConfigurationFile*> Parts::holdersOf(std::string_view name) const {
    const auto found = sites_.find(keyOf(name));
    if (found == sites_.end()) {
        return {};
    }
    std::vector<Holder> holders = found->second;
    std::stable_sort(holders.begin(), holders.end(),
                     [](const Holder& a, const Holder& b) { return a.file < b.file; });
    std::vector<const ConfigurationFile*> files;
    for (const Holder& holder : holders) {
        files.push_back(holder.part != nullptr ? holder.part->file.get() : holder.whole);
    }
    return files;
}

const ConfigurationFile* Parts::last(const std::string& path) const {
    const auto found = split_.find(path);
    return found == split_.end() ? nullptr : found->second.back()->file.get();
}

std::string Parts::announcementsBeforeLast(const std::string& path) const {
    std::string lines;
    const auto found = split_.find(path);
    for (size_t i = 0; found != split_.end() && i + 1 < found->second.size(); ++i) {
        lines += found->second[i]->announcements;
    }
    return lines;
}

size_t Parts::firstLineOf(const ConfigurationFile& part) const {
    size_t lines = 0;
    for (const auto& each : split_.at(part.path())) {
        if (each->file.get() == &part) {
            break;
        }
        lines += each->lines;
    }
    return lines;
}

Parts::Part* Parts::partOf(const ConfigurationFile& file) const {
    const File& parts = split_.at(file.path());
    const auto found = std::find_if(parts.begin(), parts.end(),
                                    [&](const auto& part) { return part->file.get() == &file; });
    return found->get();
}

const ConfigurationFile& Parts::replace(const ConfigurationFile& part, Content content) {
    const std::string path = part.path();
    Part& changed = *partOf(part);
    const std::vector<std::string> before = changed.keys;
    fill(changed, path, std::move(content));
    if (changed.keys != before) {
        std::vector<std::string> now = std::exchange(changed.keys, before);
        leave(changed);
        changed.keys = std::move(now);
        enter(changed, numbers_.at(path));
    }
    const bool isLast = &changed == split_.at(path).back().get();
    if (isLast) {
        splitLast(path);
    }
    return isLast ? *split_.at(path).back()->file : *changed.file;
}

void Parts::enterWhole(const ConfigurationFile& file, size_t number) {
    numbers_[file.path()] = number;
    for (const std::string& key : keysOf(file)) {
        sites_[key].push_back({number, &file, nullptr});
    }
}

void Parts::leaveWhole(const ConfigurationFile& file) {
    for (const std::string& key : keysOf(file)) {
        std::erase_if(sites_[key], [&](const Holder& holder) { return holder.whole == &file; });
    }
}

// A last part that has grown, by sites that were added, becomes several.
void Parts::splitLast(const std::string& path) {
    File& parts = split_.at(path);
    Part& last = *parts.back();
    const std::vector<size_t> cuts = cutsOf(*last.file);
    if (last.file->content().size() < 3 * PartSize || cuts.empty()) {
        return;
    }
    const std::string text = last.file->content().text();
    leave(last);
    parts.pop_back();
    size_t from = 0;
    for (const size_t cut : cuts) {
        enter(add(parts, path, text.substr(from, cut - from)), numbers_.at(path));
        from = cut;
    }
    enter(add(parts, path, text.substr(from)), numbers_.at(path));
}

std::string Parts::whole(const std::string& path) const {
    std::string text;
    const File& parts = split_.at(path);
    size_t size = 0;
    for (const auto& part : parts) {
        size += part->file->content().size();
    }
    text.reserve(size);
    for (const auto& part : parts) {
        text += part->file->content().text();
    }
    return text;
}

}  // namespace zpweb
