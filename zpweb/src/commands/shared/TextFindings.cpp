#include "commands/shared/TextFindings.h"

#include <sys/stat.h>

#include <algorithm>
#include <map>

#include "commands/shared/Operation.h"
#include "conf/Line.h"
#include "sys/File.h"

namespace zpweb {

namespace {

// The shortest bound of an operation that everyday commands use.
constexpr size_t ShortestBound = bound::Creation;

}  // namespace

std::string placeOf(const ConfigurationFile& file, size_t line) {
    return file.path() + ":" + std::to_string(line + 1);
}

void findMissingRoots(const Configuration& configuration, Findings& findings) {
    for (const auto& file : configuration.files()) {
        for (const Block& block : file->blocks()) {
            const std::string root(block.root);
            if (!block.stopped && !root.empty() && root.front() == '/' && !isDirectory(root)) {
                findings.push_back({"missing document root", placeOf(*file, block.lines.first), root});
            }
            if (!block.closed) {
                findings.push_back(
                    {"block without an end", placeOf(*file, block.lines.first), std::string(block.name)});
            }
        }
    }
}

void findDuplicates(const Configuration& configuration, Findings& findings) {
    std::map<std::string, std::string> claimed;
    for (const auto& file : configuration.files()) {
        for (const Block& block : file->blocks()) {
            if (block.stopped || block.name.empty()) {
                continue;
            }
            std::string key(block.name);
            std::transform(key.begin(), key.end(), key.begin(), zp::conf::lower);
            const auto [first, fresh] =
                claimed.try_emplace(key + " " + std::string(block.address), placeOf(*file, block.nameLine));
            if (!fresh) {
                findings.push_back({"name claimed twice", placeOf(*file, block.nameLine),
                                    std::string(block.name) + ", first at " + first->second});
            }
        }
    }
}

void findPasswordFiles(const Configuration& configuration, const std::string& user, Findings& findings) {
    for (const auto& file : configuration.files()) {
        for (size_t i = 0; i < file->lines().size(); ++i) {
            const zp::conf::Line line(withoutReturn(file->lines()[i]));
            if (!line.begins("AuthUserFile")) {
                continue;
            }
            const std::string path(unquoted(line.argumentOf("AuthUserFile")));
            struct stat status {};
            if (::stat(path.c_str(), &status) != 0) {
                findings.push_back({"missing password file", placeOf(*file, i), path});
            } else if (!S_ISREG(status.st_mode) || !isReadableBy(user, path)) {
                findings.push_back({"password file that the server cannot read", placeOf(*file, i), path});
            }
        }
    }
}

void findLongLines(const Configuration& configuration, Findings& findings) {
    for (const auto& file : configuration.files()) {
        for (size_t i = 0; i < file->lines().size(); ++i) {
            if (file->lines()[i].size() > ShortestBound) {
                findings.push_back({"line over the bound", placeOf(*file, i),
                                    std::to_string(file->lines()[i].size()) + " characters, more than " +
                                        std::to_string(ShortestBound)});
            }
        }
    }
}

}  // namespace zpweb
