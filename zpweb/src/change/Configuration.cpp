#include "change/Configuration.h"

#include <glob.h>

#include <algorithm>

#include "conf/Text.h"
#include "input/HostName.h"
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

std::string Place::text() const { return file->path() + ":" + std::to_string(block->nameLine + 1); }

Expected<Configuration> Configuration::load(const std::string& main) {
    Configuration configuration;
    if (Outcome read = configuration.read(main, 0); !read.ok()) {
        return read;
    }
    return configuration;
}

Outcome Configuration::read(const std::string& path, int depth) {
    auto text = readFile(path);
    if (!text.ok()) {
        return text.outcome();
    }
    files_.push_back(std::make_unique<ConfigurationFile>(path, Content(std::move(*text)), defines_));
    if (depth == DeepestInclude) {
        return done();
    }
    const ConfigurationFile& current = *files_.back();
    for (const IncludeLine& include : current.server().includes) {
        for (const std::string& name : included(include.pattern)) {
            const auto real = realPathOf(name);
            if (real.ok() && isFile(*real) && file(*real) == nullptr) {
                // What the server cannot read either is found by its own check.
                static_cast<void>(read(*real, depth + 1));
            }
        }
    }
    return done();
}

const ConfigurationFile* Configuration::file(const std::string& path) const {
    const auto found = std::find_if(files_.begin(), files_.end(),
                                    [&](const auto& candidate) { return candidate->path() == path; });
    return found == files_.end() ? nullptr : found->get();
}

void Configuration::replace(const std::string& path, Content content) {
    for (auto& candidate : files_) {
        if (candidate->path() == path) {
            candidate = std::make_unique<ConfigurationFile>(path, std::move(content), defines_);
            return;
        }
    }
}

std::vector<Place> Configuration::find(std::string_view name) const {
    std::vector<Place> places;
    const SameHost matches(name);
    for (const auto& candidate : files_) {
        for (const Block& block : candidate->blocks()) {
            if (!block.name.empty() && matches(block.name)) {
                places.push_back({candidate.get(), &block});
            }
        }
    }
    return places;
}

std::string Configuration::serverRoot() const {
    for (const auto& candidate : files_) {
        if (!candidate->server().root.empty()) {
            return std::string(candidate->server().root);
        }
    }
    return builtInValue("HTTPD_ROOT");
}

std::vector<std::string> Configuration::included(std::string_view pattern) const {
    std::string path(pattern);
    if (path.empty()) {
        return {};
    }
    if (path.front() != '/') {
        path = serverRoot() + "/" + path;
    }
    std::vector<std::string> files;
    for (const std::string& entry : hasWildcard(path) ? matches(path) : std::vector<std::string>{path}) {
        addTree(entry, files, 0);
    }
    return files;
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
