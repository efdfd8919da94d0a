#include "commands/shared/Modules.h"

#include <algorithm>

#include "ApacheHelper.h"
#include "commands/shared/Operation.h"
#include "commands/shared/Readable.h"
#include "commands/shared/Scopes.h"

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

}  // namespace zpweb
