// Lines of a name, a delimiter and a value.
#include <FileHandling.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/FileCase.h"
#include "support/Files.h"
#include "support/Sandbox.h"
#include "support/Watching.h"

using namespace zp::test;

namespace {

FileOperation has(const std::string& name, const std::string& value, char delimiter = ' ') {
    return [=](auto& file) {
        return FileHandling().isParamValueExistsInFile(file, name, value, delimiter, '#');
    };
}
FileOperation add(const std::string& line) {
    return [=](auto& file) { return FileHandling().addParamInFile(file, line); };
}
FileOperation edit(const std::string& name, const std::string& value, const std::string& newValue) {
    return [=](auto& file) {
        return FileHandling().editParamValueInFile(file, name, value, newValue, ' ', '#');
    };
}
FileOperation erase(const std::string& name, const std::string& value) {
    return [=](auto& file) { return FileHandling().delParamFromFile(file, name, value, ' ', '#'); };
}

const std::string Access = collected("samples/parameters.txt");

const FileCase cases[] = {
    {"FindsAValue", Access, has("OPTIONS", "None")},
    {"AsksForTheLetterCaseOfTheValue", Access, has("Options", "NONE")},
    {"AsksForTheWholeRest", "Options None \n", has("Options", "None")},
    {"AsksForTheDelimiterAtOnce", "Options = None\nOptions\tNone\n", has("Options", "None", '=')},
    {"SkipsWhatFollowsTheDelimiter", "Options= \t None\n", has("Options", "None", '=')},
    {"SeesLinesOf2999Characters", "Options " + std::string(2991, 'x') + "\n",
     has("Options", std::string(2991, 'x'))},
    {"SeesNothingBehindALongerOne", std::string(3000, 'x') + "\nOptions None\n", has("Options", "None")},
    {"NeedsAName", Access, has("", "None")},
    {"NeedsAValue", "Options \n", has("Options", "")},
    {"AddsALine", "Options All\n", add("Options None")},
    {"AddsALineOfItsOwn", "Options All", add("Options None")},
    {"AddsNoSecondLine", "", add("Options None\nSetHandler x")},
    {"EditReplacesEveryMatchAndDropsComments", Access, edit("options", "None", "All -Indexes")},
    {"EditToNothing", "Options None\n", edit("Options", "None", "")},
    {"EditOfNothingDropsCommentsAllTheSame", Access, edit("Require", "valid-user", "x")},
    {"EditNeedsAValue", Access, edit("Options", "", "x")},
    {"EditRefusesTwoLines", Access, edit("Options", "None", "All\nSetHandler x")},
    {"DeleteDropsEveryMatchAndKeepsComments", Access, erase("Options", "None")},
    {"DeleteOfNothingDropsEmptyLinesAllTheSame", Access, erase("Require", "valid-user")},
    {"DeleteNeedsAName", Access, erase("", "None")},
};

}  // namespace

class ParameterFile : public ::testing::TestWithParam<FileCase> {};
TEST_P(ParameterFile, File) { check(GetParam()); }
INSTANTIATE_TEST_SUITE_P(Operation, ParameterFile, ::testing::ValuesIn(cases), byName);

TEST(ParameterFilePlace, KeepsModeAndOwner) {
    const std::string file = scratch("file");
    writeFile(file, Access);
    ASSERT_EQ(::chown(file.c_str(), 2001, 2002), 0);
    ASSERT_EQ(::chmod(file.c_str(), 0440), 0);
    for (const FileOperation& operation : {edit("Options", "None", "All"), erase("Options", "All")}) {
        EXPECT_TRUE(operation(file));
        EXPECT_EQ(mode(file) + " " + owner(file), "0440 2001:2002");
    }
    EXPECT_EQ(namesIn(scratch()), std::vector<std::string>{"file"});
}

TEST(ParameterFilePlace, IsMadeByTheFirstLine) {
    const std::string file = scratch("file");
    EXPECT_TRUE(add("Options None")(file));
    EXPECT_EQ(readFile(file), "Options None\n");
    EXPECT_EQ(mode(file), "0644");
    EXPECT_FALSE(add("Options None")(scratch("missing/file")));
    for (const FileOperation& operation : {has("a", "b"), edit("a", "b", "c"), erase("a", "b")}) {
        EXPECT_FALSE(operation(scratch("missing/file")));
        EXPECT_FALSE(operation(""));
    }
}

// What stands outside a site is not written through a link that the site's owner has put in the way.
TEST(ParameterFilePlace, IsNotReachedThroughALinkOfTheOwner) {
    const std::string outside = scratch("outside/file");
    const std::string site = scratch("site");
    writeFile(outside, Access);
    writeFile(site + "/own", "");
    ASSERT_EQ(::chown(site.c_str(), 2001, 2002), 0);
    ASSERT_EQ(::symlink(outside.c_str(), (site + "/link").c_str()), 0);
    ASSERT_EQ(::symlink("../outside", (site + "/folder").c_str()), 0);
    ASSERT_EQ(::symlink("/nowhere/to/be/found", (site + "/dangling").c_str()), 0);
    for (const std::string name : {"/link", "/folder/file", "/dangling"}) {
        for (const FileOperation& operation :
             {add("Options All"), edit("Options", "None", "All"), erase("Options", "None")}) {
            EXPECT_FALSE(operation(site + name)) << name;
        }
    }
    EXPECT_EQ(readFile(outside), Access);
    EXPECT_EQ(namesIn(scratch("outside")), std::vector<std::string>{"file"});
    // A link that only the administrator can have made is followed.
    ASSERT_EQ(::symlink("outside", scratch("administrators").c_str()), 0);
    EXPECT_TRUE(add("Options All")(scratch("administrators/file")));
    EXPECT_EQ(readFile(outside), Access + "Options All\n");
}

TEST(ParameterFilePlace, IsLeftAloneWhereTheDiskIsFull) {
    const std::string folder = scratch("disk");
    mountSmallDisk(folder, "12k");
    const std::string file = folder + "/file";
    std::string text = Access;
    while (text.size() < 8000) {
        text += "Options All\n";
    }
    writeFile(file, text);
    writeFile(folder + "/rest", std::string(4096, 'x'));
    for (const FileOperation& operation :
         {add(std::string(4000, 'x')), edit("Options", "None", "All"), erase("Options", "None")}) {
        const CapturedOutput output;
        EXPECT_FALSE(operation(file));
        EXPECT_TRUE(readFile(file) == text);
        EXPECT_EQ(namesIn(folder), (std::vector<std::string>{"file", "rest"}));
    }
}
