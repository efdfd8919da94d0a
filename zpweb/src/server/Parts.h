// Long files of the configuration, each in parts, and an index of the sites in all files.
//
// A part begins and ends outside of every section: behind a block that closes, and before one of another
// site. Put together they are the file. So what is read of a part is what is read of the whole, and a
// change of one site costs what its part does, however long the file is.
#pragma once

#include <deque>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "server/Configuration.h"

namespace zpweb {

class Parts {
public:
    Parts(const std::deque<std::unique_ptr<ConfigurationFile>>& files, std::shared_ptr<Defines> defines);

    // Files that may hold blocks of the site, or parts of them, in their order.
    std::vector<const ConfigurationFile*> holdersOf(std::string_view name) const;
    bool isInParts(const std::string& path) const { return split_.contains(path); }
    const ConfigurationFile* last(const std::string& path) const;
    std::string announcementsBeforeLast(const std::string& path) const;
    size_t firstLineOf(const ConfigurationFile& part) const;

    // The part is this from now on; what stands in its place is told.
    const ConfigurationFile& replace(const ConfigurationFile& part, Content content);
    std::string whole(const std::string& path) const;
    // A file in one piece comes, and goes.
    void enterWhole(const ConfigurationFile& file, size_t number);
    void leaveWhole(const ConfigurationFile& file);

private:
    struct Part {
        std::unique_ptr<ConfigurationFile> file;
        std::vector<std::string> keys;  // of the sites in it
        size_t lines = 0;
        std::string announcements;
    };
    using File = std::vector<std::unique_ptr<Part>>;
    struct Holder {
        size_t file;  // its number
        const ConfigurationFile* whole;
        const Part* part;
    };

    void split(const std::string& path, const ConfigurationFile& file, size_t number);
    Part& add(File& parts, const std::string& path, std::string text);
    void enter(const Part& part, size_t number);
    void leave(const Part& part);
    void fill(Part& part, const std::string& path, Content content);
    Part* partOf(const ConfigurationFile& file) const;
    void splitLast(const std::string& path);

    std::shared_ptr<Defines> defines_;
    std::map<std::string, File> split_;
    std::map<std::string, size_t> numbers_;
    std::unordered_map<std::string, std::vector<Holder>> sites_;
};

}  // namespace zpweb
