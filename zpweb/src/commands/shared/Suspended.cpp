#include "commands/shared/Suspended.h"

#include <algorithm>

#include "settings/SettingFile.h"
#include "sys/File.h"
#include "text/Sites.h"

namespace zpweb {

namespace {

bool isFileName(const std::string& name) { return isServerName(name) && !name.starts_with('.'); }

std::string fileIn(const Transaction& change, std::string directory) {
    std::replace_if(
        directory.begin(), directory.end(),
        [](char c) { return c == '*' || c == '[' || c == ']' || c == ':' || c == ' '; }, '_');
    return settingPath(change.configuration().main().path(), directory, Setting::Suspended);
}

// The one of zpweb's that it includes; empty when there is none.
std::string includedBy(const Transaction& change, const Block& block) {
    const std::string own = directoryOf(change.configuration().main().path()) + "/zpweb.d/";
    const Statements statements(block);
    const auto found = std::find_if(statements.begin(), statements.end(), [&](const Statement& each) {
        return includesSuspension(each) && each.argument(0).starts_with(own);
    });
    return found == statements.end() ? "" : found->argument(0);
}

// Of a block that no name of a file tells: others may have come to the line where it stood.
std::string freeFile(const Transaction& change, const Place& place) {
    const std::string name = nameOf(place.file->path()) + "-" +
                             std::to_string(place.file->firstLine() + place.block->lines.first + 1);
    std::string file = fileIn(change, name);
    for (int number = 2; change.contentOf(file); ++number) {
        file = fileIn(change, name + "-" + std::to_string(number));
    }
    return file;
}

}  // namespace

std::string suspensionFile(const Transaction& change, const Site& site) {
    const Place& place = site.first();
    if (isFileName(std::string(place.block->name))) {
        return fileIn(change, site.name());
    }
    const std::string known = includedBy(change, *place.block);
    return known.empty() ? freeFile(change, place) : known;
}

Outcome writeSuspension(Transaction& change, const std::string& file, const std::string& site,
                        const std::string& directives) {
    return change.replace(file, settingText(site, Setting::Suspended, {"{}", directives, false}));
}

bool includesSuspension(const Statement& statement) {
    return statement.is("Include") && statement.argument(0).ends_with("/suspended.conf");
}

}  // namespace zpweb
