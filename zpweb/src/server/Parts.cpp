#include "server/Parts.h"

#include <algorithm>
#include <utility>

#include "conf/Text.h"
#include "server/Cuts.h"

namespace zpweb {

namespace {

constexpr size_t LongFile = size_t{128} * 1024;

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
        index_.enter(whole, file, 0, file.content().size());
        index_.enterText(whole);
        return;
    }
    size_t at = 0;
    for (Content& piece : piecesOf(file.content(), cuts)) {
        const size_t size = piece.size();
        Part& part = add(taken, path, std::move(piece));
        index_.enter(part, file, at, at + size);
        at += size;
    }
    file.forget();
    for (const auto& part : taken.parts) {
        index_.enterText(*part);
    }
}

void Parts::drop(const std::string& path) {
    const auto found = files_.find(path);
    if (found == files_.end()) {
        return;
    }
    for (const auto& part : found->second.parts) {
        index_.leave(*part);
    }
    files_.erase(found);
}

Part& Parts::add(File& file, const std::string& path, Content content) {
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

Parts::Files Parts::used(Files files) {
    for (const ConfigurationFile* file : files) {
        if (file->isPart() && !goneThrough_) {
            used_.emplace_back(file->path(), file->number_);
        }
    }
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
    return used({parts[number]->file}).front();
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
    index_.leave(changed);
    fill(changed, file, path, std::move(content));
    index_.enter(changed, *changed.file, 0, changed.file->content().size());
    index_.enterText(changed);
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
    index_.leave(*file.parts.back());
    file.parts.pop_back();
    file.lines.removeLast();
    for (const Content& piece : piecesOf(content, cuts)) {
        Part& part = add(file, path, Content(std::string(piece.text())));
        index_.enter(part, *part.file, 0, part.file->content().size());
        index_.enterText(part);
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
