// Rotation of a site's access log.
#include <CZPWebsite.h>
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "support/FakeTools.h"
#include "support/Files.h"
#include "support/Told.h"
#include "support/Watching.h"

using namespace zp::test;
namespace fs = std::filesystem;

namespace {

// A site whose CustomLog line has this value, and one call of rotateLog for it.
int rotate(const std::string& customLog, const std::string& threshold, const std::string& option,
           const std::string& domain = "example.com") {
    const std::string file = scratch("httpd.conf");
    writeFile(file,
              "<VirtualHost *>\n\tServerName example.com\n\tCustomLog " + customLog + "\n</VirtualHost>\n");
    return CZPWebsite().rotateLog(file, domain, threshold, option);
}

std::string log() { return scratch("log/access_log"); }

void writeLog(size_t size) {
    writeFile(log(), "");
    fs::resize_file(log(), size);
}

}  // namespace

TEST(LogRotation, RemovesALogThatHasReachedTheThreshold) {
    constexpr size_t Megabyte = 1'048'576;
    const std::tuple<size_t, const char*, const char*> table[] = {{Megabyte, "1", "DEL"},
                                                                  {3 * Megabyte - 1, "2 megabytes", "del"},
                                                                  {Megabyte - 1, "1", "DEL"},
                                                                  {Megabyte - 1, "1", "unknown"},
                                                                  {0, "0", "DEL"},
                                                                  {7, "many", "Del"},
                                                                  {7, "", "DEL"},
                                                                  {7, "99999999999999999999", "DEL"},
                                                                  {7, "0", "unknown"},
                                                                  {7, "0", ""}};
    std::string told;
    for (const auto& [size, threshold, option] : table) {
        writeLog(size);
        const CapturedOutput output;
        const int result = rotate(log() + " combined", threshold, option);
        told += std::to_string(size) + " '" + threshold + "' '" + option + "': " + std::to_string(result) +
                (fs::exists(log()) ? " kept\n" : " removed\n") + printedLines(output.text());
    }
    expectTold(told, R"(1048576 '1' 'DEL': 1 removed
> Remove the file
3145727 '2 megabytes' 'del': 1 removed
> Remove the file
1048575 '1' 'DEL': 1 kept
> 1048575
1048575 '1' 'unknown': 1 kept
> 1048575
0 '0' 'DEL': 1 removed
> Remove the file
7 'many' 'Del': 1 removed
> Remove the file
7 '' 'DEL': 0 kept
7 '99999999999999999999' 'DEL': 1 kept
> 7
7 '0' 'unknown': 0 kept
7 '0' '': 0 kept)");
    EXPECT_EQ(rotate(log(), "0", "DEL", "absent.example"), 0);
}

TEST(LogRotation, PacksBeforeItRemoves) {
    const FakeTools tools;
    tools.watch("tar");
    const std::string archive = "access_log-" + currentTimeStamp() + ".tar.gz";
    const std::string packed = scratch("log/" + archive);
    for (const std::string name : {"access_log", "other.log", "-name"}) {
        const std::string word = name == "-name" ? "./-name" : name;
        writeFile(scratch("log/" + name), "log of " + name);
        fs::permissions(scratch("log/" + name), fs::perms{0640});
        const CapturedOutput output;
        EXPECT_EQ(rotate(scratch("log/" + name), "0", "zipANDdel"), 1);
        EXPECT_EQ(output.text(), "Zip and remove the file\ntar -cvzf " + archive + " " + word + "\n");
        EXPECT_EQ(tools.calls().back(), "tar -cvzf " + archive + " " + word);
        EXPECT_EQ(fs::current_path(), scratch("log"));
        EXPECT_EQ(namesIn(scratch("log")), StringVector{archive}) << "the archive of the hour is replaced";
        ASSERT_EQ(std::system(("tar -xzf " + packed + " -C " + scratch()).c_str()), 0);
        EXPECT_EQ(readFile(scratch(name)), "log of " + name);
        EXPECT_EQ(fs::status(packed).permissions(), fs::perms{0640});
    }
    tools.replace("tar", "exit 1");
    fs::current_path(scratch());
    for (const char* relative : {"log/access_log", "access_log"}) {
        writeLog(7);
        EXPECT_EQ(rotate(relative, "0", "ZIPandDEL"), 1);
        EXPECT_FALSE(fs::exists(log())) << "removed whether it could be packed or not";
    }
}

// A name that the shell would expand reaches the tool as it is.
TEST(LogRotation, PacksALogOfAnyName) {
    const FakeTools tools;
    tools.replace("tar");
    writeFile(scratch("log/~root"), "");
    EXPECT_EQ(rotate(scratch("log/~root"), "0", "ZIPandDEL"), 1);
    EXPECT_NE(tools.calls().back().find("~root"), std::string::npos) << tools.calls().back();
}

TEST(LogRotation, LeavesWhatIsNoLog) {
    const std::string pipe = scratch("pipe");
    fs::create_directories(log());
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string& value :
         {log(), scratch("missing"), pipe, std::string("|/bin/cat"), std::string()}) {
        const CapturedOutput output;
        EXPECT_EQ(rotate(value + " combined", "0", "DEL"), 0) << value;
        EXPECT_EQ(output.text(), "Unable to get File Size\n") << value;
    }
    EXPECT_TRUE(fs::is_directory(log()));
    EXPECT_TRUE(fs::exists(pipe));
    const std::string still = scratch("still");
    fs::create_directories(still);
    ASSERT_EQ(::mount("tmpfs", still.c_str(), "tmpfs", 0, nullptr), 0);
    writeFile(still + "/access_log", "x");
    ASSERT_EQ(::mount(nullptr, still.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
    EXPECT_EQ(rotate(still + "/access_log", "0", "DEL"), 0) << "what could not be removed is there";
}

TEST(LogRotation, IsNotLedElsewhereByLinks) {
    const std::string precious = scratch("precious");
    writeFile(precious, "kept");
    fs::create_directories(scratch("log"));
    for (const std::string option : {"DEL", "ZIPandDEL"}) {
        const std::string archive = scratch("log/access_log-" + currentTimeStamp() + ".tar.gz");
        fs::create_symlink(precious, log());
        fs::create_symlink(precious, archive);
        EXPECT_EQ(rotate(log(), "0", option), 1);
        EXPECT_FALSE(fs::is_symlink(log()));
        EXPECT_EQ(readFile(precious), "kept") << option;
        EXPECT_EQ(fs::is_symlink(archive), option == "DEL");
        fs::remove(archive);
    }
}

// The size of a file elsewhere, which a link of the owner's leads to, is none of a log's.
TEST(LogRotation, DoesNotMeasureWhatALinkOfTheOwnerLeadsTo) {
    writeFile(scratch("large"), std::string(size_t{2} * 1'048'576, 'x'));
    fs::create_directories(scratch("log"));
    fs::create_symlink(scratch("large"), log());
    ASSERT_EQ(::chown(scratch("log").c_str(), 2001, 2001), 0);
    const CapturedOutput output;
    EXPECT_EQ(rotate(log(), "1", "DEL"), 0);
    EXPECT_TRUE(fs::is_symlink(log()));
}

TEST(TimeStamp, IsTheLocalDayAndHour) {
    for (const char* zone : {"UTC", "FAR-14", "WEST+12"}) {
        ::setenv("TZ", zone, 1);
        ::tzset();
        ASSERT_EQ(std::system(("date +%-d-%-m-%Y-%-H >" + scratch("date")).c_str()), 0);
        EXPECT_EQ(currentTimeStamp() + "\n", readFile(scratch("date"))) << zone;
    }
}
