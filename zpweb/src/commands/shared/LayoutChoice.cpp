#include "commands/shared/LayoutChoice.h"

#include "host/Paths.h"
#include "sys/File.h"

namespace zpweb {

bool hasPanel() { return exists(zp::host::path::ProductConfiguration); }

Expected<Layout> chosenLayout(const Configuration& configuration, const std::optional<std::string>& word) {
    if (word == "main" || (!word && hasPanel())) {
        return Layout{};
    }
    Layout layout = layoutOf(configuration);
    return !word || layout.keepsFiles()
               ? Expected(std::move(layout))
               : Expected<Layout>(
                     failure(Status::Refused,
                             "the configuration includes no directory of sites (sites-enabled, "
                             "vhosts.d, conf.d): use --layout main"));
}

}  // namespace zpweb
