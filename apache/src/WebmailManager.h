// The manager of per-site webmail. It has no operations yet.
#pragma once

#include <CZPTrackManager.h>

class [[gnu::visibility("default")]] WebmailManager {
public:
    explicit WebmailManager(CZPTrackManager * trackManager);

private:
    CZPTrackManager* TrackManager = nullptr;
};
