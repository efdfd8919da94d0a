// The stand-alone tracking object.
#include <CZPTrackManager.h>
#include <gtest/gtest.h>

#include <sstream>

#include "support/Files.h"
#include "support/Watching.h"

using namespace zp::test;

namespace {

void callEach(CZPTrackManager& tracking) {
    tracking.CZPModuleName("Apache");
    tracking.CZPModuleProperties({"/etc/httpd.conf"}, {"HDCFFile"});
    tracking.CZPMethodName("UserCreate");
    tracking.CZPMethodArguments({"jo \"x\\\n\x7f", "secret", "s2"},
                                {"UserName", "Passwd", "newUserPasswd1"});
}

}  // namespace

TEST(TrackManager, KeepsWhatWasReportedAsItWasGiven) {
    CZPTrackManager tracking;
    callEach(tracking);
    EXPECT_EQ(callsOf(tracking),
              (StringVector{"module Apache", "properties HDCFFile=/etc/httpd.conf", "method UserCreate",
                            "arguments UserName=jo \"x\\\n\x7f, Passwd=secret, newUserPasswd1=s2"}));
}

TEST(TrackManager, WritesOneLineForEachCallAndMasksPasswords) {
    CZPTrackManager tracking;
    std::ostringstream out;
    tracking.CZPMethodName("before");
    tracking.writeTo(&out);
    callEach(tracking);
    tracking.writeTo(nullptr);
    tracking.CZPMethodName("after");
    EXPECT_EQ(out.str(),
              lines({"module Apache", "properties HDCFFile=\"/etc/httpd.conf\"", "method UserCreate",
                     R"(arguments UserName="jo \"x\\\x0a\x7f" Passwd="***" newUserPasswd1="***")"}));
}

TEST(TrackManager, HandsReportsToTheCallback) {
    CZPTrackManager tracking;
    StringVector seen;
    tracking.setCallback([&](const auto& report) { seen.push_back(report.text); });
    callEach(tracking);
    tracking.setCallback({});
    tracking.CZPMethodName("after");
    EXPECT_EQ(seen, (StringVector{"Apache", "", "UserCreate", ""}));
}

TEST(TrackManager, LosesNothingOfListsOfUnequalLength) {
    CZPTrackManager tracking;
    tracking.CZPMethodArguments({"1", "2"}, {"a"});
    tracking.CZPMethodArguments({}, {"b"});
    EXPECT_EQ(callsOf(tracking), (StringVector{"arguments a=1, =2", "arguments b="}));
}
