// What every operation tells tracking before it does anything, and how it answers where there is no
// configuration.
#include <CZPWebsite.h>
#include <gtest/gtest.h>

#include <functional>

#include "support/Files.h"
#include "support/Watching.h"

using namespace zp::test;

namespace {

constexpr const char* NoPath = "";
const std::string CannotOpen = "Error while opening HttpdConfFile\n";

struct Row {
    std::string operation;
    std::function<int(CZPTrackManager*, const char* configuration)> call;
    StringVector told;  // empty: nothing is told
    int withoutPath = 0;
    int missingFile = 0;
    std::string printed = CannotOpen;  // where the file is missing
};

std::ostream& operator<<(std::ostream& out, const Row& row) { return out << row.operation; }

// A call of a website manager's operation.
template <class Call>
auto website(Call call) {
    return [call](CZPTrackManager* tracking, const char* configuration) {
        CZPWebsite manager(tracking, configuration);
        return static_cast<int>(call(manager));
    };
}

const Row Rows[] = {
    {"WebsiteExists",
     website([](auto& w) { return w.WebsiteExists("example.com"); }),
     {"method WebsiteExists", "arguments DomainName=example.com"},
     21,
     22},
    {"ListWebsites",
     website([](auto& w) {
         StringVector sites;
         return w.ListWebsites(sites);
     }),
     {"method ListWebsites", "arguments ="},
     21,
     22},
    {"VHostsInIncFile",
     website([](auto& w) {
         StringVector sites;
         return w.VHostsInIncFile("", sites);
     }),
     {},
     1,
     1,
     ""},
    {"GetRootDocPath", website([](auto& w) { return w.GetRootDocPath("", "example.com").size(); }), {}},
    {"LookupDomainInConfFile",
     website([](auto& w) {
         std::string address;
         return w.LookupDomainInConfFile("example.com", "", address);
     }),
     {},
     0,
     0,
     ""},
    {"DeleteWebsite",
     website([](auto& w) { return w.DeleteWebsite("example.com", 'x'); }),
     {"method DeleteWebsite", "arguments pDName=example.com"},
     21,
     22,
     "Error opening HttpdConfFile file"},
    // A start is told under the stop's name.
    {"StartWebsite",
     website([](auto& w) { return w.StartWebsite("example.com"); }),
     {"method StopWebsite", "arguments DomainName=example.com"},
     22,
     22},
    {"StopWebsite",
     website([](auto& w) { return w.StopWebsite("example.com"); }),
     {"method StopWebsite", "arguments DomainName=example.com"},
     22,
     22},
    {"PauseWebsite", website([](auto& w) { return w.PauseWebsite("example.com"); }), {}, 0, 0, ""},
    {"ContinueWebsite", website([](auto& w) { return w.ContinueWebsite("example.com"); }), {}, 0, 0, ""},
    {"GetWebsiteStatus", website([](auto& w) { return w.GetWebsiteStatus("example.com"); }), {}, 21, 22},
    {"AddHostHeader",
     website([](auto& w) { return w.AddHostHeader("example.com", "a.example"); }),
     {"method AddHostHeader", "arguments DomainName=example.com, HostHeader=a.example"},
     1,
     1,
     ""},
    {"DeleteHostHeader",
     website([](auto& w) { return w.DeleteHostHeader("example.com", "a.example"); }),
     {"method DeleteHostHeader", "arguments DomainName=example.com, HostHeader=a.example"},
     1,
     1,
     ""},
    {"rotateLog",
     website([](auto& w) { return w.rotateLog("", "example.com", "1", "DEL"); }),
     {},
     0,
     0,
     ""},
};

class Operation : public ::testing::TestWithParam<Row> {};

}  // namespace

TEST_P(Operation, TellsItsNameAndArgumentsFirst) {
    const Row& row = GetParam();
    CZPTrackManager tracking;
    const std::string missing = scratch("missing/httpd.conf");
    {
        const CapturedOutput output;
        EXPECT_EQ(row.call(&tracking, missing.c_str()), row.missingFile);
        EXPECT_EQ(output.text(), row.printed);
    }
    StringVector told = callsOf(tracking);
    std::erase_if(told, [](const std::string& call) {
        return call.starts_with("module ") || call.starts_with("properties ");
    });
    EXPECT_EQ(told, row.told);
    EXPECT_EQ(row.call(nullptr, NoPath), row.withoutPath);
    EXPECT_EQ(row.call(nullptr, nullptr), row.withoutPath);
}
INSTANTIATE_TEST_SUITE_P(Every, Operation, ::testing::ValuesIn(Rows),
                         [](const auto& row) { return row.param.operation; });
