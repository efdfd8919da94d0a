#include "commands/shared/Modules.h"

#include <algorithm>

#include "ApacheHelper.h"
#include "commands/shared/Operation.h"
#include "commands/shared/Readable.h"
#include "commands/shared/Scopes.h"
#include "conf/Text.h"
#include "server/Program.h"
#include "sys/Process.h"
#include "text/Statements.h"

namespace zpweb {

namespace {

// Some of the comments in blocks are live lines to the library.
std::string withoutComments(const ConfigurationFile& file) {
    Scope scope = additionsScope(file);
    for (const Block& block : file.blocks()) {
        scope.hideComments(block);
    }
    return scope.partText();
}

}  // namespace

bool isLoaded(const Configuration& configuration, const std::string& name, Output& output) {
    return std::any_of(configuration.files().begin(), configuration.files().end(), [&](const auto& file) {
        const Readable readable(withoutComments(*file));
        bool loaded = false;
        static_cast<void>(quietly(output, [&] {
            return ApacheHelper().Apache_checkModule(readable.path(), name + "_module", loaded);
        }));
        return loaded;
    });
}

std::optional<std::set<std::string>> loadedModules(const Configuration& configuration) {
    const std::string& main = configuration.main().path();
    const Program program(main);
    const Finished answer = program.found()
                                ? runProgram(program.command({"-t", "-D", "DUMP_MODULES", "-f", main}))
                                : Finished{};
    if (answer.status != 0) {
        return std::nullopt;
    }
    std::set<std::string> modules;
    const Lines lines(answer.output);
    for (const std::string_view line : lines.all) {
        if (const size_t kind = line.find(" ("); line.starts_with(' ') && kind != std::string_view::npos) {
            modules.emplace(zp::conf::skipSpace(line.substr(0, kind)));
        }
    }
    return modules;
}

std::string placeOfModule(const Configuration& configuration, const std::string& name) {
    std::string place;
    for (const auto& file : configuration.files()) {
        const Statements statements(file->content().text());
        for (const Statement& statement : statements) {
            if (statement.is("LoadModule") && statement.argument(0) == name + "_module") {
                place = file->path() + ":" + std::to_string(statement.lines.first + 1);
            }
        }
    }
    return place;
}

std::string otherwiseNamed(const Place& place, const std::string& name) {
    const Statements statements(place.block->text);
    const auto found = std::find_if(statements.begin(), statements.end(), [&](const Statement& statement) {
        return statement.opens("IfModule") &&
               zp::conf::equalIgnoringCase(statement.argument(0), name + "_module");
    });
    const size_t line = place.file->firstLine() + place.block->lines.first + 1;
    return found == statements.end() ? ""
                                     : place.file->path() + ":" + std::to_string(line + found->lines.first);
}

}  // namespace zpweb
