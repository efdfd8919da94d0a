// LoadModule lines and the files that they name.
#include <ApacheHelper.h>
#include <gtest/gtest.h>

#include "support/FileCase.h"
#include "support/Files.h"
#include "support/Text.h"

using namespace zp::test;

namespace {

int addPhp(const std::string& file) { return ApacheHelper().Apache_addModule(file, "php5"); }

std::string entryFor(const std::string& folder) {
    return "LoadModule php5_module " + folder + "/mod_php5.so\n";
}
std::string printed(const std::string& folder, const std::string& how) {
    return "entry=" + entryFor(folder) + how + "\n";
}

const char* const Debian = "/usr/lib/apache2/modules";
const std::string Site = "<VirtualHost *>\n</VirtualHost>\n";
const std::string InSite = "<VirtualHost *>\n\tLoadModule a_module mods/a.so\n</VirtualHost>\n\n";
const std::string AtTop = "# LoadModule b_module b.so\n  loadmodule c_module \"libs/c.so\"\nLoadModule\n";
const std::string UsrLib = "LoadModule a_module /usr/lib/apache2/modules/a.so\n";

const FileCase cases[] = {
    {"GoesBeforeTheFirstLineOutsideTheSites", "ServerRoot \"/srv\"\n" + InSite + AtTop, addPhp, 0,
     "ServerRoot \"/srv\"\n" + withoutEmptyLines(InSite) +
         with(AtTop, "  load", entryFor("mods") + "  load"),
     printed("mods", "LoadModule found")},
    {"NamesAFolderOfItsRootByItsLastPart", "ServerRoot \"/srv\"\n" + AtTop, addPhp, 0,
     "ServerRoot \"/srv\"\n" + with(AtTop, "  load", entryFor("libs") + "  load"),
     printed("libs", "LoadModule found")},
    {"NamesAFolderUnderUsrLibWhole", UsrLib, addPhp, 0, entryFor(Debian) + UsrLib,
     printed(Debian, "LoadModule found")},
    {"ElseBeforeTheFirstSite", "Listen 80\n\n" + Site + Site, addPhp, 0,
     "Listen 80\n" + entryFor(Debian) + Site + Site, printed(Debian, "VirtualHost found")},
    {"ElseAtTheEnd", "Listen 80\n\n", addPhp, 0, "Listen 80\n\n" + entryFor(Debian),
     printed(Debian, "apending")},
    {"AtTheEndOnALineOfItsOwn", "Listen 80", addPhp, 0, "Listen 80\n" + entryFor(Debian),
     printed(Debian, "apending")},
    {"RefusesANameOfTwoLines",
     "Listen 80\n",
     [](auto& file) { return ApacheHelper().Apache_addModule(file, "a\nUser root #"); },
     4,
     {},
     "entry=LoadModule a\nUser root #_module /usr/lib/apache2/modules/mod_a\nUser root #.so\napending\n"
     "Unable to open file in append mode\n"},
    {"SeesLinesOf1023Characters", std::string(1023, 'x') + "\n" + std::string(1024, 'y') + "\n" + UsrLib,
     addPhp, 0, std::string(1023, 'x') + "\n" + std::string(1024, 'y') + "\n" + UsrLib + entryFor(Debian),
     printed(Debian, "apending")},
};

}  // namespace

class ModuleLoad : public ::testing::TestWithParam<FileCase> {};
TEST_P(ModuleLoad, File) {
    FileCase fileCase = GetParam();
    fileCase.beside = {".zpbackup.rt"};
    check(fileCase);
}
INSTANTIATE_TEST_SUITE_P(Addition, ModuleLoad, ::testing::ValuesIn(cases), byName);

TEST(ModuleFile, IsLookedForInTheModulesFolder) {
    const std::string inBlock = "<VirtualHost *>\n" + std::string(119, 'x') + "\n</VirtualHost>\n";
    const std::tuple<std::string, const char*, bool> questions[] = {
        {"# any line\n", "rewrite", true},
        {"# any line\n", "absent", false},
        {"", "rewrite", false},
        {"\n" + Site, "rewrite", false},
        {Site + "Listen 80\n", "rewrite", true},
        {inBlock + "Listen 80\n", "rewrite", false},
        {"LoadModule a_module " + scratch("modules/a.so") + "\n", "rewrite", false},
        {"LoadModule a_module " + scratch("modules/a.so") + "\n", "own", true}};
    writeFile(scratch("modules/mod_own.so"), "");
    const std::string file = scratch("httpd.conf");
    bool found = true;
    EXPECT_EQ(ApacheHelper().Apache_checkModulePhysicalPath(file, "rewrite", found), 1);
    EXPECT_FALSE(found);
    for (const auto& [text, module, expected] : questions) {
        writeFile(file, text);
        found = !expected;
        EXPECT_EQ(ApacheHelper().Apache_checkModulePhysicalPath(file, module, found), expected ? 0 : 4)
            << text;
        EXPECT_EQ(found, expected) << text << module;
    }
}
