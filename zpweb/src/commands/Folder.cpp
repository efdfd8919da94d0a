// <Directory> blocks of a site, by their lines.
#include "commands/Groups.h"
#include "commands/LineOperation.h"
#include "commands/Operation.h"
#include "commands/Parameters.h"
#include "commands/Scopes.h"
#include "input/Quoted.h"

namespace zpweb {

namespace {

int call(ApacheHelper& helper, const std::string& staged, const std::string& site,
         const Arguments& arguments) {
    const std::string folder = arguments.one("FOLDER");
    StringVector lines = arguments.all("--line");
    if (arguments.verb == "add") {
        return helper.Apache_addDirectoryTag(staged, site, folder, lines);
    }
    if (arguments.verb == "set") {
        return helper.Apache_UpdateDirectoryDirectives(staged, site, folder, lines);
    }
    if (arguments.verb == "move") {
        return helper.Apache_UpdateDirectoryTagPath(staged, site, folder, arguments.one("TO"));
    }
    if (arguments.verb == "delete") {
        return helper.Apache_deleteDirectoryTag(staged, site, folder);
    }
    return helper.Apache_UpdateVHDirectiveContents(staged, site, "<Directory \"" + folder + "\"",
                                                   arguments.one("LINE"), !arguments.has("--remove"));
}

Outcome edit(Transaction& change, const Place& place, const Arguments& arguments) {
    const Target target{place.file->path(), std::string(place.block->name)};
    const std::string folder = arguments.one("FOLDER");
    const auto scope = [&](const ConfigurationFile& file) {
        return sectionScope(file, target.site, opensFolder(folder));
    };
    return runOn(change, target,
                 {"folder " + inQuotes(folder), bound::Directive, scope,
                  [&](ApacheHelper& helper, const std::string& staged) {
                      return call(helper, staged, target.site, arguments);
                  }});
}

}  // namespace

std::vector<Command> folderCommands() {
    const Parameter folder = needed("FOLDER", Kind::Path, "The folder of the block");
    const Parameter lines = options("--line", Kind::Text, "DIRECTIVE", "A line of the block");
    return {
        {"folder add",
         "Add a <Directory> block before a website's first",
         edit,
         {siteName(), folder, lines},
         {"ApacheHelper::Apache_addDirectoryTag"}},
        {"folder set",
         "Replace the lines of a <Directory> block",
         edit,
         {siteName(), folder, lines},
         {"ApacheHelper::Apache_UpdateDirectoryDirectives"}},
        {"folder move",
         "Point a <Directory> block at another folder",
         edit,
         {siteName(), folder, needed("TO", Kind::Path, "The other folder")},
         {"ApacheHelper::Apache_UpdateDirectoryTagPath"}},
        {"folder delete",
         "Delete a <Directory> block",
         edit,
         {siteName(), folder},
         {"ApacheHelper::Apache_deleteDirectoryTag"}},
        {"folder line",
         "Make sure that a line is in a <Directory> block, or is not",
         edit,
         {siteName(), folder, needed("LINE", Kind::Text, "The line"),
          flag("--remove", "Remove it instead")},
         {"ApacheHelper::Apache_UpdateVHDirectiveContents"}},
    };
}

}  // namespace zpweb
