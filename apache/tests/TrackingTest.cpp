// What every operation tells tracking before it does anything, and how it answers where there is no
// configuration.
#include <CZPUsers.h>
#include <CZPWebsite.h>
#include <PrivateFolder.h>
#include <RubyOnRails.h>
#include <gtest/gtest.h>

#include <functional>

#include "host/Fields.h"
#include "support/Files.h"
#include "support/VirtualDirectories.h"
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
constexpr const char* MovedToMissing =
    "arguments NewPrivateFolderPath=/missing, OldPrivateFolderPath=/old, PrivateFolderUserName=ann, "
    "PrivateFolderUserPasswd=secret";
constexpr const char* AddedToMissing =
    "arguments NewPrivateFolderPath=/missing, PrivateFolderUserName=ann, PrivateFolderUserPasswd=secret";

UpdateVHost recordOfSite() {
    UpdateVHost record{};
    record.pDomain = "example.com";
    return record;
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
    {"GetWebsiteInfo",
     website([](auto& w) {
         UpdateVHost record = recordOfSite();
         return w.GetWebsiteInfo(&record);
     }),
     {"method GetWebsiteInfo", "arguments ObjUVHost->pDomain=example.com"},
     21,
     22,
     "CZPWebsite::GetWebsiteInfo\n" + CannotOpen},
    {"UpdateWebsite",
     website([](auto& w) {
         UpdateVHost record = recordOfSite();
         return w.UpdateWebsite(&record);
     }),
     {"method UpdateWebsite", "arguments ObjUVHost->pDomain=example.com"},
     21,
     22},
    // Suspension and resumption are told under the update's name.
    {"EnableMessage",
     website([](auto& w) {
         UpdateVHost record = recordOfSite();
         return w.EnableMessage(&record);
     }),
     {"method UpdateWebsite", "arguments ObjUVHost->pDomain=example.com"},
     21,
     22},
    {"DisableMessage",
     website([](auto& w) {
         UpdateVHost record = recordOfSite();
         return w.DisableMessage(&record, "/home/example.com");
     }),
     {"method UpdateWebsite", "arguments ObjUVHost->pDomain=example.com"},
     21,
     22},
    {"NameBasedToIPBased",
     website([](auto& w) { return w.NameBasedToIPBased("10.0.0.5", "10.0.0.6", "example.com"); }),
     {},
     21,
     22},
    {"IPBasedToNameBased",
     website([](auto& w) { return w.IPBasedToNameBased("10.0.0.5", "10.0.0.6", "example.com"); }),
     {},
     21,
     22,
     "SSL is not enabled\n" + CannotOpen},
    {"ListOccupiedIPs",
     website([](auto& w) {
         StringVector addresses;
         return w.ListOccupiedIPs(&addresses);
     }),
     {"method ListOccupiedIPs", "arguments ="},
     21,
     22},
    {"ISIPLessDomain",
     website([](auto& w) {
         std::string address;
         return w.ISIPLessDomain("example.com", "", address) == "false";
     }),
     {},
     1,
     1,
     ""},
    {"rotateLog",
     website([](auto& w) { return w.rotateLog("", "example.com", "1", "DEL"); }),
     {},
     0,
     0,
     ""},
    {"EnablePerl", website([](auto& w) { return w.EnablePerl("example.com"); }), {}, 21, 21, ""},
    {"DisablePerl", website([](auto& w) { return w.DisablePerl("example.com"); }), {}, 21, 21, ""},
    {"Enable_open_basedir",
     website([](auto& w) { return w.Enable_open_basedir("example.com", "/"); }),
     {},
     22,
     22},
    {"Disable_open_basedir",
     website([](auto& w) { return w.Disable_open_basedir("example.com", "/"); }),
     {},
     22,
     22},
    {"EnableSuPhpGlobally",
     website([](auto& w) { return w.EnableSuPhpGlobally("mod_suphp"); }),
     {},
     1,
     1,
     ""},
    {"DisableSuPhpGlobally", website([](auto& w) { return w.DisableSuPhpGlobally(); }), {}, 21, 21, ""},
    {"EnableSuPhp",
     website([](auto& w) { return w.EnableSuPhp("example.com", "mod_suphp"); }),
     {},
     21,
     23,
     ""},
    {"DisableSuPhp",
     website([](auto& w) { return w.DisableSuPhp("example.com", "mod_suphp"); }),
     {},
     21,
     23,
     ""},
    {"defaultToROR",
     rails([](auto& r) { return r.defaultToROR("example.com", "app", "siteowner"); }),
     {"method DefaultToROR",
      "arguments DomainName=example.com, RailsApplicationName=app, OwnerName=siteowner"},
     1,
     1,
     "error occured while getting DocumentRoot, cannot open apache configuration file\n"},
    {"RORToDefault",
     rails([](auto& r) { return r.RORToDefault("example.com", "app"); }),
     {"method RORtoDefault", "arguments DomainName=example.com, RailsApplicationName=app"},
     1,
     1,
     "Error occured while getting DocumentRoot, Cannot open apache configuration file\n"},
    {"addPrivateFolder",
     privateFolder([](auto& p) { return p.addPrivateFolder("/missing", "ann", "secret"); }),
     {"method addPrivateFolder", AddedToMissing},
     1601,
     1601,
     ""},
    {"deletePrivateFolder",
     privateFolder([](auto& p) { return p.deletePrivateFolder("/missing", "ann"); }),
     {"method deletePrivateFolder", "arguments NewPrivateFolderPath=/missing, =ann"},
     1603,
     1603,
     ""},
    {"editPrivateFolder",
     privateFolder([](auto& p) { return p.editPrivateFolder("/missing", "/old", "ann", "secret"); }),
     {"method editPrivateFolder", MovedToMissing, "method deletePrivateFolder",
      "arguments NewPrivateFolderPath=/old, =ann", "method addPrivateFolder", AddedToMissing},
     1601,
     1601,
     ""},
};

