// What lines on the server's level name: the files that Include lines name, as they stand and as a change
// would have them, modules and sockets.
#include <fnmatch.h>
#include <glob.h>

#include <algorithm>
#include <iterator>

#include "server/Configuration.h"
#include "server/Program.h"
#include "sys/File.h"

namespace zpweb {

namespace {

constexpr int DeepestDirectory = 16;
constexpr const char* WildCharacters = "*?[\\";

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
    if (!isDirectory(path)) {
        files.push_back(path);
        return;
    }
    for (const std::string& name :
         depth < DeepestDirectory ? entriesOf(path) : std::vector<std::string>()) {
        addTree(path + "/" + name, files, depth + 1);
    }
}

std::string absolutePath(const std::string& root, std::string_view pattern) {
    return pattern.empty() || pattern.front() == '/' ? std::string(pattern)
                                                     : root + "/" + std::string(pattern);
}

// Does the pattern, or the directory, name the path?
bool isNamedBy(const std::string& pattern, const std::string& path) {
    return ::fnmatch(pattern.c_str(), path.c_str(), FNM_PATHNAME | FNM_PERIOD) == 0 ||
           (path.size() > pattern.size() && path.starts_with(pattern) && path[pattern.size()] == '/' &&
            !hasWildcard(pattern));
}

}  // namespace

void Configuration::count(Named& named, const ConfigurationFile& file, int by) const {
    const auto note = [by](Counts& names, std::string_view name, bool atServer) {
        const auto place = names.try_emplace(std::string(name)).first;
        place->second.atServer += atServer ? by : 0;
        if ((place->second.all += by) == 0) {
            names.erase(place);
        }
    };
    const bool atServer = !isInBlocks(file);
    for (const IncludeLine& include : file.server().includes) {
        const std::string pattern = absolutePath(named.serverRoot, include.pattern);
        const bool wild = pattern.find_first_of(WildCharacters) != std::string::npos;
        note(wild ? named.wildcards : named.paths, pattern,
             atServer && file.blockAt(include.line) == nullptr);
    }
    for (const std::string_view module : file.server().modules) {
        note(named.modules, module, atServer);
    }
    for (const auto* sockets : {&file.server().listen, &file.server().listenPerhaps}) {
        for (const std::string_view socket : *sockets) {
            note(named.sockets, socket, atServer);
        }
    }
}

void Configuration::noteNames(const ConfigurationFile& file, int by) {
    noteDefines(file);
    if (named_ && !file.server().root.empty()) {
        named_.reset();
    } else if (named_) {
        count(*named_, file, by);
    }
}

Configuration::Before Configuration::leave(const ConfigurationFile& file) {
    Before before{std::string(file.server().root), {}};
    for (const IncludeLine& include : file.server().includes) {
        before.patterns.emplace_back(include.pattern);
    }
    if (named_) {
        count(*named_, file, -1);
    }
    noteDefines(file);
    return before;
}

void Configuration::enter(const ConfigurationFile& file, const Before& before) {
    const auto& includes = file.server().includes;
    const bool leadsOn = !std::equal(
        includes.begin(), includes.end(), before.patterns.begin(), before.patterns.end(),
        [](const IncludeLine& include, const std::string& pattern) { return include.pattern == pattern; });
    noteDefines(file);
    if (named_ && file.server().root != before.root) {
        named_.reset();
    } else if (named_) {
        count(*named_, file, 1);
    }
    if (leadsOn || !around_->namesSought.empty()) {
        follow(file, 1);
    }
}

const Configuration::Named& Configuration::named() const {
    if (!named_) {
        const auto all = parts();
        named_.emplace();
        const auto root = std::find_if(all.begin(), all.end(),
                                       [](const auto* file) { return !file->server().root.empty(); });
        named_->serverRoot =
            root == all.end() ? builtInValue("HTTPD_ROOT") : std::string((*root)->server().root);
        for (const ConfigurationFile* file : all) {
            count(*named_, *file, 1);
        }
    }
    return *named_;
}

std::string Configuration::serverRoot() const { return named().serverRoot; }

bool Configuration::loads(const std::string& module) const { return named().modules.contains(module); }

bool Configuration::listens(const std::function<bool(const std::string&)>& test) const {
    const auto& sockets = named().sockets;
    return std::any_of(sockets.begin(), sockets.end(),
                       [&test](const auto& socket) { return test(socket.first); });
}

std::string Configuration::absolute(std::string_view pattern) const {
    return absolutePath(serverRoot(), pattern);
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
    const std::set<std::string> changed = changedNames(path);
    if (changed.empty()) {
        return files;
    }
    std::erase_if(files, [&](const std::string& name) { return changed.contains(name); });
    std::copy_if(changed.begin(), changed.end(), std::back_inserter(files),
                 [&](const std::string& name) { return static_cast<bool>(otherwise_.at(name)); });
    if (hasWildcard(path) || isDirectory(path)) {
        std::sort(files.begin(), files.end());
    }
    return files;
}

// Paths that the absolute pattern names, and that come or go with the change.
std::set<std::string> Configuration::changedNames(const std::string& pattern) const {
    const std::string beginning = pattern.substr(0, pattern.find_first_of(WildCharacters));
    std::set<std::string> names;
    for (auto entry = otherwise_.lower_bound(beginning);
         entry != otherwise_.end() && entry->first.starts_with(beginning); ++entry) {
        if (isNamedBy(pattern, entry->first) && static_cast<bool>(entry->second) != exists(entry->first)) {
            names.insert(entry->first);
        }
    }
    return names;
}

bool Configuration::changesNames(std::string_view pattern) const {
    return !changedNames(absolute(pattern)).empty();
}

bool Configuration::includes(const std::string& path) const { return isIncluded(path, &Uses::all); }

bool Configuration::isIncluded(const std::string& path, int Uses::*by) const {
    const Named& all = named();
    for (std::string named = path; named.size() > 1; named = directoryOf(named)) {
        const auto found = all.paths.find(named);
        if (found != all.paths.end() && found->second.*by > 0) {
            return true;
        }
    }
    return std::any_of(all.wildcards.begin(), all.wildcards.end(), [&](const auto& pattern) {
        return pattern.second.*by > 0 && isNamedBy(pattern.first, path);
    });
}

}  // namespace zpweb
