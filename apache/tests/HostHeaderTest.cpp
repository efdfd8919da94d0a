// The further names of a site.
#include <CZPWebsite.h>
#include <gtest/gtest.h>

#include "support/FileCase.h"
#include "support/Files.h"

using namespace zp::test;

namespace {

using Operation = std::function<int(const std::string&)>;

Operation add(const char* header, const char* domain = "example.com") {
    return [=](auto& file) { return CZPWebsite(nullptr, file.c_str()).AddHostHeader(domain, header); };
}
Operation erase(const char* header, const char* domain = "example.com") {
    return [=](auto& file) { return CZPWebsite(nullptr, file.c_str()).DeleteHostHeader(domain, header); };
}
Operation twice(const Operation& operation) {
    return [=](auto& file) {
        const int first = operation(file);
        return 10 * first + operation(file);
    };
}

std::string site(const std::string& alias) {
    return "<VirtualHost *:80>\n\tServerName example.com\n" + alias + "</VirtualHost>\n";
}
std::string named(const std::string& names) { return site("\tServerAlias " + names + "\n"); }

const std::vector<std::string> Backup = {".zpbackup.rt"};

const FileCase cases[] = {
    {"Added", site("  serveralias  a.example\n"), add("b.example"), 0, named("a.example b.example"), "",
     Backup},
    {"AddedWhereItEndsAListedName", named("xb.example"), add("b.example"), 0, named("xb.example b.example"),
     "", Backup},
    {"AddedInOtherCase", named("a.example"), add("A.example"), 0, named("a.example A.example"), "", Backup},
    {"AddedInPlaceOfAnEmptyList", named(""), add("a.example"), 0, named("a.example"), "", Backup},
    {"AddedInPlaceOfTwoCharacters", named("ab"), add("c.example"), 0, named("c.example"), "", Backup},
    {"AddedBehindThreeCharacters", named("abc"), add("c.example"), 0, named("abc c.example"), "", Backup},
    {"NotAddedTwice", named("a.example xb.example b.example"), add("b.example"), 2},
    {"NotAddedWhereItBeginsAListedName", named("a.example b.example.org"), add("b.example"), 2},
    {"NotAddedWithoutAServerAliasLine", site(""), add("a.example"), 1},
    {"NotAddedToAnAbsentSite", named("a.example"), add("b.example", "absent.example"), 1},
    {"NotAddedWithALineBreak",
     named("a.example"),
     add("b\nInclude /tmp/x"),
     1,
     {},
     "Update error\n",
     Backup},

    {"DeletedFirstLeavesABlank", named("a.example b.example"), erase("a.example"), 0, named(" b.example"),
     "Ptr1=a.example\nmatched\n", Backup},
    {"DeletedLast", named("a.example b.example"), erase("b.example"), 0, named("a.example"),
     "Ptr1=a.example\n", Backup},
    {"DeletedAlone", named("a.example"), erase("a.example"), 0, named(""), "", Backup},
    {"DeletedWhereverItStands", named("b a \t b c b"), erase("b"), 0, named(" a c"),
     "Ptr1=b\nmatched\nPtr1=a\nPtr1=b\nmatched\nPtr1=c\n", Backup},
    {"DeletedInExactCaseOnly", named("a.example  B.example"), erase("b.example"), 0,
     named("a.example B.example"), "Ptr1=a.example\n", Backup},
    {"NotDeletedFromAnAbsentSite", named("a.example"), erase("a.example", "absent.example"), 1},
    {"AddTwice", named("a.example"), twice(add("b.example")), 2, named("a.example b.example"), "", Backup},
};

}  // namespace

class HostHeader : public ::testing::TestWithParam<FileCase> {};
TEST_P(HostHeader, File) { check(GetParam()); }
INSTANTIATE_TEST_SUITE_P(Operation, HostHeader, ::testing::ValuesIn(cases), byName);
