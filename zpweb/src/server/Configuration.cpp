#include "server/Configuration.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <utility>

#include "conf/Text.h"
#include "input/HostName.h"
#include "server/BlockChange.h"
#include "server/Parts.h"
#include "server/Program.h"
#include "sys/File.h"
#include "sys/Look.h"
#include "text/Statements.h"

namespace zpweb {

namespace {

constexpr int DeepestInclude = 16;
constexpr size_t LargestOfOthers = 256UL << 20;

// Does a block write something with a variable that is known by now?
bool leavesKnownVariables(const ConfigurationFile& file, const Defines& defines) {
    const auto leaves = [&](std::string_view text) {
        return zp::conf::contains(text, "${") && resolved(text, defines) != text;
    };
    return std::any_of(file.blocks().begin(), file.blocks().end(), [&](const Block& block) {
        return leaves(block.name) || leaves(block.aliases) || leaves(block.addresses);
    });
}

bool isOthers(const std::string& path) {
    struct stat status {};
    return lookAt(path, status) && status.st_uid != 0 && status.st_uid != ::geteuid();
}

// What would hold up who reads it for as long as its owner likes.
Outcome obstacleAt(const std::string& path) {
    struct stat status {};
    if (lookAt(path, status) && S_ISFIFO(status.st_mode)) {
        return failure(path + ": a named pipe, which the server would wait for; remove it");
    }
    const bool large = static_cast<size_t>(status.st_size) > LargestOfOthers && isOthers(path);
    return large ? failure(path + ": larger than 256 MiB, and not root's") : done();
}

// The path that a file or link of a change stands for.
std::string behind(const std::string& path, const Content& content) {
    if (!content.isLink()) {
        return path;
    }
    const std::string& target = content.text();
    const std::string joined = target.starts_with('/') ? target : directoryOf(path) + "/" + target;
    return std::filesystem::path(joined).lexically_normal();
}

}  // namespace

Expected<Configuration> Configuration::load(const std::string& main) {
    Configuration configuration;
    if (Outcome read = configuration.read(main, 0, false); !read.ok()) {
        return read;
    }
    const Outcome& whole = configuration.obstacle_;
    const Outcome rooted = whole.ok() ? configuration.knowsRoot() : whole;
    return rooted.ok() ? Expected(std::move(configuration)) : Expected<Configuration>(rooted);
}

// Without it a relative Include line leads to nothing, and the sites behind it would seem to be gone.
Outcome Configuration::knowsRoot() const {
    const auto isRelative = [](const IncludeLine& include) { return !include.pattern.starts_with('/'); };
    const auto leads = [&](const auto& file) {
        const auto& includes = file->server().includes;
        return std::any_of(includes.begin(), includes.end(), isRelative);
    };
    return !serverRoot().empty() || std::none_of(files_.begin(), files_.end(), leads)
               ? done()
               : failure(main().path() +
                         ": what it includes is not known: no ServerRoot line tells where "
                         "relative paths begin, and apache2 or httpd, which knows it, is "
                         "not to be found or does not answer");
}

Outcome Configuration::read(const std::string& path, int depth, bool inBlocks) {
    auto text = readFile(path, isOthers(path) ? LargestOfOthers : std::string::npos);
    if (text.ok()) {
        add(path, Content(std::move(*text)), depth, inBlocks);
    }
    return text.outcome();
}

void Configuration::add(const std::string& path, Content content, int depth, bool inBlocks) {
    files_.push_back(std::make_unique<ConfigurationFile>(path, std::move(content), around_));
    known_[path] = {std::prev(files_.end()), nextOrder_++, inBlocks};
    noteNames(*files_.back(), 1);
    if (parts_) {
        parts_->take(*files_.back(), nextOrder_ - 1, inBlocks);
    }
    follow(*files_.back(), depth);
}

// A line outside of blocks leads to a file that such within had led to.
void Configuration::noteAtServer(const std::string& path, int depth) {
    Known& known = known_.at(path);
    if (!known.inBlocks) {
        return;
    }
    noteNames(**known.file, -1);
    known.inBlocks = false;
    noteNames(**known.file, 1);
    if (parts_) {
        parts_->drop(path);
        parts_->take(**known.file, known.order, false);
    }
    follow(**known.file, depth);
}

// A file as it stands, or as the change would have it. What the server cannot read either is found by its
// own check.
void Configuration::take(const std::string& path, int depth, bool inBlocks) {
    if (const auto staged = otherwise_.find(path); staged == otherwise_.end()) {
        static_cast<void>(isFile(path) && read(path, depth, inBlocks).ok());
        obstacle_ = obstacle_.ok() ? obstacleAt(path) : obstacle_;
    } else if (staged->second && !staged->second.isLink()) {
        add(path, staged->second, depth, inBlocks);
    }
}

void Configuration::follow(const ConfigurationFile& file, int depth) {
    if (depth == DeepestInclude) {
        return;
    }
    const std::vector<IncludeLine>& includes = file.server().includes;
    const Patterns sought = std::exchange(around_->namesSought, {});
    for (const IncludeLine& include : includes) {
        const bool inBlocks = isInBlocks(file) || file.blockAt(include.line) != nullptr;
        for (const std::string& name : included(include.pattern)) {
            const auto real = realOf(name);
            if (!real.ok()) {
                continue;
            }
            if (this->file(*real) == nullptr) {
                take(*real, depth + 1, inBlocks);
            } else if (!inBlocks) {
                noteAtServer(*real, depth + 1);
            }
        }
    }
    nameBlocks(file, sought);
    if (!includes.empty() && leavesKnownVariables(file, around_->defines)) {
        file.forget();  // an included file defines them for the lines behind
    }
}

// The name of a block that has none can stand in a file that it includes.
void Configuration::nameBlocks(const ConfigurationFile& file, const Patterns& sought) {
    bool found = false;
    for (const std::string& pattern : sought) {
        if (std::string name = serverNameIn(pattern); !name.empty()) {
            found = true;
            around_->includedNames.insert_or_assign(pattern, std::move(name));
        }
    }
    if (found) {
        file.forget();
    }
}

std::string Configuration::serverNameIn(std::string_view pattern) const {
    return std::string(hostOf(lastIn(pattern, "ServerName")));
}

bool Configuration::switchesTlsOn(const Place& place) const {
    constexpr std::string_view Engine = "SSLEngine";
    const Block& block = *place.block;
    const std::vector<IncludeLine>& all = place.file->server().includes;
    const auto next =
        std::lower_bound(all.begin(), all.end(), block.lines.first,
                         [](const IncludeLine& include, size_t line) { return include.line < line; });
    if (next == all.end() || !block.lines.holds(next->line)) {
        return block.tls;
    }
    bool on = block.tls;
    const Statements statements(block);
    for (const Statement& statement : statements) {
        const bool own = statement.scope == 0 && statement.is(Engine);
        const bool includes =
            statement.scope == 0 && (statement.is("Include") || statement.is("IncludeOptional"));
        const std::string value = own ? statement.argument(0)
                                  : includes
                                      ? lastIn(resolved(statement.argument(0), around_->defines), Engine)
                                      : "";
        on = value.empty() ? on : zp::conf::equalIgnoringCase(value, "on");
    }
    return on;
}

// The value of the last such line in the files that the pattern names, outside of sections.
std::string Configuration::lastIn(std::string_view pattern, std::string_view directive) const {
    std::string value;
    for (const std::string& path : included(pattern)) {
        const auto real = realOf(path);
        const ConfigurationFile* known = real.ok() ? file(*real) : nullptr;
        const auto text =
            known != nullptr ? Expected(known->content().text()) : readFile(path, LargestOfOthers);
        const Statements statements(text.ok() ? std::string_view(*text) : "");
        for (const Statement& statement : statements) {
            if (statement.scope == None && statement.is(directive)) {
                value = resolved(statement.argument(0), around_->defines);
            }
        }
    }
    return value;
}

const ConfigurationFile* Configuration::file(const std::string& path) const {
    const auto found = known_.find(path);
    return found == known_.end() ? nullptr : found->second.file->get();
}

void Configuration::drop(const std::string& path) {
    const auto found = known_.find(path);
    if (found == known_.end() || found->second.file == files_.begin()) {
        return;
    }
    if (parts_) {
        parts_->drop(path);
    }
    noteNames(**found->second.file, -1);
    files_.erase(found->second.file);
    known_.erase(found);
}

void Configuration::noteLink(const std::string& path, const Content& content) {
    if (const auto before = otherwise_.find(path); before != otherwise_.end() && before->second.isLink()) {
        links_[behind(path, before->second)].erase(path);
    }
    if (content.isLink()) {
        links_[behind(path, content)].insert(path);
    }
}

void Configuration::put(const std::string& path, const Content& content) {
    noteLink(path, content);
    if (!content) {
        const auto real = realOf(path);
        otherwise_[path] = content;
        if (real.ok() && !isReached(*real, &Uses::all)) {
            drop(*real);
        }
        return;
    }
    otherwise_[path] = content;
    if (const auto known = known_.find(path); known != known_.end()) {
        std::unique_ptr<ConfigurationFile>& file = *known->second.file;
        if (!parts_ && !content.isLink() && staysWithinBlock(*file, content, *around_)) {
            noteDefines(*file);
            file = std::make_unique<ConfigurationFile>(path, content, around_);
            return;
        }
        const Before before = leave(*file);
        if (parts_) {
            parts_->drop(path);
        }
        file = std::make_unique<ConfigurationFile>(path, content, around_);
        if (parts_) {
            parts_->take(*file, known->second.order, known->second.inBlocks);
        }
        enter(*file, before);
        return;
    }
    const std::string real = behind(path, content);
    if (isReached(path, &Uses::all) && file(real) == nullptr) {
        take(real, 1, !isReached(path, &Uses::atServer));
    }
}

// Is the path named by an Include line, or by a link of this change that is?
bool Configuration::isReached(const std::string& path, int Uses::*by) const {
    if (isIncluded(path, by)) {
        return true;
    }
    const auto links = links_.find(path);
    return links != links_.end() &&
           std::any_of(links->second.begin(), links->second.end(),
                       [&](const std::string& link) { return isIncluded(link, by); });
}

bool Configuration::hasConditionalLines() const {
    return std::any_of(files_.begin(), files_.end(),
                       [](const auto& file) { return !file->conditionalLines().empty(); });
}

void Configuration::tellMet(ConditionsMet met) {
    around_->met = std::move(met);
    for (const auto& file : files_) {
        if (!file->conditionalLines().empty()) {
            file->forget();
        }
    }
}

Contents Configuration::contentsOf(std::string_view text) const {
    Surroundings around = *around_;
    return zpweb::contentsOf(text, around);
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
