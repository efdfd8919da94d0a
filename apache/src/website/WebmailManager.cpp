#include "WebmailManager.h"

#include "host/Report.h"

WebmailManager::WebmailManager(CZPTrackManager* trackManager) : TrackManager(trackManager) {
    zp::host::reportModule(TrackManager, "WebmailManager");
}
