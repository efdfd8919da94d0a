#include "CZPWebsite.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

#include "host/Fields.h"
#include "host/KeptForGood.h"
#include "host/Paths.h"
#include "host/Report.h"

namespace {

constexpr size_t ScratchPathSize = 500;

// The scratch file stands beside the configuration file and is named by the second: managers built for the
// same file within one second share it.
char* scratchBeside(const std::string& configuration) {
    const size_t slash = configuration.rfind('/');
    const std::string directory = slash == std::string::npos ? "." : configuration.substr(0, slash);
    const std::string path = directory + "/" + std::to_string(std::time(nullptr));
    char* buffer = new char[std::max(ScratchPathSize, path.size() + 1)]();
    path.copy(buffer, path.size());
    return zp::host::keptForGood(buffer);
}

}  // namespace

CZPWebsite::CZPWebsite() = default;

CZPWebsite::CZPWebsite(CZPTrackManager* trackManager)
    : TEMPFILE(zp::host::keptForGood(::tempnam(zp::host::path::ScratchDirectory, nullptr))),
      HttpdConfFile(""),
      TrackManager(trackManager) {
    zp::host::reportModule(TrackManager, "Apache");
}

CZPWebsite::CZPWebsite(CZPTrackManager* trackManager, const char* conf)
    : TEMPFILE(scratchBeside(zp::host::textOf(conf))), HttpdConfFile(conf), TrackManager(trackManager) {
    zp::host::reportModule(TrackManager, "Apache");
    if (TrackManager != nullptr) {
        TrackManager->CZPModuleProperties({zp::host::textOf(conf)}, {"HDCFFile"});
    }
}

// The scratch path is not released: panel components keep it after the manager is gone.
CZPWebsite::~CZPWebsite() = default;
