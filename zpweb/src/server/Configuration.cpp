#include "server/Configuration.h"

#include <fnmatch.h>
#include <glob.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <utility>

#include "conf/Text.h"
#include "input/HostName.h"
#include "server/Parts.h"
#include "server/Program.h"
#include "sys/File.h"

namespace zpweb {

namespace {

constexpr int DeepestInclude = 16;

bool hasWildcard(std::string_view pattern) { return pattern.find_first_of("*?[") != pattern.npos; }

std::vector<std::string> matches(const std::string& pattern) {
    glob_t found{};
    std::vector<std::string> paths;
    if (::glob(pattern.c_str(), 0, nullptr, &found) == 0) {
        paths.assign(found.gl_pathv, found.gl_pathv + found.gl_pathc);
    }
    ::globfree(&found);
    return paths;
}

void addTree(const std::string& path, std::vector<std::string>& files, int depth) {
    if (!isFolder(path)) {
        files.push_back(path);
        return;
    }
    for (const std::string& name : depth < DeepestInclude ? entriesOf(path) : std::vector<std::string>()) {
        addTree(path + "/" + name, files, depth + 1);
    }
}

std::vector<std::string> patternsOf(const ConfigurationFile& file) {
    std::vector<std::string> patterns;
    for (const IncludeLine& include : file.server().includes) {
        patterns.emplace_back(include.pattern);
    }
    return patterns;
}

// The path that a file or link of a change stands for.
std::string behind(const std::string& path, const Content& content) {
    if (!content.isLink()) {
        return path;
    }
    const std::string& target = content.text();
    const std::string joined = target.starts_with('/') ? target : folderOf(path) + "/" + target;
    return std::filesystem::path(joined).lexically_normal();
}

// Does the pattern, or the directory, name the path?
bool isNamedBy(const std::string& pattern, const std::string& path) {
    return ::fnmatch(pattern.c_str(), path.c_str(), FNM_PATHNAME | FNM_PERIOD) == 0 ||
           (path.size() > pattern.size() && path.starts_with(pattern) && path[pattern.size()] == '/' &&
            !hasWildcard(pattern));
}

}  // namespace

const Lines& ConfigurationFile::lines() const {
    if (!lines_) {
        lines_.emplace(content_.text());
    }
    return *lines_;
}

const Contents& ConfigurationFile::contents() const {
    if (!contents_) {
        contents_ = contentsOf(content_.text(), *defines_);
    }
    return *contents_;
}

const Block* ConfigurationFile::blockAt(size_t line) const {
    const auto found = std::partition_point(blocks().begin(), blocks().end(),
                                            [line](const Block& block) { return block.lines.end <= line; });
    return found != blocks().end() && found->lines.holds(line) ? &*found : nullptr;
}

size_t ConfigurationFile::firstLine() const { return within_ != nullptr ? within_->firstLineOf(*this) : 0; }

std::string Place::text() const {
    return file->path() + ":" + std::to_string(file->firstLine() + block->nameLine + 1);
}

Expected<Configuration> Configuration::load(const std::string& main) {
    Configuration configuration;
    if (Outcome read = configuration.read(main, 0); !read.ok()) {
        return read;
    }
    return configuration;
}

Outcome Configuration::read(const std::string& path, int depth) {
    auto text = readFile(path);
    if (text.ok()) {
        add(path, Content(std::move(*text)), depth);
    }
    return text.outcome();
}

void Configuration::add(const std::string& path, Content content, int depth) {
    numbers_[path] = files_.size();
    files_.push_back(std::make_unique<ConfigurationFile>(path, std::move(content), defines_));
    if (parts_) {
        parts_->enterWhole(*files_.back(), files_.size() - 1);
    }
    follow(*files_.back(), depth);
}

void Configuration::follow(const ConfigurationFile& file, int depth) {
    if (depth == DeepestInclude) {
        return;
    }
    for (const IncludeLine& include : file.server().includes) {
        for (const std::string& name : included(include.pattern)) {
            const auto real = realOf(name);
            if (!real.ok() || this->file(*real) != nullptr) {
                continue;
            }
            // What the server cannot read either is found by its own check.
            if (const auto staged = otherwise_.find(*real); staged == otherwise_.end()) {
                static_cast<void>(isFile(*real) && read(*real, depth + 1).ok());
            } else if (staged->second && !staged->second.isLink()) {
                add(*real, staged->second, depth + 1);
            }
        }
    }
}

const ConfigurationFile* Configuration::file(const std::string& path) const {
    const auto found = numbers_.find(path);
    return found == numbers_.end() ? nullptr : files_[found->second].get();
}

void Configuration::drop(const std::string& path) {
    const auto found = numbers_.find(path);
    if (found == numbers_.end() || found->second == 0) {
        return;
    }
    files_.erase(files_.begin() + static_cast<std::ptrdiff_t>(found->second));
    parts_.reset();
    numbers_.clear();
    for (size_t i = 0; i < files_.size(); ++i) {
        numbers_[files_[i]->path()] = i;
    }
}

void Configuration::put(const std::string& path, const Content& content) {
    if (!content) {
        const auto real = realOf(path);
        otherwise_[path] = content;
        if (real.ok() && !isReached(*real)) {
            drop(*real);
        }
        return;
    }
    otherwise_[path] = content;
    if (const auto known = numbers_.find(path); known != numbers_.end()) {
        const auto before = std::exchange(files_[known->second],
                                          std::make_unique<ConfigurationFile>(path, content, defines_));
        if (parts_ && !parts_->isInParts(path)) {
            parts_->leaveWhole(*before);
            parts_->enterWhole(*files_[known->second], known->second);
        } else {
            parts_.reset();
        }
        follow(*files_[known->second], 1);
        return;
    }
    const std::string real = behind(path, content);
    const auto staged = otherwise_.find(real);
    if (!isReached(path) || file(real) != nullptr) {
        return;
    }
    if (staged == otherwise_.end()) {
        static_cast<void>(read(real, 1));  // what the server cannot read is found by its own check
    } else if (staged->second && !staged->second.isLink()) {
        add(real, staged->second, 1);
    }
}

// Is the path named by an Include line, or by a link of this change that is?
bool Configuration::isReached(const std::string& path) const {
    return includes(path) || std::any_of(otherwise_.begin(), otherwise_.end(), [&](const auto& entry) {
               return entry.second.isLink() && behind(entry.first, entry.second) == path &&
                      includes(entry.first);
           });
}

std::vector<Place> Configuration::find(std::string_view name) const {
    std::vector<const ConfigurationFile*> holders;
    if (parts_) {
        holders = parts_->holdersOf(name);
    } else {
        std::transform(files_.begin(), files_.end(), std::back_inserter(holders),
                       [](const auto& file) { return file.get(); });
    }
    std::vector<Place> places;
    const SameHost matches(name);
    for (const ConfigurationFile* holder : holders) {
        for (const Block& block : holder->blocks()) {
            if (!block.name.empty() && matches(block.name)) {
                places.push_back({holder, &block});
            }
        }
    }
    return places;
}

void Configuration::index() {
    if (!parts_) {
        parts_ = std::make_shared<Parts>(files_, defines_);
    }
}

const ConfigurationFile* Configuration::partOf(const std::string& path, std::string_view site) const {
    if (!parts_ || !parts_->isInParts(path)) {
        return nullptr;
    }
    auto holders = parts_->holdersOf(site);
    std::erase_if(holders, [&](const ConfigurationFile* holder) { return holder->path() != path; });
    return holders.size() == 1 ? holders.front() : nullptr;
}

const ConfigurationFile* Configuration::lastPart(const std::string& path) const {
    return parts_ ? parts_->last(path) : nullptr;
}

std::string Configuration::announcements(const std::string& path) const {
    return parts_ ? parts_->announcementsBeforeLast(path) : "";
}

void Configuration::putPart(const ConfigurationFile& part, Content content) {
    const std::string path = part.path();
    const std::vector<std::string> before = patternsOf(part);
    const ConfigurationFile& after = parts_->replace(part, std::move(content));
    Content whole = Content::later([parts = parts_, path] { return parts->whole(path); });
    files_[numbers_.at(path)] = std::make_unique<ConfigurationFile>(path, std::move(whole), defines_);
    if (patternsOf(after) != before) {
        follow(after, 1);
    }
}

std::string Configuration::serverRoot() const {
    for (const auto& candidate : files_) {
        if (!candidate->server().root.empty()) {
            return std::string(candidate->server().root);
        }
    }
    return builtInValue("HTTPD_ROOT");
}

std::string Configuration::absolute(std::string_view pattern) const {
    return pattern.empty() || pattern.front() == '/' ? std::string(pattern)
                                                     : serverRoot() + "/" + std::string(pattern);
}

std::vector<std::string> Configuration::included(std::string_view pattern) const {
    const std::string path = absolute(pattern);
    std::vector<std::string> files;
    if (path.empty()) {
        return files;
    }
    for (const std::string& entry : hasWildcard(path) ? matches(path) : std::vector<std::string>{path}) {
        addTree(entry, files, 0);
    }
    if (!changesNames(pattern)) {
        return files;
    }
    std::erase_if(files, [&](const std::string& name) {
        const auto other = otherwise_.find(name);
        return other != otherwise_.end() && !other->second;
    });
    for (const auto& [name, content] : otherwise_) {
        if (content && isNamedBy(path, name) &&
            std::find(files.begin(), files.end(), name) == files.end()) {
            files.push_back(name);
        }
    }
    if (hasWildcard(path) || isFolder(path)) {
        std::sort(files.begin(), files.end());
    }
    return files;
}

bool Configuration::changesNames(std::string_view pattern) const {
    const std::string path = absolute(pattern);
    return std::any_of(otherwise_.begin(), otherwise_.end(), [&](const auto& entry) {
        return static_cast<bool>(entry.second) != exists(entry.first) && isNamedBy(path, entry.first);
    });
}

bool Configuration::includes(const std::string& path) const {
    return std::any_of(files_.begin(), files_.end(), [&](const auto& candidate) {
        const auto& lines = candidate->server().includes;
        return std::any_of(lines.begin(), lines.end(), [&](const IncludeLine& include) {
            return isNamedBy(absolute(include.pattern), path);
        });
    });
}

Expected<std::string> Configuration::realOf(const std::string& name) const {
    const auto other = otherwise_.find(name);
    return other != otherwise_.end() && other->second ? Expected(behind(name, other->second))
                                                      : realPathOf(name);
}

Expected<std::string> findConfiguration() {
    std::string path = builtInValue("SERVER_CONFIG_FILE");
    if (!path.empty() && path.front() != '/') {
        path = builtInValue("HTTPD_ROOT") + "/" + path;
    }
    for (const std::string& candidate :
         {path, std::string("/etc/apache2/apache2.conf"), std::string("/etc/httpd/conf/httpd.conf")}) {
        if (!candidate.empty() && isFile(candidate)) {
            return candidate;
        }
    }
    return failure(Status::NotFound,
                   "no server configuration found: name it with --conf FILE (expected the main "
                   "configuration file of the server)");
}

}  // namespace zpweb
