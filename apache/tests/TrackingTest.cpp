// What every operation tells tracking before it does anything, and how it answers where there is no
// configuration.
#include <CZPUsers.h>
#include <CZPWebsite.h>
#include <PrivateFolder.h>
#include <RubyOnRails.h>
#include <gtest/gtest.h>

#include <fstream>
#include <functional>

#include "host/Fields.h"
#include "support/Files.h"
#include "support/Sites.h"
#include "support/Transcript.h"
#include "support/VirtualDirectories.h"
#include "support/Watching.h"

using namespace zp::test;

namespace {

struct Row {
    std::string operation;
    std::function<int(CZPTrackManager*, const char* configuration)> call;

    friend std::ostream& operator<<(std::ostream& out, const Row& row) { return out << row.operation; }
};

// A call of a website manager's operation; `path` is its configuration.
template <class Call>
auto website(Call call) {
    return [call](CZPTrackManager* tracking, const char* configuration) {
        CZPWebsite manager(tracking, configuration);
        const std::string path = zp::host::textOf(configuration);
        return static_cast<int>(call(manager, path));
    };
}
template <class Call>
auto merge(Call call) {
    return website([call](CZPWebsite& manager, auto&) {
        UpdateVHost record{};
        record.pDomain = "example.com";
        return call(manager, record);
    });
}
template <class Call>
auto rails(Call call) {
    return [call](CZPTrackManager* tracking, const char* configuration) {
        RubyOnRails manager(tracking, zp::host::textOf(configuration));
        return call(manager);
    };
}
template <class Call>
auto privateFolder(Call call) {
    return [call](CZPTrackManager* tracking, const char*) {
        PrivateFolder manager(tracking);
        return call(manager);
    };
}
// A call with a record of a virtual directory.
template <class Call>
auto directory(Call call) {
    return [call](CZPTrackManager* tracking, const char* configuration) {
        SDDir record =
            recordOf({.folder = "/f", .allow = "a", .deny = "d", .order = 1, .name = "n", .parent = "/p"});
        CZPVirtualDirectory manager(tracking, configuration);
        return static_cast<int>(call(manager, record));
    };
}
// A call for a domain that has no password file.
template <class Call>
auto users(Call call) {
    return [call](CZPTrackManager* tracking, const char*) {
        CZPUsers manager(tracking, "", "absent.example", "");
        return static_cast<int>(call(manager));
    };
}

constexpr const char* Domain = "example.com";

const Row Rows[] = {
    {"CreateWebsite", website([](auto& w, auto&) {
         VHostEntry request = requestFor({}, '1');
         return w.CreateWebsite(&request);
     })},
    {"AddWebsitePort", website([](auto& w, auto&) {
         std::ofstream out;
         return w.AddWebsitePort(out, "10.0.0.5");
     })},
    {"EnableHostingLimits", website([](auto& w, auto&) { return w.EnableHostingLimits(); })},
    {"ExtractHighestLVEid", website([](auto& w, auto& path) { return w.ExtractHighestLVEid(path); })},
    {"WebsiteExists", website([](auto& w, auto&) { return w.WebsiteExists(Domain); })},
    {"ListWebsites", website([](auto& w, auto&) {
         StringVector sites;
         return w.ListWebsites(sites);
     })},
    {"VHostsInIncFile", website([](auto& w, auto& path) {
         StringVector sites;
         return w.VHostsInIncFile(path, sites);
     })},
    {"GetRootDocPath", website([](auto& w, auto& path) { return w.GetRootDocPath(path, Domain).size(); })},
    {"LookupDomainInConfFile", website([](auto& w, auto& path) {
         std::string address;
         return w.LookupDomainInConfFile(Domain, path, address);
     })},
    {"DeleteWebsite", website([](auto& w, auto&) { return w.DeleteWebsite(Domain, 'x'); })},
    {"StartWebsite", website([](auto& w, auto&) { return w.StartWebsite(Domain); })},
    {"StopWebsite", website([](auto& w, auto&) { return w.StopWebsite(Domain); })},
    {"PauseWebsite", website([](auto& w, auto&) { return w.PauseWebsite(Domain); })},
    {"ContinueWebsite", website([](auto& w, auto&) { return w.ContinueWebsite(Domain); })},
    {"GetWebsiteStatus", website([](auto& w, auto&) { return w.GetWebsiteStatus(Domain); })},
    {"AddHostHeader", website([](auto& w, auto&) { return w.AddHostHeader(Domain, "a.example"); })},
    {"DeleteHostHeader", website([](auto& w, auto&) { return w.DeleteHostHeader(Domain, "a.example"); })},
    {"GetWebsiteInfo", merge([](auto& w, auto& record) { return w.GetWebsiteInfo(&record); })},
    {"UpdateWebsite", merge([](auto& w, auto& record) { return w.UpdateWebsite(&record); })},
    {"EnableMessage", merge([](auto& w, auto& record) { return w.EnableMessage(&record); })},
    {"DisableMessage", merge([](auto& w, auto& record) { return w.DisableMessage(&record, "/home/x"); })},
    {"NameBasedToIPBased",
     website([](auto& w, auto&) { return w.NameBasedToIPBased("10.0.0.5", "10.0.0.6", Domain); })},
    {"IPBasedToNameBased",
     website([](auto& w, auto&) { return w.IPBasedToNameBased("10.0.0.5", "10.0.0.6", Domain); })},
    {"ListOccupiedIPs", website([](auto& w, auto&) {
         StringVector addresses;
         return w.ListOccupiedIPs(&addresses);
     })},
    {"ISIPLessDomain", website([](auto& w, auto& path) {
         std::string address = "kept";
         return w.ISIPLessDomain(Domain, path, address) == "false" && address == "kept";
     })},
    {"rotateLog", website([](auto& w, auto& path) { return w.rotateLog(path, Domain, "0", "DEL"); })},
    {"EnablePerl", website([](auto& w, auto&) { return w.EnablePerl(Domain); })},
    {"DisablePerl", website([](auto& w, auto&) { return w.DisablePerl(Domain); })},
    {"Enable_open_basedir", website([](auto& w, auto&) { return w.Enable_open_basedir(Domain, "/"); })},
    {"Disable_open_basedir", website([](auto& w, auto&) { return w.Disable_open_basedir(Domain, "/"); })},
    {"EnableSuPhpGlobally", website([](auto& w, auto&) { return w.EnableSuPhpGlobally("mod_suphp"); })},
    {"DisableSuPhpGlobally", website([](auto& w, auto&) { return w.DisableSuPhpGlobally(); })},
    {"EnableSuPhp", website([](auto& w, auto&) { return w.EnableSuPhp(Domain, "mod_suphp"); })},
    {"DisableSuPhp", website([](auto& w, auto&) { return w.DisableSuPhp(Domain, "mod_suphp"); })},
    {"defaultToROR", rails([](auto& r) { return r.defaultToROR(Domain, "app", "siteowner"); })},
    {"RORToDefault", rails([](auto& r) { return r.RORToDefault(Domain, "app"); })},
    {"addPrivateFolder",
     privateFolder([](auto& p) { return p.addPrivateFolder("/missing", "ann", "secret"); })},
    {"deletePrivateFolder",
     privateFolder([](auto& p) { return p.deletePrivateFolder("/missing", "ann"); })},
    {"editPrivateFolder",
     privateFolder([](auto& p) { return p.editPrivateFolder("/missing", "/old", "ann", "secret"); })},

    {"CreateVirtualDirectory",
     directory([](auto& m, auto& record) { return m.CreateVirtualDirectory(&record, 0); })},
    {"DeleteVirtualDirectory", directory([](auto& m, auto&) { return m.DeleteVirtualDirectory("/f"); })},
    {"DirectoryRequired", directory([](auto& m, auto&) { return m.DirectoryRequired(Domain, "/f"); })},
    {"VirtualDirectoryExists",
     directory([](auto& m, auto& record) { return m.VirtualDirectoryExists(&record); })},
    {"GetVirtualDirectoryinfo",
     directory([](auto& m, auto& record) { return m.GetVirtualDirectoryinfo(&record); })},
    {"UpdateVirtualDirectory",
     directory([](auto& m, auto& record) { return m.UpdateVirtualDirectory(&record); })},
    {"VirtualDirectoryList", directory([](auto& m, auto&) {
         StringVector found;
         return m.VirtualDirectoryList(Domain, &found);
     })},
    {"CheckVirDir", directory([](auto& m, auto& record) { return m.CheckVirDir(&record); })},
    {"GetVDPath",
     [](auto*, auto* file) { return CZPVirtualDirectory::GetVDPath(file ? file : "", "", "") == ""; }},
    {"RemoveDir", [](auto*, auto* file) { return RemoveDir(file); }},

    {"UserCreate", users([](auto& u) { return u.UserCreate("ann", "secret"); })},
    {"ChangePasswd", users([](auto& u) { return u.ChangePasswd("ann", "secret"); })},
    {"UserDelete", users([](auto& u) { return u.UserDelete("ann"); })},
    {"UserList", users([](auto& u) {
         StringVector names;
         return u.UserList(&names);
     })},
    {"UserExist", users([](auto& u) {
         StringVector names;
         return u.UserExist(&names);
     })},
    {"UserDeleteAll", users([](auto& u) { return u.UserDeleteAll(); })},
};

class Tracking : public ::testing::TestWithParam<Row> {};

}  // namespace

// The transcript tells the results for a missing file and without a path, what was printed in the first
// case, and every call that reached the tracking object.
TEST_P(Tracking, IsToldTheNameAndTheArgumentsFirst) {
    const Row& row = GetParam();
    CZPTrackManager tracking;
    std::string printed;
    int result = 0;
    {
        const CapturedOutput output;
        result = row.call(&tracking, scratch("missing/httpd.conf").c_str());
        printed = output.text();
    }
    const int withoutPath = row.call(nullptr, "");
    EXPECT_EQ(row.call(nullptr, nullptr), withoutPath);
    std::string told = std::to_string(result) + ", " + std::to_string(withoutPath) + "\n";
    told += printedLines(printed);
    for (const std::string& call : callsOf(tracking)) {
        told += call.starts_with("properties ") ? "" : call + "\n";
    }
    expectTold(row.operation, told);
}
INSTANTIATE_TEST_SUITE_P(Every, Tracking, ::testing::ValuesIn(Rows),
                         [](const auto& row) { return row.param.operation; });
