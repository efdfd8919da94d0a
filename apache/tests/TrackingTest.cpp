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
#include "support/Told.h"
#include "support/VirtualDirectories.h"
#include "support/Watching.h"

using namespace zp::test;

namespace {

struct Row {
    std::string operation;
    std::function<int(CZPTrackManager*, const char* configuration)> call;
    std::string expected;

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
     }),
     R"(22, 21, Apache
> Error while opening HttpdConfFile
CreateWebsite(objVHost->DName=example.com, objVHost->IPAddress=10.0.0.5, objVHost->Path=/var/www/, objVHost->Port=8080, objVHost->ServerAdmin=siteadmin))"},
    {"AddWebsitePort", website([](auto& w, auto&) {
         std::ofstream out;
         return w.AddWebsitePort(out, "10.0.0.5");
     }),
     R"(1, 15, Apache
> Error opening HttpdConfFile file (no newline))"},
    {"EnableHostingLimits", website([](auto& w, auto&) { return w.EnableHostingLimits(); }),
     "1, 1, Apache"},
    {"ExtractHighestLVEid", website([](auto& w, auto& path) { return w.ExtractHighestLVEid(path); }),
     "0, 0, Apache"},
    {"WebsiteExists", website([](auto& w, auto&) { return w.WebsiteExists(Domain); }), R"(22, 21, Apache
> Error while opening HttpdConfFile
WebsiteExists(DomainName=example.com))"},
    {"ListWebsites", website([](auto& w, auto&) {
         StringVector sites;
         return w.ListWebsites(sites);
     }),
     R"(22, 21, Apache
> Error while opening HttpdConfFile
ListWebsites(=))"},
    {"VHostsInIncFile", website([](auto& w, auto& path) {
         StringVector sites;
         return w.VHostsInIncFile(path, sites);
     }),
     R"(1, 1, Apache
> Error while opening HttpdConfFile)"},
    {"GetRootDocPath", website([](auto& w, auto& path) { return w.GetRootDocPath(path, Domain).size(); }),
     R"(0, 0, Apache
> Error while opening HttpdConfFile)"},
    {"LookupDomainInConfFile", website([](auto& w, auto& path) {
         std::string address;
         return w.LookupDomainInConfFile(Domain, path, address);
     }),
     R"(1, 0, Apache
> Error while opening HttpdConfFile)"},
    {"DeleteWebsite", website([](auto& w, auto&) { return w.DeleteWebsite(Domain, 'x'); }),
     R"(22, 21, Apache
> Error opening HttpdConfFile file (no newline)
DeleteWebsite(pDName=example.com))"},
    {"StartWebsite", website([](auto& w, auto&) { return w.StartWebsite(Domain); }), R"(22, 22, Apache
> Error while opening HttpdConfFile
StopWebsite(DomainName=example.com))"},
    {"StopWebsite", website([](auto& w, auto&) { return w.StopWebsite(Domain); }), R"(22, 22, Apache
> Error while opening HttpdConfFile
StopWebsite(DomainName=example.com))"},
    {"PauseWebsite", website([](auto& w, auto&) { return w.PauseWebsite(Domain); }), "0, 0, Apache"},
    {"ContinueWebsite", website([](auto& w, auto&) { return w.ContinueWebsite(Domain); }), "0, 0, Apache"},
    {"GetWebsiteStatus", website([](auto& w, auto&) { return w.GetWebsiteStatus(Domain); }),
     R"(22, 21, Apache
> Error while opening HttpdConfFile)"},
    {"AddHostHeader", website([](auto& w, auto&) { return w.AddHostHeader(Domain, "a.example"); }),
     R"(1, 1, Apache
AddHostHeader(DomainName=example.com, HostHeader=a.example))"},
    {"DeleteHostHeader", website([](auto& w, auto&) { return w.DeleteHostHeader(Domain, "a.example"); }),
     R"(1, 1, Apache
DeleteHostHeader(DomainName=example.com, HostHeader=a.example))"},
    {"GetWebsiteInfo", merge([](auto& w, auto& record) { return w.GetWebsiteInfo(&record); }),
     R"(22, 21, Apache
> CZPWebsite::GetWebsiteInfo
> Error while opening HttpdConfFile
GetWebsiteInfo(ObjUVHost->pDomain=example.com))"},
    {"UpdateWebsite", merge([](auto& w, auto& record) { return w.UpdateWebsite(&record); }),
     R"(22, 21, Apache
> Error while opening HttpdConfFile
UpdateWebsite(ObjUVHost->pDomain=example.com))"},
    {"EnableMessage", merge([](auto& w, auto& record) { return w.EnableMessage(&record); }),
     R"(22, 21, Apache
> Error while opening HttpdConfFile
UpdateWebsite(ObjUVHost->pDomain=example.com))"},
    {"DisableMessage", merge([](auto& w, auto& record) { return w.DisableMessage(&record, "/home/x"); }),
     R"(22, 21, Apache
> Error while opening HttpdConfFile
UpdateWebsite(ObjUVHost->pDomain=example.com))"},
    {"NameBasedToIPBased",
     website([](auto& w, auto&) { return w.NameBasedToIPBased("10.0.0.5", "10.0.0.6", Domain); }),
     R"(22, 21, Apache
> Error while opening HttpdConfFile)"},
    {"IPBasedToNameBased",
     website([](auto& w, auto&) { return w.IPBasedToNameBased("10.0.0.5", "10.0.0.6", Domain); }),
     R"(22, 21, Apache
> SSL is not enabled
> Error while opening HttpdConfFile)"},
    {"ListOccupiedIPs", website([](auto& w, auto&) {
         StringVector addresses;
         return w.ListOccupiedIPs(&addresses);
     }),
     R"(22, 21, Apache
> Error while opening HttpdConfFile
ListOccupiedIPs(=))"},
    {"ISIPLessDomain", website([](auto& w, auto& path) {
         std::string address = "kept";
         return w.ISIPLessDomain(Domain, path, address) == "false" && address == "kept";
     }),
     R"(1, 1, Apache
> Error while opening HttpdConfFile)"},
    {"rotateLog", website([](auto& w, auto& path) { return w.rotateLog(path, Domain, "0", "DEL"); }),
     "0, 0, Apache"},
    {"EnablePerl", website([](auto& w, auto&) { return w.EnablePerl(Domain); }), "21, 21, Apache"},
    {"DisablePerl", website([](auto& w, auto&) { return w.DisablePerl(Domain); }), "21, 21, Apache"},
    {"Enable_open_basedir", website([](auto& w, auto&) { return w.Enable_open_basedir(Domain, "/"); }),
     R"(22, 22, Apache
> Error while opening HttpdConfFile)"},
    {"Disable_open_basedir", website([](auto& w, auto&) { return w.Disable_open_basedir(Domain, "/"); }),
     R"(22, 22, Apache
> Error while opening HttpdConfFile)"},
    {"EnableSuPhpGlobally", website([](auto& w, auto&) { return w.EnableSuPhpGlobally("mod_suphp"); }),
     "1, 1, Apache"},
    {"DisableSuPhpGlobally", website([](auto& w, auto&) { return w.DisableSuPhpGlobally(); }),
     "21, 21, Apache"},
    {"EnableSuPhp", website([](auto& w, auto&) { return w.EnableSuPhp(Domain, "mod_suphp"); }),
     "23, 21, Apache"},
    {"DisableSuPhp", website([](auto& w, auto&) { return w.DisableSuPhp(Domain, "mod_suphp"); }),
     "23, 21, Apache"},
    {"defaultToROR", rails([](auto& r) { return r.defaultToROR(Domain, "app", "siteowner"); }), R"(1, 1
> error occured while getting DocumentRoot, cannot open apache configuration file
DefaultToROR(DomainName=example.com, RailsApplicationName=app, OwnerName=siteowner))"},
    {"RORToDefault", rails([](auto& r) { return r.RORToDefault(Domain, "app"); }), R"(1, 1
> Error occured while getting DocumentRoot, Cannot open apache configuration file
RORtoDefault(DomainName=example.com, RailsApplicationName=app))"},
    {"addPrivateFolder",
     privateFolder([](auto& p) { return p.addPrivateFolder("/missing", "ann", "secret"); }),
     R"(1601, 1601, WebServerManager
addPrivateFolder(NewPrivateFolderPath=/missing, PrivateFolderUserName=ann, PrivateFolderUserPasswd=secret))"},
    {"deletePrivateFolder", privateFolder([](auto& p) { return p.deletePrivateFolder("/missing", "ann"); }),
     R"(1603, 1603, WebServerManager
deletePrivateFolder(NewPrivateFolderPath=/missing, =ann))"},
    {"editPrivateFolder",
     privateFolder([](auto& p) { return p.editPrivateFolder("/missing", "/old", "ann", "secret"); }),
     R"(1601, 1601, WebServerManager
editPrivateFolder(NewPrivateFolderPath=/missing, OldPrivateFolderPath=/old, PrivateFolderUserName=ann, PrivateFolderUserPasswd=secret)
deletePrivateFolder(NewPrivateFolderPath=/old, =ann)
addPrivateFolder(NewPrivateFolderPath=/missing, PrivateFolderUserName=ann, PrivateFolderUserPasswd=secret))"},

    {"CreateVirtualDirectory",
     directory([](auto& m, auto& record) { return m.CreateVirtualDirectory(&record, 0); }),
     R"(22, 21, WebServerManager
CreateVirtualDirectory(ObjDDir->DomainName=example.com, ObjDDir->DirPath=/f, ObjDDir->Allow=a, ObjDDir->Deny=d))"},
    {"DeleteVirtualDirectory", directory([](auto& m, auto&) { return m.DeleteVirtualDirectory("/f"); }),
     R"(22, 21, WebServerManager
DeleteVirtualDirectory(pDDir=/f))"},
    {"DirectoryRequired", directory([](auto& m, auto&) { return m.DirectoryRequired(Domain, "/f"); }),
     R"(22, 21, WebServerManager
> Error opening HttpdConfFile file
GetVirtualDirectoryinfo(DomainName=example.com, DirPath=/f))"},
    {"VirtualDirectoryExists",
     directory([](auto& m, auto& record) { return m.VirtualDirectoryExists(&record); }),
     R"(22, 21, WebServerManager
> Error opening HttpdConfFile file
GetVirtualDirectoryinfo(ObjDDir->DomainName=example.com, ObjDDir->DirPath=/f))"},
    {"GetVirtualDirectoryinfo",
     directory([](auto& m, auto& record) { return m.GetVirtualDirectoryinfo(&record); }),
     R"(22, 21, WebServerManager
GetVirtualDirectoryinfo(ObjDDir->DomainName=example.com, ObjDDir->DirPath=/f))"},
    {"UpdateVirtualDirectory",
     directory([](auto& m, auto& record) { return m.UpdateVirtualDirectory(&record); }),
     R"(22, 21, WebServerManager
> Error opening HttpdConfFile file
UpdateVirtualDirectory(ObjDDir->DomainName=example.com, ObjDDir->DirPath=/f, ObjDDir->Allow=a, ObjDDir->Deny=d, ObjDDir->WebAdminPath=/p))"},
    {"VirtualDirectoryList", directory([](auto& m, auto&) {
         StringVector found;
         return m.VirtualDirectoryList(Domain, &found);
     }),
     R"(22, 21, WebServerManager
VirtualDirectoryList(=))"},
    {"CheckVirDir", directory([](auto& m, auto& record) { return m.CheckVirDir(&record); }),
     R"(22, 21, WebServerManager
> Error opening HttpdConfFile file
CheckVirDir(ObjDDir->DomainName=example.com, ObjDDir->DirName=n))"},
    {"GetVDPath",
     [](auto*, auto* file) { return CZPVirtualDirectory::GetVDPath(file ? file : "", "", "") == ""; },
     R"(1, 1
> Error while opening HttpdConfFile)"},
    {"RemoveDir", [](auto*, auto* file) { return RemoveDir(file); }, "1, 1"},

    {"UserCreate", users([](auto& u) { return u.UserCreate("ann", "secret"); }), R"(78, 78, WebServerManager
> Error opening passwd file
UserCreate(UserName=ann, Passwd=secret))"},
    {"ChangePasswd", users([](auto& u) { return u.ChangePasswd("ann", "secret"); }),
     R"(22, 22, WebServerManager
ChangePasswd(UserName=ann, Passwd=secret))"},
    {"UserDelete", users([](auto& u) { return u.UserDelete("ann"); }), R"(22, 22, WebServerManager
UserDelete(UserName=ann))"},
    {"UserList", users([](auto& u) {
         StringVector names;
         return u.UserList(&names);
     }),
     R"(22, 22, WebServerManager
UserList(=))"},
    {"UserExist", users([](auto& u) {
         StringVector names;
         return u.UserExist(&names);
     }),
     R"(22, 22, WebServerManager
> Error opening HttpdConfFile file
UserExist(=))"},
    {"UserDeleteAll", users([](auto& u) { return u.UserDeleteAll(); }), R"(80, 80, WebServerManager
UserDeleteAll(=))"},
};

class Tracking : public ::testing::TestWithParam<Row> {};

}  // namespace

// What is expected: the results for a missing file and without a path, what was printed in the first
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
    std::string told = std::to_string(result) + ", " + std::to_string(withoutPath), methods;
    for (const std::string& call : callsOf(tracking)) {
        const std::string text = call.substr(call.find(' ') + 1);
        if (call.starts_with("module ")) {
            told += ", " + text;
        } else if (call.starts_with("method ")) {
            methods += text + "\n";
        } else if (call.starts_with("arguments ")) {
            methods.insert(methods.size() - 1, "(" + text + ")");
        }
    }
    told += "\n" + printedLines(printed) + methods;
    expectTold(told, row.expected);
}
INSTANTIATE_TEST_SUITE_P(Every, Tracking, ::testing::ValuesIn(Rows),
                         [](const auto& row) { return row.param.operation; });
