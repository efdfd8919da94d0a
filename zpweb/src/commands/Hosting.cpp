// Hosting limits and logs.
#include <sys/stat.h>

#include <algorithm>

#include "CZPWebsite.h"
#include "commands/Groups.h"
#include "commands/Operation.h"
#include "commands/Parameters.h"
#include "commands/Scopes.h"
#include "conf/Line.h"
#include "input/Quoted.h"
#include "sys/File.h"
#include "sys/GuardedFolder.h"
#include "sys/Number.h"

namespace zpweb {

namespace {

Outcome limitsOn(Transaction& change, const Arguments&) {
    const ConfigurationFile& main = change.configuration().main();
    const auto& lines = main.lines().all;
    const auto has = [&](std::string_view word, std::string_view other) {
        return std::any_of(lines.begin(), lines.end(), [&](std::string_view line) {
            return zp::conf::contains(line, word) && zp::conf::contains(line, other);
        });
    };
    if (has("AllowedHandlers", "")) {
        return done();  // already so; the library would add a second block
    }
    if (!has("LoadModule", "hostinglimits")) {
        return failure(Status::NotFound, main.path() + " loads no hostinglimits module");
    }
    Edit edit;
    edit.file = main.path();
    edit.bound = bound::Limits;
    edit.scope = additionsScope;
    edit.operation = [](const std::string& staged) {
        return CZPWebsite(nullptr, staged.c_str()).EnableHostingLimits();
    };
    edit.meaning = expecting("EnableHostingLimits", {0});
    return change.edit(edit);
}

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

Outcome rotate(Transaction& change, const Place& place, const Arguments& arguments) {
    const std::string name(place.block->name);
    const std::string file = place.file->path();
    const std::string log = accessLogOf(place);
    struct stat status {};
    if (log.empty() || log.front() != '/' || ::stat(log.c_str(), &status) != 0) {
        return failure(Status::NotFound, "site " + inQuotes(name) + " has no access log to rotate");
    }
    if (Outcome reached = reachedWithoutForeignLink(folderOf(log)); !reached.ok()) {
        return reached;
    }
    const int megabytes = leadingNumber(arguments.one("--size"));
    change.output().set("log", log);
    change.output().set("bytes", status.st_size);
    if (status.st_size / 1048576 < megabytes) {
        return done();  // below the threshold
    }
    const std::string option = arguments.has("--delete") ? "DEL" : "ZIPandDEL";
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

std::vector<Command> hostingCommands() {
    return {
        {"limits on",
         "Restrict the handlers on CloudLinux",
         limitsOn,
         {},
         {"CZPWebsite::EnableHostingLimits"}},
        {"log rotate",
         "Pack or delete a website's access log",
         rotate,
         {siteName(), option("--size", Kind::Number, "MEGABYTES", "Only a log of at least this size (0)"),
          flag("--delete", "Delete it without packing it")},
         {"CZPWebsite::rotateLog", "currentTimeStamp"},
         "It is not taken back by \"undo\"."},
    };
}

}  // namespace zpweb
