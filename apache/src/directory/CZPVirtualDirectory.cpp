#include "CZPVirtualDirectory.h"

#include "host/Paths.h"
#include "host/Report.h"

namespace {

// The member is declared as char*, but the name of a scratch file is never written to.
char* sharedName(const char* path) { return const_cast<char*>(path); }

}  // namespace

CZPVirtualDirectory::CZPVirtualDirectory(CZPTrackManager* trackManager) : TrackManager(trackManager) {
    zp::host::reportModule(TrackManager, "WebServerManager");
}

// All managers of a kind share one scratch file in a fixed place.
CZPVirtualDirectory::CZPVirtualDirectory(CZPTrackManager* trackManager, const char* conf)
    : HttpdConfFile(conf),
      TEMPFILE(sharedName(zp::host::path::VirtualDirectoryScratch)),
      TrackManager(trackManager) {
    zp::host::reportModule(TrackManager, "WebServerManager");
}

CZPVirtualDirectory::CZPVirtualDirectory(CZPTrackManager* trackManager, const char* conf,
                                         const char* insFolder)
    : HttpdConfFile(conf),
      InsFolder(insFolder),
      TEMPFILE(sharedName(zp::host::path::VirtualDirectoryScratchOfInstallation)),
      TrackManager(trackManager) {
    zp::host::reportModule(TrackManager, "WebServerManager");
}
