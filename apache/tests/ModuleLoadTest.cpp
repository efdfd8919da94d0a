// LoadModule lines and the files that they name.
#include <ApacheHelper.h>
#include <gtest/gtest.h>

#include "support/FileCase.h"
#include "support/Files.h"

using namespace zp::test;

namespace {

int addPhp(const std::string& file) { return ApacheHelper().Apache_addModule(file, "php5"); }

const std::string AnySite = "<VirtualHost *>\n</VirtualHost>\n";
const std::string InSite = "<VirtualHost *>\n\tLoadModule a_module mods/a.so\n</VirtualHost>\n\n";
const std::string AtTop = "# LoadModule b_module b.so\n  loadmodule c_module \"libs/c.so\"\nLoadModule\n";
const std::string UsrLib = "LoadModule a_module /usr/lib/apache2/modules/a.so\n";

const FileCase moduleLoadCases[] = {
    // A module must be loaded for the server, not within a site.
    {"GoesBeforeTheFirstLineOutsideTheSites", "ServerRoot \"/srv\"\n" + InSite + AtTop, addPhp,
     R"(0, .zpbackup.rt
> entry=LoadModule php5_module mods/mod_php5.so
> LoadModule found
5-
6+LoadModule php5_module mods/mod_php5.so)"},
    // The server looks for it below its own root.
    {"NamesAFolderOfItsRootByItsLastPart", "ServerRoot \"/srv\"\n" + AtTop, addPhp, R"(0, .zpbackup.rt
> entry=LoadModule php5_module libs/mod_php5.so
> LoadModule found
3+LoadModule php5_module libs/mod_php5.so)"},
    // Debian's modules lie outside the server's root.
    {"NamesAFolderUnderUsrLibWhole", UsrLib, addPhp, R"(0, .zpbackup.rt
> entry=LoadModule php5_module /usr/lib/apache2/modules/mod_php5.so
> LoadModule found
1+LoadModule php5_module /usr/lib/apache2/modules/mod_php5.so)"},
    // Sites may use what the module brings.
    {"ElseBeforeTheFirstSite", "Listen 80\n\n" + AnySite + AnySite, addPhp, R"(0, .zpbackup.rt
> entry=LoadModule php5_module /usr/lib/apache2/modules/mod_php5.so
> VirtualHost found
2-
2+LoadModule php5_module /usr/lib/apache2/modules/mod_php5.so)"},
    // A file without modules and sites gets its first.
    {"ElseAtTheEnd", "Listen 80\n\n", addPhp, R"(0, .zpbackup.rt
> entry=LoadModule php5_module /usr/lib/apache2/modules/mod_php5.so
> apending
3+LoadModule php5_module /usr/lib/apache2/modules/mod_php5.so)"},
    // An unfinished last line is not made longer.
    {"AtTheEndOnALineOfItsOwn", "Listen 80", addPhp, R"(0, .zpbackup.rt, chatter
1-Listen 80 (no newline)
1+Listen 80
2+LoadModule php5_module /usr/lib/apache2/modules/mod_php5.so)"},
    // A module's name must not bring a directive along.
    {"RefusesANameOfTwoLines", "Listen 80\n",
     [](auto& file) { return ApacheHelper().Apache_addModule(file, "a\nUser root #"); }, R"(4, .zpbackup.rt
> entry=LoadModule a
> User root #_module /usr/lib/apache2/modules/mod_a
> User root #.so
> apending
> Unable to open file in append mode)"},
    // The bound itself, and one more.
    {"SeesLinesOf1023Characters", std::string(1023, 'x') + "\n" + std::string(1024, 'y') + "\n" + UsrLib,
     addPhp, R"(0, .zpbackup.rt, chatter
4+LoadModule php5_module /usr/lib/apache2/modules/mod_php5.so)"},
};

}  // namespace

class ModuleLoad : public ::testing::TestWithParam<FileCase> {};
TEST_P(ModuleLoad, File) { check(GetParam()); }
INSTANTIATE_TEST_SUITE_P(Addition, ModuleLoad, ::testing::ValuesIn(moduleLoadCases), byName);

TEST(ModuleFile, IsLookedForInTheModulesFolder) {
    const std::string inBlock = "<VirtualHost *>\n" + std::string(119, 'x') + "\n</VirtualHost>\n";
    const std::tuple<std::string, const char*, bool> questions[] = {
        {"# any line\n", "rewrite", true},
        {"# any line\n", "absent", false},
        {"", "rewrite", false},
        {"\n" + AnySite, "rewrite", false},
        {AnySite + "Listen 80\n", "rewrite", true},
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
