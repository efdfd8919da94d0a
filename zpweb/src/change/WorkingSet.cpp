#include "change/WorkingSet.h"

#include <algorithm>
#include <utility>

#include "sys/File.h"
#include "sys/OwnersFile.h"

namespace zpweb {

// Files of the configuration are the administrator's. Any other may lie where a site's owner can write.
Content WorkingSet::contentOnDisk(const std::string& path) const {
    if (auto target = linkTarget(path); target && configuration_.includes(path)) {
        return Content::linkTo(std::move(*target));
    }
    auto text = configuration_.includes(path) ? readFile(path) : readOwnersFile(path);
    if (!text.ok() && text.outcome().status != Status::NotFound && fault_.ok()) {
        fault_ = text.outcome();
    }
    return text.ok() ? Content(std::move(*text)) : Content();
}

Content WorkingSet::contentOf(const std::string& path) const {
    const auto touched = files_.find(path);
    if (touched != files_.end() && !inParts_.contains(path)) {
        return touched->second.after;
    }
    const ConfigurationFile* known = configuration_.file(path);
    return known != nullptr ? known->content() : contentOnDisk(path);
}

StagedFile& WorkingSet::fileAt(const std::string& path) {
    const auto found = files_.find(path);
    if (found != files_.end()) {
        return found->second;
    }
    const Content content = contentOf(path);
    const bool ofServer = configuration_.file(path) != nullptr || configuration_.includes(path);
    return files_.emplace(path, StagedFile{content, content, ofServer}).first->second;
}

void WorkingSet::set(const std::string& path, Content content) {
    StagedFile& file = fileAt(path);
    edits_ += inParts_.erase(path) > 0 || !content.saysTheSameAs(file.after) ? 1 : 0;
    file.after = content.saysTheSameAs(file.before) ? file.before : std::move(content);
    configuration_.put(path, file.after);
    file.ofServer = file.ofServer || configuration_.file(path) != nullptr;
}

void WorkingSet::setPart(const ConfigurationFile& part, Content content) {
    const std::string& path = part.path();
    static_cast<void>(fileAt(path));
    inParts_.insert(path);
    edits_ += content.saysTheSameAs(part.content()) ? 0 : 1;
    configuration_.putPart(part, std::move(content));
}

void WorkingSet::settle() {
    for (const std::string& path : std::exchange(inParts_, {})) {
        StagedFile& file = files_.at(path);
        const Content& whole = configuration_.file(path)->content();
        file.after = whole.saysTheSameAs(file.before) ? file.before : whole;
    }
}

std::vector<FileStep> WorkingSet::takeStep() {
    settle();
    std::vector<FileStep> step;
    for (const auto& [path, file] : files_) {
        Content& last = stepped_.try_emplace(path, file.before).first->second;
        if (!file.after.isSameAs(last) && file.after.hash() != last.hash()) {
            step.push_back({path, last, file.after, file.mode});
        }
        last = file.after;
    }
    return step;
}

bool WorkingSet::changed() const {
    return std::any_of(files_.begin(), files_.end(),
                       [](const auto& entry) { return entry.second.changed(); });
}

bool WorkingSet::serverChanged() const {
    return std::any_of(files_.begin(), files_.end(),
                       [](const auto& entry) { return entry.second.ofServer && entry.second.changed(); });
}

std::vector<ChangedFile> WorkingSet::changedFiles() const {
    std::vector<ChangedFile> changed;
    for (const auto& [path, file] : files_) {
        if (file.changed()) {
            changed.push_back({path, file.before.hash(), file.after.hash()});
        }
    }
    return changed;
}

}  // namespace zpweb
