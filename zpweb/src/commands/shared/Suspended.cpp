#include "commands/shared/Suspended.h"

#include <algorithm>

#include "settings/SettingFile.h"
#include "sys/File.h"
#include "text/Sites.h"

namespace zpweb {

namespace {

// A name that can stand in a path, also of a block that has none that a server could have.
std::string directoryNameOf(const Site& site) {
    const Place& place = site.first();
    const bool isName = isServerName(place.block->name) && !place.block->name.starts_with('.');
    std::string name =
        isName ? site.name()
               : nameOf(place.file->path()) + "-" + std::to_string(place.block->lines.first + 1);
    std::replace_if(
        name.begin(), name.end(),
        [](char c) { return c == '*' || c == '[' || c == ']' || c == ':' || c == ' '; }, '_');
    return name;
}

}  // namespace

std::string suspensionFile(const Transaction& change, const Site& site) {
    return settingPath(change.configuration().main().path(), directoryNameOf(site), Setting::Suspended);
}

Outcome writeSuspension(Transaction& change, const std::string& file, const std::string& site,
                        const std::string& directives) {
    return change.replace(file, settingText(site, Setting::Suspended, {"{}", directives, false}));
}

bool includesSuspension(const Statement& statement) {
    return statement.is("Include") && statement.argument(0).ends_with("/suspended.conf");
}

}  // namespace zpweb
