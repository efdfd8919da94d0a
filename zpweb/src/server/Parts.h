// The files of the configuration with an index of their sites, the long ones taken apart.
//
// A part begins and ends outside of every section: behind a block that closes, and before one of another
// site. Put together they are the file. So what is read of a part is what is read of the whole, and a
// change of one site costs what its part does, however long the file is.
#pragma once

#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "server/Configuration.h"
#include "server/PartIndex.h"
#include "text/RunningTotals.h"

namespace zpweb {

class Parts {
public:
    using Files = PartIndex::Files;

    explicit Parts(std::shared_ptr<Surroundings> around) : around_(std::move(around)) {}

    // A file comes, with its place in the order of files, and whether blocks of sites alone include it;
    // what is known of the lines and blocks of one that is taken apart is gone. And goes.
    void take(const ConfigurationFile& file, size_t order, bool inBlocks);
    void drop(const std::string& path);

    // Files that may hold blocks of the site, or parts of them, in their order.
    Files holdersOf(std::string_view name) { return used(index_.holdersOf(name)); }
    // Those in which a running block may answer to the name, by its own, an alias or a wildcard.
    Files carriersOf(std::string_view name) { return used(index_.carriersOf(name)); }
    // Those that may name the directory or one above it as a document root or of a section, and those in
    // which any line may name the directory or something below it.
    Files namingAbove(const std::string& directory) { return used(index_.namingAbove(directory)); }
    Files namingBelow(const std::string& directory) { return used(index_.namingBelow(directory)); }
    // Those that say something at the server's level, in their order.
    Files atServer() const { return index_.atServer(); }
    // How many running blocks have the address first, as it is written. For one that none has any more, 0.
    const PartIndex::Counts& addresses() { return index_.addresses(); }

    bool isInParts(const std::string& path) const;
    Files partsOf(const std::string& path);  // the file itself where it is in one piece
    const ConfigurationFile* last(const std::string& path) const;
    const ConfigurationFile* at(const std::string& path, size_t number);
    const ConfigurationFile* atLine(const std::string& path, size_t line);
    std::string announcementsBeforeLast(const std::string& path) const;
    size_t firstLineOf(const ConfigurationFile& part) const;
    std::string_view behind(const ConfigurationFile& part) const;  // a piece of what follows it

    // The part is this from now on.
    const ConfigurationFile& replace(const ConfigurationFile& part, Content content);
    Content joined(const std::string& path) const;

    // Between two commands: a last part that has grown becomes several, and what was found of parts that
    // were asked for by their sites is forgotten; all that was got is gone. As long as nobody goes through
    // all parts, what is known does not grow with the commands.
    void rest();

private:
    struct File {
        size_t order = 0;
        bool inBlocks = false;
        std::vector<std::unique_ptr<Part>> parts{};
        RunningTotals lines{};
    };

    Part& add(File& file, const std::string& path, Content content);
    void fill(Part& part, File& file, const std::string& path, Content content);
    Files used(Files files);
    void splitLast(File& file, const std::string& path);

    std::shared_ptr<Surroundings> around_;
    std::unordered_map<std::string, File> files_;
    PartIndex index_;
    std::vector<std::pair<std::string, size_t>> used_;  // parts, by path and number
    std::set<std::string> grown_;                       // files whose last part is another
    bool goneThrough_ = false;
};

}  // namespace zpweb
