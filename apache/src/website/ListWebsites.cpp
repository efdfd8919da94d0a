#include <ostream>

#include "CZPWebsite.h"
#include "Results.h"
#include "conf/BlockNames.h"
#include "conf/LineReader.h"
#include "host/Fields.h"
#include "host/FileSystem.h"
#include "host/Machine.h"
#include "host/Paths.h"
#include "host/Report.h"
#include "shared/ReadConfiguration.h"

namespace conf = zp::conf;
namespace host = zp::host;
namespace keyword = zp::conf::keyword;
namespace result = zp::result;

namespace {

// What the main file says of the files that it includes.
struct Inclusion {
    std::string serverRoot;
    StringVector files;  // as they are written: paths below the server root, absolute paths, wildcards
};

// A block's lines behind its ServerName count as outside: an Include among them is followed.
Inclusion readMainFile(conf::LineReader& reader, StringVector& websites) {
    Inclusion inclusion;
    conf::BlockNames blocks;
    for (conf::Line line; reader.read(line);) {
        if (const auto name = blocks.nameOn(line)) {
            websites.emplace_back(*name);
        } else if (blocks.inUnnamedBlock()) {
            continue;
        } else if (line.begins(keyword::ServerRoot)) {
            inclusion.serverRoot = conf::unquoted(line.argumentOf(keyword::ServerRoot));
        } else if (line.begins(keyword::Include)) {
            inclusion.files.emplace_back(line.restBehind(keyword::Include));
        }
    }
    return inclusion;
}

}  // namespace

char CZPWebsite::ListWebsites(StringVector& websites) {
    host::report(TrackManager, "ListWebsites", {host::NoArgument});
    zp::ReadConfiguration configuration(HttpdConfFile, conf::bound::Lookup,
                                        "Error while opening HttpdConfFile\n");
    if (!configuration.isOpen()) {
        return configuration.failure();
    }
    Inclusion inclusion = readMainFile(configuration.reader(), websites);
    if (configuration.reader().failed()) {
        return configuration.failure();
    }
    host::out() << "server root = " << inclusion.serverRoot << '\n';
    if (inclusion.serverRoot.empty()) {
        host::out() << "cp\n";
        inclusion.serverRoot = host::enterFirstOf(host::path::ServerRoots);
        if (inclusion.serverRoot.empty()) {
            return result::website::Listed;
        }
    }
    for (const std::string& name : inclusion.files) {
        const std::string path = name.starts_with('/') ? name : inclusion.serverRoot + "/" + name;
        if (!host::exists(path)) {
            host::out() << "File not found = " << name << '\n';
        } else if (host::isDirectory(path)) {
            host::out() << "Dir = " << name << '\n';
        } else {
            VHostsInIncFile(path, websites);
        }
    }
    return result::website::Listed;
}
