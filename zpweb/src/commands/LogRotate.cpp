// log rotate: packs or deletes a site's access log.
#include <sys/stat.h>

#include "CZPWebsite.h"
#include "commands/Commands.h"
#include "commands/shared/Operation.h"
#include "conf/Line.h"
#include "input/Quoted.h"
#include "sys/File.h"
#include "sys/GuardedFolder.h"

namespace zpweb {

namespace {

constexpr auto Size = numberOption("--size", "MEGABYTES", "Only a log of at least this size (0)");
constexpr auto Delete = flag("--delete", "Delete it without packing it");

std::string accessLogOf(const Place& place) {
    std::string log;
    for (size_t i = place.block->lines.first; i < place.block->lines.end && log.empty(); ++i) {
        const zp::conf::Line line(withoutReturn(place.file->lines()[i]));
        if (line.begins(zp::conf::keyword::CustomLog)) {
            log = zp::conf::upTo(line.argumentOf(zp::conf::keyword::CustomLog), " ");
        }
    }
    return log;
}

Outcome rotate(Transaction& change, const Site& site, const Arguments& given) {
    const Place& place = site.first();
    const std::string name = site.name();
    const std::string file = place.file->path();
    const std::string log = accessLogOf(place);
    struct stat status {};
    if (log.empty() || log.front() != '/' || ::stat(log.c_str(), &status) != 0) {
        return failure(Status::NotFound, "site " + inQuotes(name) + " has no access log to rotate");
    }
    if (Outcome reached = reachedWithoutForeignLink(folderOf(log)); !reached.ok()) {
        return reached;
    }
    const int megabytes = given[Size].value_or(0);
    change.output().set("log", log);
    change.output().set("bytes", status.st_size);
    if (status.st_size / 1048576 < megabytes) {
        return done();  // below the threshold
    }
    const std::string option = given[Delete] ? "DEL" : "ZIPandDEL";
    change.afterwards([=, &change] {
        if (Outcome reached = reachedWithoutForeignLink(folderOf(log)); !reached.ok()) {
            return reached;
        }
        CZPWebsite website(nullptr, file.c_str());
        const int result = quietly(change.output(), [&] {
            return website.rotateLog(file, name, std::to_string(megabytes), option);
        });
        return resultOf("rotateLog", result, {1});
    });
    return done();
}

}  // namespace

Command logRotate() {
    return {
        .words = "log rotate",
        .summary = "Pack or delete a website's access log",
        .action = rotate,
        .parameters = {SiteName, Size, Delete},
        .operations = {"CZPWebsite::rotateLog", "currentTimeStamp"},
        .more = "It is not taken back by \"undo\".",
        .examples = {"log rotate shop.example --size 100"},
    };
}

}  // namespace zpweb
