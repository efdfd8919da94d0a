// The server's configuration as it stands in its files: the main file and what it includes.
#pragma once

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "sys/Content.h"
#include "sys/Outcome.h"
#include "text/Lines.h"
#include "text/Sites.h"

namespace zpweb {

class Parts;

// One file, or a part of a long one. Its lines and blocks are views of its text, found when they are first
// asked for.
class ConfigurationFile {
public:
    // `around` is what the files of the configuration share; what it defines joins that.
    ConfigurationFile(std::string path, Content content, std::shared_ptr<Surroundings> around)
        : path_(std::move(path)), content_(std::move(content)), around_(std::move(around)) {}
    ConfigurationFile(const ConfigurationFile&) = delete;
    ConfigurationFile& operator=(const ConfigurationFile&) = delete;

    const std::string& path() const { return path_; }
    const Content& content() const { return content_; }
    const Lines& lines() const;
    const std::vector<Block>& blocks() const { return contents().blocks; }
    const std::vector<Block>& templates() const { return contents().templates; }
    const ServerLines& server() const { return contents().server; }
    const std::vector<ConditionalLine>& conditionalLines() const { return contents().conditionalLines; }
    const std::vector<const char*>& sectionEnds() const { return contents().sectionEnds; }
    size_t longestLine() const { return contents().longestLine; }
    const Block* blockAt(size_t line) const;  // the block that holds the line; null outside of all
    size_t firstLine() const;                 // of a part: the number of its first line in the file
    std::string_view behind() const;          // of a part: the beginning of what follows it in the file
    bool isPart() const { return within_ != nullptr; }
    size_t part() const { return number_; }              // its number among the parts of the file
    bool isRead() const { return lines_ || contents_; }  // has anybody asked for its lines or blocks?
    // What was found of its lines and blocks goes, until it is asked for again.
    void forget() const;

private:
    friend class Parts;
    const Contents& contents() const;

    const Parts* within_ = nullptr;  // the parts that it is one of
    size_t number_ = 0;              // among them
    std::string path_;
    Content content_;
    std::shared_ptr<Surroundings> around_;
    mutable std::optional<Lines> lines_;
    mutable std::optional<Contents> contents_;
};

// A block of a site, in its file.
struct Place {
    const ConfigurationFile* file;
    const Block* block;
    std::string text() const;  // FILE:LINE
};

class Configuration {
public:
    // `main` is a path without links.
    static Expected<Configuration> load(const std::string& main);
    // What an Include line names and nobody can read to its end, the server neither; done when there is
    // none.
    const Outcome& obstacle() const { return obstacle_; }

    const ConfigurationFile& main() const { return *files_.front(); }
    const std::list<std::unique_ptr<ConfigurationFile>>& files() const { return files_; }
    // The same, long ones in their parts once there is an index: what is looked for in all of them is
    // found in these at less cost.
    std::vector<const ConfigurationFile*> parts() const;
    // Those among them that say something at the server's level: outside of the blocks of sites, and in
    // files that not only these include.
    std::vector<const ConfigurationFile*> serverParts() const;
    const ConfigurationFile* file(const std::string& path) const;
    // The file, or link, is this from now on: one that an Include line names is part of the configuration,
    // one that is absent is none. What was known of the file's lines and blocks is gone.
    void put(const std::string& path, const Content& content);

    // --- many changes of one configuration ---

    // Finds sites by an index from now on, and takes long files apart: what `find` gives then stands in
    // parts of files, and a change of a part costs what the part does. Everything that was got before is
    // gone.
    void index();
    // The part that holds all blocks of the site in the file, the last part of the file; null where the
    // file is in one piece or the site in several parts.
    const ConfigurationFile* partOf(const std::string& path, std::string_view site) const;
    // A part by its number, and the one that holds a line, by its number in the file: the file itself where
    // it is in one piece; null for another path.
    const ConfigurationFile* part(const std::string& path, size_t number) const;
    const ConfigurationFile* partAt(const std::string& path, size_t line) const;
    const ConfigurationFile* lastPart(const std::string& path) const;
    // The lines that announce shared addresses, in all parts but the last.
    std::string announcements(const std::string& path) const;
    void putPart(const ConfigurationFile& part, Content content);

    // Do lines that tell names, roots or TLS stand in conditions within blocks? They count until it is told
    // that these are not met.
    bool hasConditionalLines() const;
    void tellMet(ConditionsMet met);
    const ConditionsMet& met() const { return around_->met; }
    // May the server be asked? Not with --no-check.
    void letAskServer() { asksServer_ = true; }
    bool asksServer() const { return asksServer_; }
    // Blocks whose name depends on what nobody has told.
    std::vector<Place> undecided() const;

    // What a text holds, with what is known of the others.
    Contents contentsOf(std::string_view text) const;

