// What managers say and keep when they are built.
#include <CZPWebsite.h>
#include <gtest/gtest.h>

#include "support/Files.h"
#include "support/Watching.h"

using namespace zp::test;

TEST(ManagerConstruction, WebsiteManagerReportsItsModuleAndConfiguration) {
    CZPTrackManager tracking;
    const std::string file = scratch("httpd.conf");
    const CZPWebsite website(&tracking, file.c_str());
    EXPECT_EQ(callsOf(tracking), (StringVector{"module Apache", "properties HDCFFile=" + file}));
}
