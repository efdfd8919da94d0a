// Single directives, <Directory> blocks by their lines, and lines of parameter files.
#include "ApacheHelper.h"
#include "FileHandling.h"
#include "commands/Common.h"
#include "commands/Groups.h"
#include "conf/Line.h"
#include "input/Quoted.h"
#include "sys/File.h"
#include "sys/Number.h"

namespace zpweb {

namespace {

constexpr int NotFoundInBlock = 3;

struct Target {
    std::string file, site;
};

Expected<Target> targetOf(const Configuration& configuration, const Arguments& arguments) {
    if (!arguments.has("--site")) {
        return Target{configuration.main().path(), ""};
    }
    const auto place = findRunning(configuration, arguments.one("--site"));
    if (!place.ok()) {
        return place.outcome();
    }
    return Target{place->file->path(), std::string(place->block->name)};
}

Outcome needsSite(const Arguments& arguments, const char* command) {
    return arguments.has("--site") ? done()
                                   : failure(Status::Usage, std::string(command) + ": --site is missing");
}

std::string wholeLine(const Arguments& arguments) {
    const std::string value = arguments.one("VALUE");
    const bool quote = arguments.has("--quoted");
    return arguments.one("NAME") + " " + (quote ? "\"" + value + "\"" : value);
}

// One operation on the target; `meaning` of 0 is done.
Outcome edited(Transaction& change, const Target& target, size_t most,
               std::function<Scope(const ConfigurationFile&)> scope, const std::string& name,
               std::function<int(ApacheHelper&, const std::string& staged)> call) {
    Edit edit;
    edit.file = target.file;
    edit.bound = most;
    edit.scope = std::move(scope);
    edit.operation = [call = std::move(call)](const std::string& staged) {
        ApacheHelper helper;
        return call(helper, staged);
    };
    edit.meaning = [&](int result) {
        return result == NotFoundInBlock || result == 4
                   ? failure(Status::NotFound,
                             name + ": not found" +
                                 (target.site.empty() ? "" : " in site " + inQuotes(target.site)))
                   : resultOf(name, result, {0});
    };
    return change.edit(edit);
}

Outcome get(Session& session, const Arguments& arguments) {
    const auto configuration = session.load();
    if (!configuration.ok()) {
        return configuration.outcome();
    }
    const auto target = targetOf(*configuration, arguments);
    if (!target.ok()) {
        return target.outcome();
    }
    const std::string name = arguments.one("NAME");
    const bool isQuoted = arguments.has("--quoted");
    ApacheHelper helper;
    std::string value;
    const int result = quietly(session.output, [&] {
        return target->site.empty()
                   ? helper.Apache_getDirectiveValue(target->file, name, value, isQuoted)
                   : helper.Apache_getDirectiveInVH(target->file, target->site, name, value, isQuoted);
    });
    if (result != 0) {
        return failure(Status::NotFound, "directive " + inQuotes(name) + ": not found");
    }
    session.output.set("directive", name);
    session.output.set("value", value);
    if (arguments.has("--is")) {
        const bool is = quietly(session.output, [&] {
            return helper.Apache_isDirectiveWithValueExists(target->file, name, arguments.one("--is"),
                                                            isQuoted);
        });
        session.output.set("matches", is);
    }
    return done();
}

Outcome add(Transaction& change, const Arguments& arguments) {
    if (Outcome site = needsSite(arguments, "directive add"); !site.ok()) {
        return site;
    }
    const auto target = targetOf(change.configuration(), arguments);
    if (!target.ok()) {
        return target.outcome();
    }
    const bool firstOnly = arguments.has("--first");
    return edited(
        change, *target, bound::AddDirective,
        [&](const ConfigurationFile& file) {
            Scope scope = siteScope(file, target->site, [](std::string_view) { return false; });
            scope.mayAdd = {};
            return scope;
        },
        firstOnly ? "Apache_AddDirectivesInVH" : "Apache_AddDirectiveInVH",
        [&](ApacheHelper& helper, const std::string& staged) {
            StringVector lines{wholeLine(arguments)};
            return firstOnly
                       ? helper.Apache_AddDirectivesInVH(staged, target->site, lines)
                       : helper.Apache_AddDirectiveInVH(staged, target->site, arguments.one("NAME"),
                                                        arguments.one("VALUE"), arguments.has("--quoted"));
        });
}

Outcome set(Transaction& change, const Arguments& arguments) {
    if (Outcome site = needsSite(arguments, "directive set"); !site.ok()) {
        return site;
    }
    const auto target = targetOf(change.configuration(), arguments);
    if (!target.ok()) {
        return target.outcome();
    }
    const std::string name = arguments.one("NAME");
    return edited(
        change, *target, bound::Directive,
        [&](const ConfigurationFile& file) { return siteScope(file, target->site, beginsWithAny({name})); },
        "Apache_UpdateDirectiveInVH",
        [&](ApacheHelper& helper, const std::string& staged) {
            return helper.Apache_UpdateDirectiveInVH(staged, target->site, name, arguments.one("VALUE"),
                                                     arguments.has("--quoted"));
        });
}

Outcome remove(Transaction& change, const Arguments& arguments) {
    if (Outcome site = needsSite(arguments, "directive delete"); !site.ok()) {
        return site;
    }
    const auto target = targetOf(change.configuration(), arguments);
    if (!target.ok()) {
        return target.outcome();
    }
    const std::string name = arguments.one("NAME");
    return edited(
        change, *target, bound::Directive,
        [&](const ConfigurationFile& file) { return siteScope(file, target->site, beginsWithAny({name})); },
        "Apache_DeleteDirectivesInVH",
        [&](ApacheHelper& helper, const std::string& staged) {
            StringVector names{name};
            return helper.Apache_DeleteDirectivesInVH(staged, target->site, names);
        });
}

Outcome insert(Transaction& change, const Arguments& arguments) {
    const Target target{change.configuration().main().path(), ""};
    return edited(
        change, target, bound::AddDirective,
        [](const ConfigurationFile& file) { return Scope::additions(file.lines()); },
        "Apache_writeDirective",
        [&](ApacheHelper& helper, const std::string& staged) {
            const bool before = !arguments.has("--after");
            const std::string reference = arguments.one(before ? "--before" : "--after");
            return helper.Apache_writeDirective(staged, wholeLine(arguments), reference, before,
                                                leadingNumber(arguments.one("--line", "1")));
        });
}

// --- <Directory> blocks
// -----------------------------------------------------------------------------------

enum class FolderEdit { Add, Set, Move, Delete, Line };

Outcome editFolder(Transaction& change, const Arguments& arguments, FolderEdit kind) {
    const auto place = findRunning(change.configuration(), arguments.one("SITE"));
    if (!place.ok()) {
        return place.outcome();
    }
    const Target target{place->file->path(), std::string(place->block->name)};
    const std::string folder = arguments.one("FOLDER");
    StringVector lines = arguments.all("--line");
    const auto call = [&](ApacheHelper& helper, const std::string& staged) {
        switch (kind) {
            case FolderEdit::Add:
                return helper.Apache_addDirectoryTag(staged, target.site, folder, lines);
            case FolderEdit::Set:
                return helper.Apache_UpdateDirectoryDirectives(staged, target.site, folder, lines);
            case FolderEdit::Move:
                return helper.Apache_UpdateDirectoryTagPath(staged, target.site, folder,
                                                            arguments.one("TO"));
            case FolderEdit::Delete:
                return helper.Apache_deleteDirectoryTag(staged, target.site, folder);
            case FolderEdit::Line:
                break;
        }
        return helper.Apache_UpdateVHDirectiveContents(staged, target.site, "<Directory \"" + folder + "\"",
                                                       arguments.one("LINE"), !arguments.has("--remove"));
    };
    const auto scope = [&](const ConfigurationFile& file) {
        return sectionScope(file, target.site, opensFolder(folder));
    };
    return edited(change, target, bound::Directive, scope, "folder " + inQuotes(folder), call);
}

Outcome addFolder(Transaction& change, const Arguments& arguments) {
    return editFolder(change, arguments, FolderEdit::Add);
}
Outcome setFolder(Transaction& change, const Arguments& arguments) {
    return editFolder(change, arguments, FolderEdit::Set);
}
Outcome moveFolder(Transaction& change, const Arguments& arguments) {
    return editFolder(change, arguments, FolderEdit::Move);
}
Outcome removeFolder(Transaction& change, const Arguments& arguments) {
    return editFolder(change, arguments, FolderEdit::Delete);
}
Outcome folderLine(Transaction& change, const Arguments& arguments) {
    return editFolder(change, arguments, FolderEdit::Line);
}

// --- parameter files
// --------------------------------------------------------------------------------------

struct ParameterLine {
    std::string file, name, value;
    char delimiter, comment = '#';