    // The blocks of a site, by its name in any letter case; an internationalised name by either form.
    std::vector<Place> find(std::string_view name) const;
    // Files, or parts, in which a running block may answer to the name, whatever its own is.
    std::vector<const ConfigurationFile*> carriersOf(std::string_view name) const;
    // The addresses that running blocks have first, as written, with how many have each.
    std::map<std::string, int> addresses() const;
    // Files, or parts, in which a line may name the directory, or one above, as a document root or of a
    // section; and those in which one of any kind may name the directory or something below.
    std::vector<const ConfigurationFile*> namingAbove(const std::string& directory) const;
    std::vector<const ConfigurationFile*> namingBelow(const std::string& directory) const;
    std::string serverRoot() const;
    // The files that an Include line's pattern names, in the order in which the server reads them.
    std::vector<std::string> included(std::string_view pattern) const;
    // The ServerName in the files that an Include line's pattern names; empty when there is none.
    std::string serverNameIn(std::string_view pattern) const;
    // Does the block switch TLS on, by a line of its own or of a file that it includes?
    bool switchesTlsOn(const Place& place) const;
    // Does a LoadModule line name the module ("ssl_module")? A Listen line such a socket? Those in
    // <IfModule> and the like count.
    bool loads(const std::string& module) const;
    bool listens(const std::function<bool(const std::string& socket)>& test) const;
    // The text with the variables put in that "Define" lines set, as they stand at a line of the file. What
    // lines behind it define counts for names that none before it does: an included file may be read
    // before it all the same.
    std::string resolvedAt(std::string_view text, const ConfigurationFile& file, size_t line) const;
    // Does an Include line name the path?
    bool includes(const std::string& path) const;
    // Does the pattern name other paths than those that are on the disk?
    bool changesNames(std::string_view pattern) const;
    // The file behind a name, without links.
    Expected<std::string> realOf(const std::string& name) const;

private:
    using Files = std::list<std::unique_ptr<ConfigurationFile>>;
    using Patterns = std::set<std::string, std::less<>>;
    struct Known {
        Files::iterator file;
        size_t order = 0;
        bool inBlocks = false;  // lines within blocks of sites alone lead to it
    };
    // How many lines name something, and how many of them stand outside of the blocks of sites.
    struct Uses {
        int all = 0, atServer = 0;
    };
    using Counts = std::map<std::string, Uses>;
    // What lines name; patterns are absolute.
    struct Named {
        std::string serverRoot;
        Counts paths, wildcards, modules, sockets;
    };

    // What a "Define" line sets a variable to, and where it stands: its file's order, and its line.
    struct Definition {
        std::pair<size_t, size_t> place;
        std::string value;
    };
    using Definitions = std::map<std::string, std::vector<Definition>, std::less<>>;

    Outcome read(const std::string& path, int depth, bool inBlocks);
    Outcome knowsRoot() const;
    void take(const std::string& path, int depth, bool inBlocks);
    void follow(const ConfigurationFile& file, int depth);
    void nameBlocks(const ConfigurationFile& file, const Patterns& sought);
    void add(const std::string& path, Content content, int depth, bool inBlocks);
    void noteAtServer(const std::string& path, int depth);
    void drop(const std::string& path);
    bool isReached(const std::string& path, int Uses::*by) const;
    bool isIncluded(const std::string& path, int Uses::*by) const;
    std::string lastIn(std::string_view pattern, std::string_view directive) const;
    bool isInBlocks(const ConfigurationFile& file) const { return known_.at(file.path()).inBlocks; }
    std::string absolute(std::string_view pattern) const;
    const Named& named() const;
    void count(Named& named, const ConfigurationFile& file, int by) const;
    void noteNames(const ConfigurationFile& file, int by);
    const Definitions& definitions() const;
    void noteDefines(const ConfigurationFile& file);
    // One file, or part, takes the place of another, which is told before that goes.
    struct Before {
        std::string root;
        std::vector<std::string> patterns;
    };
    Before leave(const ConfigurationFile& file);
    void enter(const ConfigurationFile& file, const Before& before);
    std::set<std::string> changedNames(const std::string& pattern) const;
    void noteLink(const std::string& path, const Content& content);

    Files files_;
    Outcome obstacle_;
    std::shared_ptr<Parts> parts_;  // once there is an index
    std::shared_ptr<Surroundings> around_ = std::make_shared<Surroundings>();
    std::unordered_map<std::string, Known> known_;  // the files, by path
    size_t nextOrder_ = 0;
    bool asksServer_ = false;
    std::map<std::string, Content> otherwise_;            // what is otherwise than on the disk
    std::map<std::string, std::set<std::string>> links_;  // those among them, by what they lead to
    mutable std::optional<Named> named_;                  // once it is asked for
    mutable std::optional<Definitions> definitions_;      // the same
};

// The main configuration file of the installed server.
Expected<std::string> findConfiguration();
}  // namespace zpweb
