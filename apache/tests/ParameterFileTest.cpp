// Lines of a name, a delimiter and a value.
#include <FileHandling.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/FileCase.h"
#include "support/Files.h"
#include "support/Sandbox.h"
#include "support/Text.h"
#include "support/Watching.h"

using namespace zp::test;

namespace {

using Operation = std::function<int(const std::string&)>;

Operation has(const std::string& name, const std::string& value, char delimiter = ' ') {
    return [=](auto& file) {
        return FileHandling().isParamValueExistsInFile(file, name, value, delimiter, '#');
    };
}
Operation add(const std::string& line) {
    return [=](auto& file) { return FileHandling().addParamInFile(file, line); };
}
Operation edit(const std::string& name, const std::string& value, const std::string& newValue) {
    return [=](auto& file) {
        return FileHandling().editParamValueInFile(file, name, value, newValue, ' ', '#');
    };
}
Operation erase(const std::string& name, const std::string& value) {
    return [=](auto& file) { return FileHandling().delParamFromFile(file, name, value, ' ', '#'); };
}

const std::string Said = "delimeter contain spaces\n";
const std::string Access = lines({
    "# Options All",
    "",
    "Options None",
    "OptionsX None",
    "  options   None",
    "Options\tNone",
    "Options  none",
    "Options None ",
    "Options",
    " \t",
    "\t#Options None",
});
// The names in it, looked at one after the other.
const std::string SaidOfAll = Said + Said + Said + Said + Said + Said + Said;
const std::string Packed = withoutEmptyLines(Access);
const std::string WithoutComments = without(without(Packed, "# Options All\n"), "\t#Options None\n");

const FileCase cases[] = {
    {"FindsAValue", Access, has("OPTIONS", "None"), 1, {}, Said},
    {"AsksForTheLetterCaseOfTheValue", Access, has("Options", "NONE"), 0, {}, SaidOfAll},
    {"AsksForTheWholeRest", "Options None \n", has("Options", "None"), 0, {}, Said},
    {"AsksForTheDelimiterAtOnce",
     "Options = None\nOptions\tNone\n",
     has("Options", "None", '='),
     0,
     {},
     Said + Said},
    {"SkipsWhatFollowsTheDelimiter", "Options= \t None\n", has("Options", "None", '='), 1, {}, Said},
    {"SeesLinesOf2999Characters",
     "Options " + std::string(2991, 'x') + "\n",
     has("Options", std::string(2991, 'x')),
     1,
     {},
     Said},
    {"SeesNothingBehindALongerOne", std::string(3000, 'x') + "\nOptions None\n", has("Options", "None"), 0},
    {"NeedsAName", Access, has("", "None"), 0},
    {"NeedsAValue", "Options \n", has("Options", ""), 0},

    {"AddsALine", "Options All\n", add("Options None"), 1, "Options All\nOptions None\n"},
    {"AddsALineOfItsOwn", "Options All", add("Options None"), 1, "Options All\nOptions None\n"},
    {"AddsNoSecondLine", "", add("Options None\nSetHandler x"), 0},

    {"EditReplacesEveryMatchAndDropsComments", Access, edit("options", "None", "All -Indexes"), 1,
     with(with(WithoutComments, "Options None\n", "options All -Indexes\n"), "  options   None\n",
          "options All -Indexes\n"),
     SaidOfAll},
    {"EditToNothing", "Options None\n", edit("Options", "None", ""), 1, "Options \n", Said},
    {"EditOfNothingDropsCommentsAllTheSame", Access, edit("Require", "valid-user", "x"), 0,
     WithoutComments},
    {"EditNeedsAValue", Access, edit("Options", "", "x"), 0},
    {"EditRefusesTwoLines", Access, edit("Options", "None", "All\nSetHandler x"), 0, {}, SaidOfAll},

    {"DeleteDropsEveryMatchAndKeepsComments", Access, erase("Options", "None"), 1,
     without(without(Packed, "Options None\n"), "  options   None\n"), SaidOfAll},
    {"DeleteOfNothingDropsEmptyLinesAllTheSame", Access, erase("Require", "valid-user"), 0, Packed},
    {"DeleteNeedsAName", Access, erase("", "None"), 0},
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
    for (const Operation& operation : {edit("Options", "None", "All"), erase("Options", "All")}) {
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
    for (const Operation& operation : {has("a", "b"), edit("a", "b", "c"), erase("a", "b")}) {
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
        for (const Operation& operation :
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
    for (const Operation& operation :
         {add(std::string(4000, 'x')), edit("Options", "None", "All"), erase("Options", "None")}) {
        const CapturedOutput output;
        EXPECT_FALSE(operation(file));
        EXPECT_TRUE(readFile(file) == text);
        EXPECT_EQ(namesIn(folder), (std::vector<std::string>{"file", "rest"}));
    }
}
