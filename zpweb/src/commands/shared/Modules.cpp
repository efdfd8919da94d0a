#include "commands/shared/Modules.h"

#include <algorithm>

#include "ApacheHelper.h"
#include "commands/shared/Operation.h"
#include "commands/shared/Readable.h"

namespace zpweb {

bool isLoaded(const Configuration& configuration, const std::string& name, Output& output) {
    return std::any_of(configuration.files().begin(), configuration.files().end(), [&](const auto& file) {
        const Readable readable(*file);
        bool loaded = false;
        static_cast<void>(quietly(output, [&] {
            return ApacheHelper().Apache_checkModule(readable.path(), name + "_module", loaded);
        }));
        return loaded;
    });
}

}  // namespace zpweb