    explicit ParameterLine(const Arguments& arguments)
        : file(arguments.one("FILE")),
          name(arguments.one("NAME")),
          value(arguments.one("VALUE")),
          delimiter(arguments.one("--delimiter", "blank") == "blank" ? ' ' : '=') {}
    std::string line() const { return name + delimiter + value; }
};

Outcome testParameter(Session& session, const Arguments& arguments) {
    const ParameterLine line(arguments);
    const bool found = quietly(session.output, [&] {
        return FileHandling().isParamValueExistsInFile(line.file, line.name, line.value, line.delimiter,
                                                       line.comment);
    });
    session.output.set("line", line.line());
    return found ? done() : failure(Status::NotFound, line.file + ": no line " + inQuotes(line.line()));
}

enum class ParameterEdit { Add, Edit, Delete };

Outcome editParameter(Transaction& change, const Arguments& arguments, ParameterEdit kind) {
    const ParameterLine line(arguments);
    if (change.configuration().file(line.file) != nullptr) {
        return failure(Status::Usage, line.file + " belongs to the server's configuration: see directive");
    }
    if (kind != ParameterEdit::Add && !isFile(line.file)) {
        return failure(Status::NotFound, line.file + ": no such file");
    }
    const auto text = readFile(line.file);
    if (text.ok()) {
        if (const LongLine longLine = firstLongLine(*text, bound::Parameter)) {
            return failure(line.file + ":" + std::to_string(longLine.number) + ": the line has " +
                           std::to_string(longLine.length) + " characters, more than this operation reads");
        }
    }
    OtherEdit edit;
    edit.files = {line.file};
    edit.mode = 0644;
    edit.createEmpty = kind == ParameterEdit::Add;
    edit.operation = [&](const std::string& folder) {
        const std::string staged = folder + "/" + nameOf(line.file);
        FileHandling handling;
        const bool present =
            handling.isParamValueExistsInFile(staged, line.name, line.value, line.delimiter, line.comment);
        if (kind == ParameterEdit::Add) {
            return present || handling.addParamInFile(staged, line.line()) ? done()
                                                                           : failure("cannot add the line");
        }
        if (!present) {
            return failure(Status::NotFound, line.file + ": no line " + inQuotes(line.line()));
        }
        const bool edited =
            kind == ParameterEdit::Edit
                ? handling.editParamValueInFile(staged, line.name, line.value, arguments.one("NEW"),
                                                line.delimiter, line.comment)
                : handling.delParamFromFile(staged, line.name, line.value, line.delimiter, line.comment);
        return edited ? done() : failure("the line could not be changed");
    };
    return change.edit(edit);
}
Outcome addParameter(Transaction& change, const Arguments& arguments) {
    return editParameter(change, arguments, ParameterEdit::Add);
}
Outcome changeParameter(Transaction& change, const Arguments& arguments) {
    return editParameter(change, arguments, ParameterEdit::Edit);
}
Outcome removeParameter(Transaction& change, const Arguments& arguments) {
    return editParameter(change, arguments, ParameterEdit::Delete);
}

std::vector<Command> folderCommands() {
    const Parameter site{"SITE", Kind::HostName, "", "The site's name", true};
    const Parameter folder{"FOLDER", Kind::Path, "", "The folder of the block", true};
    const Parameter lines{"--line", Kind::Text, "DIRECTIVE", "A line of the block", false, true};
    return {
        {"folder add",
         "Add a <Directory> block before a website's first",
         {site, folder, lines},
         {"ApacheHelper::Apache_addDirectoryTag"},
         nullptr,
         addFolder},
        {"folder set",
         "Replace the lines of a <Directory> block",
         {site, folder, lines},
         {"ApacheHelper::Apache_UpdateDirectoryDirectives"},
         nullptr,
         setFolder},
        {"folder move",
         "Point a <Directory> block at another folder",
         {site, folder, {"TO", Kind::Path, "", "The other folder", true}},
         {"ApacheHelper::Apache_UpdateDirectoryTagPath"},
         nullptr,
         moveFolder},
        {"folder delete",
         "Delete a <Directory> block",
         {site, folder},
         {"ApacheHelper::Apache_deleteDirectoryTag"},
         nullptr,
         removeFolder},
        {"folder line",
         "Make sure that a line is in a <Directory> block, or is not",
         {site,
          folder,
          {"LINE", Kind::Text, "", "The line", true},
          {"--remove", Kind::Flag, "", "Remove it instead"}},
         {"ApacheHelper::Apache_UpdateVHDirectiveContents"},
         nullptr,
         folderLine},
    };
}

std::vector<Command> parameterCommands() {
    const std::vector<Parameter> line = {
        {"FILE", Kind::Path, "", "A file of lines", true},
        {"NAME", Kind::Word, "", "The name at the line's beginning", true},
        {"VALUE", Kind::Text, "", "The value behind it", true},
        {"--delimiter", Kind::Choice, "blank|equals", "What stands between the two (blank)"}};
    std::vector<Parameter> changed = line;
    changed.insert(changed.begin() + 3, {"NEW", Kind::Text, "", "The new value", true});
    return {
        {"param test",
         "Tell whether a file has a line of a name and a value",
         line,
         {"FileHandling::isParamValueExistsInFile"},
         testParameter},
        {"param add", "Add such a line", line, {"FileHandling::addParamInFile"}, nullptr, addParameter},
        {"param edit",
         "Change its value",
         changed,
         {"FileHandling::editParamValueInFile"},
         nullptr,
         changeParameter,
         "The library drops the comments and empty lines of the file."},
        {"param delete", "Delete it", line, {"FileHandling::delParamFromFile"}, nullptr, removeParameter},
    };
}

}  // namespace

std::vector<Command> directiveCommands() {
    const Parameter name{"NAME", Kind::Word, "", "The directive", true};
    const Parameter value{"VALUE", Kind::Text, "", "Its value", true};
    const Parameter site{"--site", Kind::HostName, "SITE", "In this website's block"};
    const Parameter quotes{"--quoted", Kind::Flag, "", "The value stands in quotes"};
    std::vector<Command> commands = {
        {"directive get",
         "Show a directive's value, of the server or of a website",
         {name,
          site,
          quotes,
          {"--is", Kind::Text, "VALUE", "Tell whether the server has it with this value"}},
         {"ApacheHelper::Apache_getDirectiveValue", "ApacheHelper::Apache_getDirectiveInVH",
          "ApacheHelper::Apache_isDirectiveWithValueExists"},
         get},
        {"directive add",
         "Add a directive to a website's blocks",
         {name, value, site, quotes, {"--first", Kind::Flag, "", "To its first block only"}},
         {"ApacheHelper::Apache_AddDirectiveInVH", "ApacheHelper::Apache_AddDirectivesInVH"},
         nullptr,
         add},
        {"directive set",
         "Give a website's directive another value",
         {name, value, site, quotes},
         {"ApacheHelper::Apache_UpdateDirectiveInVH"},
         nullptr,
         set},
        {"directive delete",
         "Delete a directive from a website's block",
         {name, site},
         {"ApacheHelper::Apache_DeleteDirectivesInVH"},
         nullptr,
         remove},
        {"directive insert",
         "Insert a directive at server level",
         {name,
          value,
          quotes,
          {"--before", Kind::Text, "DIRECTIVE", "Before the first line that begins so"},
          {"--after", Kind::Text, "DIRECTIVE", "Behind it"},
          {"--line", Kind::Number, "NUMBER", "At this line when there is none (1)"}},
         {"ApacheHelper::Apache_writeDirective"},
         nullptr,
         insert},
    };
    for (const auto group : {folderCommands, parameterCommands}) {
        std::vector<Command> more = group();
        std::move(more.begin(), more.end(), std::back_inserter(commands));
    }
    return commands;
}

}  // namespace zpweb
