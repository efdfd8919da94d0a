// The further names of a site.
#include <CZPWebsite.h>
#include <gtest/gtest.h>

#include "support/FileCase.h"
#include "support/Operations.h"

using namespace zp::test;

namespace {

FileOperation add(const char* header, const char* domain = "example.com") {
    return onFile(&CZPWebsite::AddHostHeader, domain, header);
}
FileOperation erase(const char* header, const char* domain = "example.com") {
    return onFile(&CZPWebsite::DeleteHostHeader, domain, header);
}

std::string site(const std::string& alias) {
    return "<VirtualHost *:80>\n\tServerName example.com\n" + alias + "</VirtualHost>\n";
}
std::string named(const std::string& names) { return site("\tServerAlias " + names + "\n"); }

const FileCase cases[] = {
    {"Added", site("  serveralias  a.example\n"), add("b.example")},
    {"AddedWhereItEndsAListedName", named("xb.example"), add("b.example")},
    {"AddedInOtherCase", named("a.example"), add("A.example")},
    {"AddedInPlaceOfAnEmptyList", named(""), add("a.example")},
    {"AddedInPlaceOfTwoCharacters", named("ab"), add("c.example")},
    {"AddedBehindThreeCharacters", named("abc"), add("c.example")},
    {"NotAddedTwice", named("a.example xb.example b.example"), add("b.example")},
    {"NotAddedWhereItBeginsAListedName", named("a.example b.example.org"), add("b.example")},
    {"NotAddedWithALineBreak", named("a.example"), add("b\nInclude /tmp/x")},
    {"DeletedFirstLeavesABlank", named("a.example b.example"), erase("a.example")},
    {"DeletedLast", named("a.example b.example"), erase("b.example")},
    {"DeletedAlone", named("a.example"), erase("a.example")},
    {"DeletedWhereverItStands", named("b a \t b c b"), erase("b")},
    {"DeletedInExactCaseOnly", named("a.example  B.example"), erase("b.example")},
    {"AddTwice", named("a.example"), twice(add("b.example"))},
};

}  // namespace

class HostHeader : public ::testing::TestWithParam<FileCase> {};
TEST_P(HostHeader, File) { check(GetParam()); }
INSTANTIATE_TEST_SUITE_P(Operation, HostHeader, ::testing::ValuesIn(cases), byName);
