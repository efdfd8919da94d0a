// The manager of a site's error pages. It has no operations yet.
#pragma once

#include <CZPTrackManager.h>

#include <string>

class [[gnu::visibility("default")]] CustomErrorPages {
public:
    CustomErrorPages();
    CustomErrorPages(CZPTrackManager * trackManager, std::string conf);

private:
    CZPTrackManager* TrackManager = nullptr;
    std::string m_szHttpdConfFile;
};
