#include "server/DirectoryPaths.h"

#include <fnmatch.h>

#include <algorithm>
#include <cctype>

#include "conf/Text.h"
#include "text/Words.h"

namespace zpweb {

namespace {

// The directory's name, or that there is one; empty for a line that names none.
std::string directoryIn(std::string_view line) {
    const bool isQuoted = line.starts_with('"') || line.starts_with('\'');  // the name of the directive
    const size_t name = line.starts_with("<") ? 1 : 0;
    const bool root = name == 0 && zp::conf::beginsIgnoringCase(line, "DocumentRoot");
    const bool section = name == 1 && zp::conf::beginsIgnoringCase(line.substr(1), "Directory");
    if (!isQuoted && !root && !section && !line.ends_with('\\')) {
        return {};
    }
    std::string_view rest = zp::conf::stepOver(line, line.find_first_of(" \t"));
    rest = section ? rest.substr(0, rest.rfind('>')) : rest;
    const auto word = nextWord(rest);
    std::string path = word ? word->value() : "";
    const bool plain = (root || section) && path.starts_with('/') && !line.ends_with('\\') &&
                       path.find_first_of("*?[$\\") == path.npos &&
                       !zp::conf::beginsIgnoringCase(line, "<DirectoryMatch");
    return plain ? withoutSlash(path) : UnknownDirectory;
}

bool isOfName(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 ||
           std::string_view("_-./").find(c) != std::string_view::npos;
}

// Where a path begins, and not goes on.
bool beginsPath(std::string_view line, size_t at) {
    return line[at] == '/' && (at == 0 || !isOfName(line[at - 1]));
}

}  // namespace

std::string withoutSlash(std::string path) {
    while (path.size() > 1 && path.ends_with('/')) {
        path.pop_back();
    }
    return path;
}

bool isBelow(const std::string& path, const std::string& directory) {
    const std::string above = withoutSlash(directory);
    return above == "/" || path == above || path.starts_with(above + "/");
}

bool isAbout(const std::string& sectionPath, std::string directory) {
    const std::string path = withoutSlash(sectionPath);
    if (path.find_first_of("*?[") == std::string::npos) {
        return isBelow(directory, path);
    }
    while (directory.size() > 1 && ::fnmatch(path.c_str(), directory.c_str(), FNM_PATHNAME) != 0) {
        const size_t slash = directory.rfind('/');  // none in a path that is told from elsewhere
        directory.resize(slash == directory.npos ? 0 : std::max<size_t>(slash, 1));
    }
    return directory.size() > 1;
}

std::set<std::string> directoriesIn(std::string_view text) {
    std::set<std::string> found;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        const size_t marks = std::min(line.find_first_not_of("# \t\r"), line.size());
        const std::string_view start = zp::conf::trimEnd(line.substr(marks));
        std::string path = start.empty() ? "" : directoryIn(start);
        if (!path.empty()) {
            found.insert(std::move(path));
        }
    }
    return found;
}

std::set<std::string> pathsIn(std::string_view text) {
    std::set<std::string> found = directoriesIn(text);
    for (size_t at = text.find('/'); at != text.npos; at = text.find('/', at + 1)) {
        if (beginsPath(text, at)) {
            const size_t end = std::min(text.find_first_of(" \t\r\n\"'", at), text.size());
            found.insert(
                withoutSlash(std::string(text.substr(at, end - at))));  // and what a ":" ties to it
        }
    }
    return found;
}

bool leadsInto(std::string_view line, const std::string& directory) {
    for (size_t at = line.find(directory); at != line.npos; at = line.find(directory, at + 1)) {
        const size_t end = at + directory.size();
        if (beginsPath(line, at) && (end == line.size() || line[end] == '/' || !isOfName(line[end]))) {
            return true;
        }
    }
    return false;
}

}  // namespace zpweb
