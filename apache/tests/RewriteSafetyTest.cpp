// The rewrite of a configuration: nothing is lost, opened up or run that should not be.
#include <ApacheHelper.h>
#include <CZPWebsite.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <functional>

#include "support/FakeTools.h"
#include "support/FileCase.h"
#include "support/Files.h"
#include "support/Sandbox.h"
#include "support/Sites.h"
#include "support/Text.h"
#include "support/Watching.h"

using namespace zp::test;
namespace fs = std::filesystem;

namespace {

const std::string Configuration =
    "# head\n\nListen 80\nServerRoot \"/srv\"\nLoadModule hostinglimits_module m.so\n"
    "NameVirtualHost 10.0.0.9:*\n" +
    blockOf({.domain = "old.example", .extra = "\t<IfModule m.c>\n\t</IfModule>\n"});

int create(const std::string& file, const Site& site = {}) {
    std::error_code notMade;
    fs::create_directories(site.parent + site.domain, notMade);
    VHostEntry request = requestFor(site, '0');
    return CZPWebsite(nullptr, file.c_str()).CreateWebsite(&request);
}

UpdateVHost oldSiteWith(const std::string& alias) {
    UpdateVHost record{};
    record.pDomain = "old.example";
    record.ServerAlias = {alias};
    return record;
}

// Every operation that rewrites a file, each with a change to make in `Configuration`. `value` ends up in
// the text that is written.
struct Editing {
    const char* name;
    const char* suffix;  // of its temporary file; empty: a name of its own, the time in seconds
    std::function<int(const std::string& file, const std::string& value)> run;
    int done, notFound, noFile, noScratch;

