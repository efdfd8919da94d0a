#include "CustomErrorPages.h"

#include "host/Report.h"

CustomErrorPages::CustomErrorPages() = default;

CustomErrorPages::CustomErrorPages(CZPTrackManager* trackManager, std::string conf)
    : TrackManager(trackManager), m_szHttpdConfFile(std::move(conf)) {
    zp::host::reportModule(TrackManager, "WebServerManager");
}
