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

const FileCase parameterFileCases[] = {
    // Names are found in any letter case.
    {"FindsAValue", Access, has("OPTIONS", "None"), R"(1
> delimeter contain spaces)"},
    // Values are not.
    {"AsksForTheLetterCaseOfTheValue", Access, has("Options", "NONE"), R"(0
> delimeter contain spaces
> delimeter contain spaces
> delimeter contain spaces
> delimeter contain spaces
> delimeter contain spaces
> delimeter contain spaces
> delimeter contain spaces)"},
    // A blank behind the value makes it another.
    {"AsksForTheWholeRest", "Options None \n", has("Options", "None"), "0, chatter"},
    // A name followed by something else is another name.
    {"AsksForTheDelimiterAtOnce", "Options = None\nOptions\tNone\n", has("Options", "None", '='), R"(0
> delimeter contain spaces
> delimeter contain spaces)"},
    // Blanks behind the delimiter are no part of the value.
    {"SkipsWhatFollowsTheDelimiter", "Options= \t None\n", has("Options", "None", '='), "1, chatter"},
    // The bound itself.
    {"SeesLinesOf2999Characters", "Options " + std::string(2991, 'x') + "\n",
     has("Options", std::string(2991, 'x')), "1, chatter"},
    // One more ends the file.
    {"SeesNothingBehindALongerOne", std::string(3000, 'x') + "\nOptions None\n", has("Options", "None"),
     "0"},
    // An empty name would match every line.
    {"NeedsAName", Access, has("", "None"), "0"},
    // And so would an empty value.
    {"NeedsAValue", "Options \n", has("Options", ""), "0"},
    // The usual case.
    {"AddsALine", "Options All\n", add("Options None"), R"(1
2+Options None)"},
    // An unfinished last line is not made longer.
    {"AddsALineOfItsOwn", "Options All", add("Options None"), R"(1
1-Options All (no newline)
1+Options All
2+Options None)"},
    // A value must not bring a directive along.
    {"AddsNoSecondLine", "", add("Options None\nSetHandler x"), "0"},
    // Comments are lost by an edit: documented, and so kept.
    {"EditReplacesEveryMatchAndDropsComments", Access, edit("options", "None", "All -Indexes"),
     R"(1, chatter
1-# Options All
2-
3-Options None
1,3+options All -Indexes
5-  options   None
11-	#Options None)"},
    // An empty value is a value.
    {"EditToNothing", "Options None\n", edit("Options", "None", ""), R"(1, chatter
1-Options None
1+Options )"},
    // A known surprise.
    {"EditOfNothingDropsCommentsAllTheSame", Access, edit("Require", "valid-user", "x"), R"(0
1-# Options All
2-
11-	#Options None)"},
    // No value matches nothing.
    {"EditNeedsAValue", Access, edit("Options", "", "x"), "0"},
    // A value must not bring a directive along.
    {"EditRefusesTwoLines", Access, edit("Options", "None", "All\nSetHandler x"), "0, chatter"},
    // Other than an edit, a deletion leaves comments.
    {"DeleteDropsEveryMatchAndKeepsComments", Access, erase("Options", "None"), R"(1, chatter
2-
3-Options None
5-  options   None)"},
    // A known surprise.
    {"DeleteOfNothingDropsEmptyLinesAllTheSame", Access, erase("Require", "valid-user"), R"(0
2-)"},
    // An empty name must not delete every line.
    {"DeleteNeedsAName", Access, erase("", "None"), "0"},
};

}  // namespace

class ParameterFile : public ::testing::TestWithParam<FileCase> {};
TEST_P(ParameterFile, File) { check(GetParam()); }
INSTANTIATE_TEST_SUITE_P(Operation, ParameterFile, ::testing::ValuesIn(parameterFileCases), byName);

TEST(ParameterFilePlace, KeepsModeAndOwner) {
    const std::string file = scratch("file");
    writeFile(file, Access);
    ASSERT_EQ(::chown(file.c_str(), 2001, 2002), 0);
    ASSERT_EQ(::chmod(file.c_str(), 0440), 0);
    for (const FileOperation& operation :
         {add("Options None"), edit("Options", "None", "All"), erase("Options", "All")}) {
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
    // Nor where one of a group, or anybody, can have made it.
    writeFile(scratch("shared/own"), "");
    ASSERT_EQ(::symlink("../outside", scratch("shared/way").c_str()), 0);
    for (const mode_t writable : {0770U, 0707U, 01707U}) {
        ASSERT_EQ(::chmod(scratch("shared").c_str(), writable), 0);
        EXPECT_FALSE(add("Options All")(scratch("shared/way/file"))) << writable;
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