    friend std::ostream& operator<<(std::ostream& out, const Editing& editing) {
        return out << editing.name;
    }
};

const Editing Operations[] = {
    {"CreateWebsite", "",
     [](auto& file, auto& value) { return create(file, {.administrator = "a" + value}); }, 94, 94, 22, 22},
    {"EnableHostingLimits", "",
     [](auto& file, auto&) { return CZPWebsite(nullptr, file.c_str()).EnableHostingLimits(); }, 0, 0, 1, 2},
    {"EnableMessage", "",
     [](auto& file, auto& value) {
         UpdateVHost record = oldSiteWith(value);
         return CZPWebsite(nullptr, file.c_str()).EnableMessage(&record);
     },
     96, 96, 22, 22},
    {"DisableMessage", "",
     [](auto& file, auto& value) {
         UpdateVHost record = oldSiteWith("a");
         return CZPWebsite(nullptr, file.c_str()).DisableMessage(&record, value.c_str());
     },
     96, 96, 22, 22},
    {"UpdateWebsite", "",
     [](auto& file, auto& value) {
         UpdateVHost record = oldSiteWith("a");
         record.Alias = {{"/a", "/b" + value}};
         return CZPWebsite(nullptr, file.c_str()).UpdateWebsite(&record);
     },
     96, 96, 22, 22},
    {"StartWebsite", "",
     [](auto& file, auto&) { return CZPWebsite(nullptr, file.c_str()).StartWebsite("old.example"); }, 29,
     29, 22, 22},
    {"StopWebsite", "",
     [](auto& file, auto&) { return CZPWebsite(nullptr, file.c_str()).StopWebsite("old.example"); }, 30, 30,
     22, 22},
    {"DeleteWebsite", "",
     [](auto& file, auto&) { return CZPWebsite(nullptr, file.c_str()).DeleteWebsite("old.example", 0); },
     24, 24, 22, 23},
    {"NameBasedToIPBased", "",
     [](auto& file, auto& value) {
         return CZPWebsite(nullptr, file.c_str())
             .NameBasedToIPBased("10.0.0.5", "10.0.0.9" + value, "old.example");
     },
     123, 32, 22, 22},
    {"IPBasedToNameBased", "",
     [](auto& file, auto& value) {
         return CZPWebsite(nullptr, file.c_str())
             .IPBasedToNameBased("10.0.0.5", "10.0.0.9" + value, "old.example");
     },
     121, 32, 22, 22},
    {"DeleteVhIfmoduleBlock", ".dif",
     [](auto& file, auto&) {
         return ApacheHelper().Apache_DeleteVhIfmoduleBlock(file, "old.example", "m");
     },
     0, 0, 22, 23},
    {"ChangeVirtualHostPort", "_zpbackup_cp",
     [](auto& file, auto& value) {
         return ApacheHelper().Apache_ChangeVirtualHostPort(file, "old.example", "*", value);
     },
     0, 3, 1, 2},
    {"AddDirectiveInVH", "_zpbackup_ACEP",
     [](auto& file, auto& value) {
         return ApacheHelper().Apache_AddDirectiveInVH(file, "old.example", "A", value, true);
     },
     0, 1, 1, 1},
    {"AddDirectivesInVH", "_zpbackup_ACEP",
     [](auto& file, auto& value) {
         StringVector directives{value};
         return ApacheHelper().Apache_AddDirectivesInVH(file, "old.example", directives);
     },
     0, 1, 1, 1},
    {"UpdateDirectiveInVH", "_temp1",
     [](auto& file, auto& value) {
         return ApacheHelper().Apache_UpdateDirectiveInVH(file, "old.example", "ErrorLog", value, false);
     },
     0, 3, 1, 2},
    {"UpdateVHDirectiveContents", "_temp12",
     [](auto& file, auto& value) {
         return ApacheHelper().Apache_UpdateVHDirectiveContents(file, "old.example", "<Directory",
                                                                "A" + value, true);
     },
     0, 3, 1, 2},
    {"DeleteDirectivesInVH", "_temp11",
     [](auto& file, auto&) {
         StringVector directives{"ErrorLog"};
         return ApacheHelper().Apache_DeleteDirectivesInVH(file, "old.example", directives);
     },
     0, 3, 1, 2},
    {"writeDirective", ".wd",
     [](auto& file, auto& value) {
         return ApacheHelper().Apache_writeDirective(file, "A" + value, "Listen", true, 1);
     },
     0, 0, 1, 2},
    {"writeDirective_at_line", ".wd1",
     [](auto& file, auto& value) {
         return ApacheHelper().Apache_writeDirective(file, "A" + value, "Absent", true, 1);
     },
     0, 0, 1, 2},
    {"addDirectoryTag", "_temp4",
     [](auto& file, auto& value) {
         StringVector directives{"A" + value};
         return ApacheHelper().Apache_addDirectoryTag(file, "old.example", "/srv", directives);
     },
     0, 4, 1, 2},
    {"UpdateDirectoryDirectives", "_temp3",
     [](auto& file, auto& value) {
         StringVector directives{"A" + value};
         return ApacheHelper().Apache_UpdateDirectoryDirectives(file, "old.example", "/var/www/old.example",
                                                                directives);
     },
     0, 4, 1, 2},
    {"UpdateDirectoryTagPath", "_temp2",
     [](auto& file, auto& value) {
         return ApacheHelper().Apache_UpdateDirectoryTagPath(file, "old.example", "/var/www/old.example",
                                                             value);
     },
     0, 4, 1, 2},
    {"DeleteDirectoryTag", "_temp5",
     [](auto& file, auto&) {
         return ApacheHelper().Apache_deleteDirectoryTag(file, "old.example", "/var/www/old.example");
     },
     0, 4, 1, 2},
    {"addModule", "_md",
     [](auto& file, auto& value) { return ApacheHelper().Apache_addModule(file, value); }, 0, 0, 1, 2},
    {"EnableOpenBasedir", "",
     [](auto& file, auto&) {
         return CZPWebsite(nullptr, file.c_str())
             .Enable_open_basedir("old.example", "/var/www/old.example");
     },
     96, 96, 22, 22},
    {"SuPhpForTheServer", "",
     [](auto& file, auto& value) { return CZPWebsite(nullptr, file.c_str()).EnableSuPhpGlobally(value); },
     0, 0, 1, 2},
    {"SuPhpForASite", "",
     [](auto& file, auto& value) {
         return CZPWebsite(nullptr, file.c_str()).EnableSuPhp("old.example", "mod_suphp" + value);
     },
     96, 96, 21, 23},
};

// Is this one of the few that write no text of the caller's?
bool writesValue(const Editing& operation) {
    const std::string name = operation.name;
    return name == "EnableMessage" ||
           !(name.starts_with("Enable") || name.starts_with("Delete") || name.starts_with("St"));
}

// The copy is opened first: it is what a folder that is missing is blamed on,
bool blamesItsCopyFirst(const Editing& operation) {
    return operation.noScratch == 23 && operation.name != std::string("DeleteWebsite");
}
// or it stays, empty, where the configuration cannot be opened.
bool leavesAnEmptyCopy(const Editing& operation) {
    return operation.noFile == 22 && operation.noScratch == 22 &&
           operation.name != std::string("EnableOpenBasedir");
}

// A change that is not made leaves the file as it is.
bool asksForItsPlace(const Editing& operation) {
    const std::string name = operation.name;
    return (operation.notFound != operation.done && name != "NameBasedToIPBased") ||
           name == "SuPhpForASite";
}

// The rest of the scope runs as an account without privileges.
class WithoutPrivileges {
public:
    WithoutPrivileges() { EXPECT_EQ(::seteuid(4242), 0); }
    ~WithoutPrivileges() { EXPECT_EQ(::seteuid(0), 0); }
    WithoutPrivileges(const WithoutPrivileges&) = delete;
    WithoutPrivileges& operator=(const WithoutPrivileges&) = delete;
};

std::string temporaryFilesIn(const std::string& folder) {
    std::string found;
    for (const std::string& name : namesIn(folder)) {
        if (name != "httpd.conf" && name.find(".zpbackup.") == std::string::npos) {
            found += name + " ";
        }
    }
    return found;
}

}  // namespace

