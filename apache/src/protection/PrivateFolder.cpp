#include "PrivateFolder.h"

#include "host/Report.h"

PrivateFolder::PrivateFolder(CZPTrackManager* trackManager) : TrackManager(trackManager) {
    zp::host::reportModule(TrackManager, "WebServerManager");
}
