// Which parts of the configuration's files speak of what: a site, a name, an address, a directory, the
// server.
//
// Sites and the server's level are entered from what a whole file was found to hold; what needs a part's
// own text, once somebody asks.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "server/Configuration.h"

namespace zpweb {

struct Part;

class PartIndex {
public:
    using Files = std::vector<const ConfigurationFile*>;
    using Counts = std::map<std::string, int>;

    // A part comes, with what was found between two places of a text that is the part's. And goes.
    void enter(Part& part, const ConfigurationFile& found, size_t from, size_t to);
    void leave(Part& part);
    // What stands in its own text, as far as that was asked for of others.
    void enterText(Part& part);

    // In their order: those that may hold blocks of the site, ...
    Files holdersOf(std::string_view name) const;
    // ... in which a running block may answer to the name, by its own, an alias or a wildcard (these last),
    // ...
    Files carriersOf(std::string_view name);
    // ... that may name the directory or one above it as a document root or of a section, ...
    Files namingAbove(const std::string& directory);
    // ... that may name the directory, or anything below it, in whatever line, ...
    Files namingBelow(const std::string& directory);
    // ... and that say something at the server's level.
    Files atServer() const;
    // How many running blocks have the address first, as it is written. For one that none has any more, 0.
    const Counts& addresses();

private:
    friend struct Part;
    using Key = size_t;
    using Keys = std::vector<Key>;
    using Index = std::unordered_multimap<Key, const Part*>;
    using Directories = std::multimap<std::string, const Part*>;
    // Where a part is entered.
    struct Entries {
        Keys sites{}, names{};
        std::vector<Counts::iterator> addresses{};  // of its running blocks
        std::vector<Directories::iterator> directories{}, paths{};
    };

    static Key keyOf(std::string_view name);
    static Keys sitesOf(const ConfigurationFile& file, size_t from, size_t to);
    static Keys namesOf(const ConfigurationFile& file);
    static Files sorted(std::vector<const Part*> found);
    static Files sorted(const Index& index, std::string_view name);

    void enterNames(Part& part);
    void enterDirectories(Part& part);
    void enterPaths(Part& part);
    void indexNames();
    void indexDirectories();
    void indexPaths();
    void eachFresh(void (PartIndex::*entering)(Part& part));
    static Files withUnknown(const Directories& index, std::vector<const Part*> found);

    std::unordered_set<Part*> parts_;
    Index sites_;
    std::map<std::pair<size_t, size_t>, const Part*> atServer_;  // by order and number
    std::optional<Index> names_;                      // from when it, or addresses, are asked for
    Counts addresses_;                                // the same
    std::optional<Directories> directories_, paths_;  // from when they are first asked for
};

// A part of a long file, or a file in one piece.
struct Part {
    const ConfigurationFile* file = nullptr;
    std::unique_ptr<ConfigurationFile> own{};  // of one that is not all of its file
    size_t order = 0, number = 0;              // of its file among the files, and in it
    bool inBlocks = false;                     // blocks of sites alone include its file
    std::string announcements{};
    PartIndex::Entries entries{};
};

}  // namespace zpweb