class Rewriting : public ::testing::TestWithParam<Editing> {
protected:
    void SetUp() override {
        addSiteAccounts();
        refill("conf");
    }
    // A fresh configuration in a folder that was empty.
    void refill(const std::string& name) {
        fs::remove_all(scratch(name));
        fs::remove_all("/var/www/example.com");
        folder = scratch(name);
        file = folder + "/httpd.conf";
        writeFile(file, Configuration);
    }
    int run(const std::string& value = "") const { return GetParam().run(file, value); }
    void expectUntouched() const {
        EXPECT_EQ(readFile(file), Configuration);
        EXPECT_EQ(temporaryFilesIn(folder), "");
    }
    // What the copy may be called; by the second, the name is not known before.
    StringVector temporaryFileNames() const {
        if (GetParam().suffix[0] != '\0') {
            return {file + GetParam().suffix};
        }
        StringVector names;
        for (time_t second = std::time(nullptr); names.size() < 20; ++second) {
            names.push_back(folder + "/" + std::to_string(second));
        }
        return names;
    }
    std::string folder, file;
};
INSTANTIATE_TEST_SUITE_P(Operations, Rewriting, ::testing::ValuesIn(Operations), byName);

TEST_P(Rewriting, KeepsModeOwnerAndLink) {
    ASSERT_EQ(::chown(file.c_str(), 1001, 1002), 0);
    fs::permissions(file, fs::perms(0640));
    const std::string link = scratch("link.conf");
    fs::create_symlink("conf/httpd.conf", link);
    EXPECT_EQ(GetParam().run(link, ""), GetParam().done);
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(mode(file), "0640");
    EXPECT_EQ(owner(file), "1001:1002");
    EXPECT_NE(readFile(file), Configuration);
}

TEST_P(Rewriting, MovesACopyThatOnlyItsOwnerCouldReadBefore) {
    const FakeTools tools;
    tools.watch("mv", "stat -c '%a %u %g' \"$1\" >>" + scratch("moved"));
    tools.watch("chmod", "stat -c %a " + folder + "/[0-9]* >>" + scratch("written"));
    ::umask(0);
    EXPECT_EQ(run(), GetParam().done);
    ::umask(022);
    EXPECT_EQ(readFile(scratch("moved")), "644 0 0\n");
    const bool creates = std::string(GetParam().name) == "CreateWebsite";
    EXPECT_EQ(readFile(scratch("written")), creates ? "600\n600\n" : NoFile);  // it makes folders meanwhile
}

TEST_P(Rewriting, TakesNoPartOfAPathForACommand) {
    refill("it's; touch pwned; \"$(touch pwned)\" `touch pwned` &");
    EXPECT_EQ(run("$(touch pwned)"), GetParam().done);
    EXPECT_FALSE(fs::exists("pwned"));
    EXPECT_EQ(temporaryFilesIn(folder), "");
    EXPECT_NE(readFile(file), Configuration);
}

TEST_P(Rewriting, WritesNoTextThatHoldsALineBreak) {
    if (writesValue(GetParam())) {
        EXPECT_EQ(run("x\nUser root"), GetParam().noScratch);
        expectUntouched();
    }
}

TEST_P(Rewriting, SaysWhenTheFileCannotBeRead) {
    const CapturedOutput output;
    file = folder + "/missing.conf";
    EXPECT_EQ(run(), GetParam().noFile);
    EXPECT_EQ(temporaryFilesIn(folder).empty(), !leavesAnEmptyCopy(GetParam()));
    file = folder + "/a-folder.conf";
    fs::create_directories(file);
    EXPECT_EQ(run(), GetParam().noFile);
    file = "/missing/httpd.conf";
    EXPECT_EQ(run(), blamesItsCopyFirst(GetParam()) ? GetParam().noScratch : GetParam().noFile);
    EXPECT_FALSE(fs::exists("/missing"));

    refill("unreadable");
    fs::permissions(file, fs::perms(0600));
    fs::permissions(folder, fs::perms(0777));
    {
        const WithoutPrivileges account;
        EXPECT_EQ(run(), GetParam().noFile);
    }
    EXPECT_EQ(readFile(file), Configuration);
}

