#include "CZPWebsite.h"
#include "conf/LineReader.h"
#include "host/FileSystem.h"
#include "host/Paths.h"

namespace conf = zp::conf;
namespace host = zp::host;

namespace {

// The directory part of the first LoadModule line's path; "." for a path without one, "" without such a
// line.
std::string directoryOfFirstModule(const std::string& httpdConfFile) {
    conf::LineReader reader(httpdConfFile, conf::bound::None);
    for (conf::Line line; reader.read(line);) {
        if (!line.begins(conf::keyword::LoadModule)) {
            continue;
        }
        const std::string_view arguments = line.argumentOf(conf::keyword::LoadModule);
        const std::string_view name = conf::upTo(arguments, " \t");
        std::string_view path = conf::trimEnd(conf::skipSpace(arguments.substr(name.size())));
        path = conf::betweenQuotes(path).value_or(path);
        if (!path.empty()) {
            const size_t slash = path.rfind('/');
            return slash == std::string_view::npos ? "." : std::string(path.substr(0, slash));
        }
    }
    return "";
}

}  // namespace

std::string CZPWebsite::getApacheModulesDir(std::string httpdConfFile) {
    const std::string directory = directoryOfFirstModule(httpdConfFile);
    if (directory == ".") {
        return getApacheServerRoot(httpdConfFile);
    }
    if (!directory.empty()) {
        return directory.front() == '/' ? directory : getApacheServerRoot(httpdConfFile) + "/" + directory;
    }
    for (const char* known : host::path::ModulesDirectories) {
        if (host::isDirectory(known)) {
            return known;
        }
    }
    return "";
}
