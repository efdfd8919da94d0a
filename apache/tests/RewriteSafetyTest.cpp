// The rewrite of a configuration: nothing is lost, opened up or run that should not be.
#include <CZPWebsite.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>
#include <functional>

#include "support/FakeTools.h"
#include "support/FileCase.h"
#include "support/Files.h"
#include "support/Operations.h"
#include "support/Sandbox.h"
#include "support/Sites.h"
#include "support/Text.h"
#include "support/VirtualDirectories.h"
#include "support/Watching.h"

using namespace zp::test;
namespace fs = std::filesystem;

namespace {

constexpr const char *Old = "old.example", *Home = "/var/www/old.example";
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

// Every operation that rewrites a configuration, each with a change to make in `Configuration`. `value`
// ends up in the text that is written.
struct Editing {
    const char* name;
    std::string copy;  // the suffix of its name, or its path; empty: the time in seconds
    size_t bound;      // of a line; 0: none
    int done, notFound, noFile, noScratch;
    std::function<int(const std::string& file, const std::string& value)> run;

    friend std::ostream& operator<<(std::ostream& out, const Editing& editing) {
        return out << editing.name;
    }
};

template <class Call>
auto website(Call call) {
    return [call](const std::string& file, const std::string& value) {
        CZPWebsite manager(nullptr, file.c_str());
        return int{call(manager, value)};
    };
}
template <class Call>
auto merge(Call call) {
    return website([call](CZPWebsite& manager, const std::string& value) {
        UpdateVHost record{};
        record.pDomain = Old;
        record.Include = {"a" + value};
        return call(manager, record);
    });
}
// Where a text holds "%", the value is put in.
std::string filled(const char* text, const std::string& value) {
    const std::string whole = text;
    return whole.find('%') == std::string::npos ? whole : with(whole, "%", value);
}
StringVector filled(StringVector texts, const std::string& value) {
    texts[0] = filled(texts[0].c_str(), value);
    return texts;
}
template <class Other>
Other filled(Other other, const std::string& /*value*/) {
    return other;
}
template <class... Parameters, class... Arguments>
auto helper(int (ApacheHelper::*operation)(std::string, Parameters...), Arguments... arguments) {
    return [=](const std::string& file, const std::string& value) {
        return primitive(operation, filled(arguments, value)...)(file);
    };
}
const StringVector Lines{"A%"};

Directory denying(const std::string& value) {
    return {.domain = Old, .folder = "/absent", .deny = "a" + value};
}

const Editing Operations[] = {
    {"CreateWebsite", "", 1022, 94, 94, 22, 22,
     [](auto& file, auto& value) { return create(file, {.administrator = "a" + value}); }},
    {"EnableHostingLimits", "", 2999, 0, 0, 1, 2,
     website([](auto& w, auto&) { return w.EnableHostingLimits(); })},
    {"EnableMessage", "", 1023, 96, 96, 22, 22,
     merge([](auto& w, auto& record) { return w.EnableMessage(&record); })},
    {"DisableMessage", "", 1023, 96, 96, 22, 22,
     merge([](auto& w, auto& record) { return w.DisableMessage(&record, "/home"); })},
    {"UpdateWebsite", "", 1023, 96, 96, 22, 22,
     merge([](auto& w, auto& record) { return w.UpdateWebsite(&record); })},
    {"StartWebsite", "", 29999, 29, 29, 22, 22,
     website([](auto& w, auto&) { return w.StartWebsite(Old); })},
    {"StopWebsite", "", 29999, 30, 30, 22, 22, website([](auto& w, auto&) { return w.StopWebsite(Old); })},
    {"DeleteWebsite", "", 1022, 24, 24, 22, 23,
     website([](auto& w, auto&) { return w.DeleteWebsite(Old, 0); })},
    {"NameBasedToIPBased", "", 1023, 123, 32, 22, 22, website([](auto& w, auto& value) {
         return w.NameBasedToIPBased("10.0.0.5", "10.0.0.9" + value, Old);
     })},
    {"IPBasedToNameBased", "", 1023, 121, 32, 22, 22, website([](auto& w, auto& value) {
         return w.IPBasedToNameBased("10.0.0.5", "10.0.0.9" + value, Old);
     })},
    {"EnableOpenBasedir", "", 2046, 96, 96, 22, 22,
     website([](auto& w, auto&) { return w.Enable_open_basedir(Old, Home); })},
    {"SuPhpForTheServer", "", 1023, 0, 0, 1, 2,
     website([](auto& w, auto& value) { return w.EnableSuPhpGlobally(value); })},
    {"SuPhpForASite", "", 0, 96, 96, 21, 23,
     website([](auto& w, auto& value) { return w.EnableSuPhp(Old, "mod_suphp" + value); })},
    {"EnablePerl", "/etc/tempapa1", 2046, 0, 0, 21, 21,
     website([](auto& w, auto&) { return w.EnablePerl(Old); })},
    {"CreateVirtualDirectory", "/etc/apactemp1", 0, 83, 83, 22, 23,
     [](auto& file, auto& value) { return createDirectory(file, denying(value)); }},
    {"UpdateVirtualDirectory", "/etc/apactemp1", 0, 89, 89, 22, 23,
     [](auto& file, auto& value) { return updateDirectory(file, denying(value)); }},
    {"DeleteVirtualDirectory", "/etc/apactemp1", 0, 85, 85, 22, 23,
     [](auto& file, auto&) { return deleteDirectory(file, Home); }},
    {"DeleteVhIfmoduleBlock", ".dif", 2047, 0, 0, 22, 23,
     helper(&ApacheHelper::Apache_DeleteVhIfmoduleBlock, Old, "m")},
    {"ChangeVirtualHostPort", "_zpbackup_cp", 2999, 0, 3, 1, 2,
     helper(&ApacheHelper::Apache_ChangeVirtualHostPort, Old, "*", "%")},
    {"AddDirectiveInVH", "_zpbackup_ACEP", 1023, 0, 1, 1, 1,
     helper(&ApacheHelper::Apache_AddDirectiveInVH, Old, "A", "%", true)},
    {"AddDirectivesInVH", "_zpbackup_ACEP", 1023, 0, 1, 1, 1,
     helper(&ApacheHelper::Apache_AddDirectivesInVH, Old, Lines)},
    {"UpdateDirectiveInVH", "_temp1", 2024, 0, 3, 1, 2,
     helper(&ApacheHelper::Apache_UpdateDirectiveInVH, Old, "ErrorLog", "%", false)},
    {"UpdateVHDirectiveContents", "_temp12", 2024, 0, 3, 1, 2,
     helper(&ApacheHelper::Apache_UpdateVHDirectiveContents, Old, "<Directory", "A%", true)},
    {"DeleteDirectivesInVH", "_temp11", 2024, 0, 3, 1, 2,
     helper(&ApacheHelper::Apache_DeleteDirectivesInVH, Old, StringVector{"ErrorLog"})},
    {"writeDirective", ".wd", 1023, 0, 0, 1, 2,
     helper(&ApacheHelper::Apache_writeDirective, "A%", "Listen", true, 1)},
    {"writeDirective_at_line", ".wd1", 1023, 0, 0, 1, 2,
     helper(&ApacheHelper::Apache_writeDirective, "A%", "Absent", true, 1)},
    {"addDirectoryTag", "_temp4", 2024, 0, 4, 1, 2,
     helper(&ApacheHelper::Apache_addDirectoryTag, Old, "/srv", Lines)},
    {"UpdateDirectoryDirectives", "_temp3", 2024, 0, 4, 1, 2,
     helper(&ApacheHelper::Apache_UpdateDirectoryDirectives, Old, Home, Lines)},
    {"UpdateDirectoryTagPath", "_temp2", 2024, 0, 4, 1, 2,
     helper(&ApacheHelper::Apache_UpdateDirectoryTagPath, Old, Home, "%")},
    {"DeleteDirectoryTag", "_temp5", 2024, 0, 4, 1, 2,
     helper(&ApacheHelper::Apache_deleteDirectoryTag, Old, Home)},
    {"addModule", "_md", 1023, 0, 0, 1, 2, helper(&ApacheHelper::Apache_addModule, "%")},
};

// Is this one of the few that write no text of the caller's?
bool writesValue(const Editing& operation) {
    const std::string name = operation.name;
    return name == "EnableMessage" ||
           !(name.starts_with("Enable") || name.starts_with("Delete") || name.starts_with("St"));
}

// The copy is opened first: it is what a folder that is missing is blamed on,
bool blamesItsCopyFirst(const Editing& operation) {
    return operation.noScratch == 23 && (operation.copy == ".dif" || operation.noFile == 21);
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
    bool copyIsElsewhere() const { return GetParam().copy.starts_with('/'); }
    std::string copyFolder() const { return copyIsElsewhere() ? "/etc" : folder; }
    void expectUntouched() const {
        EXPECT_EQ(readFile(file), Configuration);
        EXPECT_EQ(temporaryFilesIn(folder), "");
        EXPECT_FALSE(copyIsElsewhere() && fs::exists(GetParam().copy));
    }
    // What the copy may be called; by the second, the name is not known before.
    StringVector temporaryFileNames() const {
        if (const std::string& copy = GetParam().copy; !copy.empty()) {
            return {copyIsElsewhere() ? copy : file + copy};
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
    const bool creates = std::string(GetParam().name) == "CreateWebsite";
    if (creates) {  // it makes folders meanwhile
        tools.watch("chmod", "stat -c %a " + folder + "/[0-9]* >>" + scratch("written"));
    }
    ::umask(0);
    EXPECT_EQ(run(), GetParam().done);
    ::umask(022);
    EXPECT_EQ(readFile(scratch("moved")), "644 0 0\n");
    EXPECT_EQ(readFile(scratch("written")), creates ? "600\n600\n" : NoFile);
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
    makeReadOnly(copyFolder());  // not even root can
    EXPECT_EQ(run(), GetParam().noScratch);
    expectUntouched();
}

TEST_P(Rewriting, LeavesTheOldTextWhenTheDiskIsFull) {
    std::string text = Configuration;
    while (text.size() < 200'000) {
        text += "# " + std::string(77, 'x') + "\n";
    }
    for (const size_t room : {0U, 4096U, 90'112U}) {
        folder = scratch("disk" + std::to_string(room));
        file = folder + "/httpd.conf";
        mountSmallDisk(copyFolder(), "300k");
        writeFile(file, text);
        fillDisk(copyFolder(), room);
        EXPECT_EQ(run(), GetParam().noScratch) << room;
        EXPECT_EQ(readFile(file), text);
        EXPECT_EQ(temporaryFilesIn(copyFolder()), "filler ");
    }
}

TEST_P(Rewriting, LosesWhatStandsBehindALineOverItsBound) {
    const size_t bound = GetParam().bound == 0 ? 100'000 : GetParam().bound;
    for (const size_t length : {bound, bound + 1}) {
        refill("bound");
        const std::string line = std::string(length, 'x') + "\n";
        writeFile(file, Configuration + line + "Listen 81\n");
        EXPECT_EQ(run(), GetParam().done);
        const std::string after = readFile(file);
        EXPECT_EQ(after.find(line + "Listen 81\n") == std::string::npos,
                  GetParam().bound != 0 && length > bound);
        EXPECT_EQ(after.find("Listen 81\n") == std::string::npos, GetParam().bound != 0 && length > bound);
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