TEST_P(Rewriting, NeedsAFolderThatItCanWriteTo) {
    {
        const WithoutPrivileges account;
        EXPECT_EQ(run(), GetParam().noScratch);
    }
    expectUntouched();
    makeReadOnly(folder);  // not even root can
    EXPECT_EQ(run(), GetParam().noScratch);
    expectUntouched();
}

TEST_P(Rewriting, LeavesTheOldTextWhenTheDiskIsFull) {
    std::string text = Configuration;
    while (text.size() < 200'000) {
        text += "# " + std::string(77, 'x') + "\n";
    }
    for (const size_t room : {0, 4096, 90'112}) {
        folder = scratch("disk" + std::to_string(room));
        file = folder + "/httpd.conf";
        mountSmallDisk(folder, "300k");
        writeFile(file, text);
        fillDisk(folder, room);
        EXPECT_EQ(run(), GetParam().noScratch) << room;
        EXPECT_EQ(readFile(file), text);
        EXPECT_EQ(temporaryFilesIn(folder), "filler ");
    }
}

TEST_P(Rewriting, TakesAnythingForAConfiguration) {
    std::string binary;
    for (int i = 0; i < 70'000; ++i) {
        binary += i % 100 == 99 ? '\n' : static_cast<char>(i * 7 + i / 256);
    }
    for (const std::string& text :
         {std::string(), std::string(1, '\0'), std::string("\n"), binary, std::string(200'000, 'x')}) {
        refill("anything");
        writeFile(file, text);
        EXPECT_EQ(run(), GetParam().notFound);
        if (asksForItsPlace(GetParam())) {
            EXPECT_EQ(readFile(file), text);
        }
    }
}

TEST_P(Rewriting, IsNotLedAstrayByWhatStandsInPlaceOfTheCopy) {
    writeFile(scratch("victim"), "precious\n");
    for (const std::string& name : temporaryFileNames()) {
        fs::create_symlink(scratch("victim"), name);
    }
    EXPECT_EQ(run(), GetParam().done);
    EXPECT_EQ(readFile(scratch("victim")), "precious\n");
    EXPECT_FALSE(fs::is_symlink(file));

    refill("blocked");
    for (const std::string& name : temporaryFileNames()) {
        fs::create_directories(name);
    }
    EXPECT_EQ(run(), GetParam().noScratch);
    EXPECT_EQ(readFile(file), Configuration);
}

TEST(HugeConfiguration, IsServedLikeASmallOne) {
    addSiteAccounts();
    const std::string file = scratch("httpd.conf");
    std::string text;
    for (int i = 0; i < 20'000; ++i) {
        text += blockOf({.domain = "site" + std::to_string(i) + ".example"});
    }
    writeFile(file, text);
    EXPECT_EQ(create(file, {.domain = "site19999.example"}), 92);
    EXPECT_EQ(create(file), 94);
    EXPECT_TRUE(readFile(file) == text + "\n" + blockOf({}));
    ApacheHelper helper;
    EXPECT_EQ(helper.Apache_UpdateDirectiveInVH(file, "site19999.example", "ErrorLog", "x", false), 0);
    std::string value;
    EXPECT_EQ(helper.Apache_getDirectiveInVH(file, "site19999.example", "ErrorLog", value, false), 0);
    EXPECT_EQ(value, "x");
}

TEST(CreationPaths, AreNoCommands) {
    addSiteAccounts();
    const std::string file = scratch("httpd.conf");
    writeFile(file, "");
    const Site site{.parent = scratch("it's; touch pwned #/"), .administrator = "a;touch pwned"};
    fs::create_directories(site.parent);
    const FakeTools tools;
    tools.watch("chmod");
    tools.watch("chown");
    EXPECT_EQ(create(file, site), 94);
    EXPECT_EQ(readFile(file), "\n" + blockOf(site));
    EXPECT_FALSE(fs::exists("pwned"));
    const std::string log = site.parent + "example.com/log";
    EXPECT_EQ(tools.calls(),
              (StringVector{"chmod -R 505 [" + log + "]", "chown -R [a;touch pwned:zp7group] [" + log + "]",
                            "chmod -R 505 [" + log + "/httpd]",
                            "chown -R [a;touch pwned:zp7group] [" + log + "/httpd]"}));
    EXPECT_EQ(mode(log + "/httpd"), "0505");
}