// A call with a record of a virtual directory.
template <class Call>
auto directory(Call call) {
    return [call](CZPTrackManager* tracking, const char* configuration) {
        SDDir record = recordOf({.folder = "/f", .allow = "a", .deny = "d", .name = "n", .parent = "/p"});
        CZPVirtualDirectory manager(tracking, configuration);
        return static_cast<int>(call(manager, record));
    };
}

const std::string Folder = "arguments ObjDDir->DomainName=example.com, ObjDDir->DirPath=/f";
const std::string CannotOpenFile = "Error opening HttpdConfFile file\n";

const Row DirectoryRows[] = {
    {"CreateVirtualDirectory",
     directory([](auto& m, auto& record) { return m.CreateVirtualDirectory(&record, 0); }),
     {"method CreateVirtualDirectory", Folder + ", ObjDDir->Allow=a, ObjDDir->Deny=d"},
     21,
     22,
     ""},
    {"DeleteVirtualDirectory",
     directory([](auto& m, auto&) { return m.DeleteVirtualDirectory("/f"); }),
     {"method DeleteVirtualDirectory", "arguments pDDir=/f"},
     21,
     22,
     ""},
    // Two are told under the query's name.
    {"DirectoryRequired",
     directory([](auto& m, auto&) { return m.DirectoryRequired("example.com", "/f"); }),
     {"method GetVirtualDirectoryinfo", "arguments DomainName=example.com, DirPath=/f"},
     21,
     22,
     CannotOpenFile},
    {"VirtualDirectoryExists",
     directory([](auto& m, auto& record) { return m.VirtualDirectoryExists(&record); }),
     {"method GetVirtualDirectoryinfo", Folder},
     21,
     22,
     CannotOpenFile},
    {"GetVirtualDirectoryinfo",
     directory([](auto& m, auto& record) { return m.GetVirtualDirectoryinfo(&record); }),
     {"method GetVirtualDirectoryinfo", Folder},
     21,
     22,
     ""},
    {"UpdateVirtualDirectory",
     directory([](auto& m, auto& record) { return m.UpdateVirtualDirectory(&record); }),
     {"method UpdateVirtualDirectory",
      Folder + ", ObjDDir->Allow=a, ObjDDir->Deny=d, ObjDDir->WebAdminPath=/p"},
     21,
     22,
     CannotOpenFile},
    {"VirtualDirectoryList",
     directory([](auto& m, auto&) {
         StringVector found;
         return m.VirtualDirectoryList("example.com", &found);
     }),
     {"method VirtualDirectoryList", "arguments ="},
     21,
     22,
     ""},
    {"CheckVirDir",
     directory([](auto& m, auto& record) { return m.CheckVirDir(&record); }),
     {"method CheckVirDir", "arguments ObjDDir->DomainName=example.com, ObjDDir->DirName=n"},
     21,
     22,
     CannotOpenFile},
    {"GetVDPath",
     [](auto*, auto* file) { return int(CZPVirtualDirectory::GetVDPath(file ? file : "", "", "").size()); },
     {}},
    {"RemoveDir", [](auto*, auto* file) { return RemoveDir(file); }, {}, 1, 1, ""},
};

// A call for a domain that has no password file.
template <class Call>
auto users(Call call) {
    return [call](CZPTrackManager* tracking, const char*) {
        CZPUsers manager(tracking, "", "absent.example", "");
        return static_cast<int>(call(manager));
    };
}

const Row UserRows[] = {
    {"UserCreate",
     users([](auto& u) { return u.UserCreate("ann", "secret"); }),
     {"method UserCreate", "arguments UserName=ann, Passwd=secret"},
     78,
     78,
     "Error opening passwd file\n"},
    {"ChangePasswd",
     users([](auto& u) { return u.ChangePasswd("ann", "secret"); }),
     {"method ChangePasswd", "arguments UserName=ann, Passwd=secret"},
     22,
     22,
     ""},
    {"UserDelete",
     users([](auto& u) { return u.UserDelete("ann"); }),
     {"method UserDelete", "arguments UserName=ann"},
     22,
     22,
     ""},
    {"UserList",
     users([](auto& u) {
         StringVector names;
         return u.UserList(&names);
     }),
     {"method UserList", "arguments ="},
     22,
     22,
     ""},
    {"UserExist",
     users([](auto& u) {
         StringVector names;
         return u.UserExist(&names);
     }),
     {"method UserExist", "arguments ="},
     22,
     22,
     CannotOpenFile},
    {"UserDeleteAll",
     users([](auto& u) { return u.UserDeleteAll(); }),
     {"method UserDeleteAll", "arguments ="},
     80,
     80,
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
constexpr auto byOperation = [](const auto& row) { return row.param.operation; };
INSTANTIATE_TEST_SUITE_P(Every, Operation, ::testing::ValuesIn(Rows), byOperation);
INSTANTIATE_TEST_SUITE_P(Directory, Operation, ::testing::ValuesIn(DirectoryRows), byOperation);
INSTANTIATE_TEST_SUITE_P(User, Operation, ::testing::ValuesIn(UserRows), byOperation);
