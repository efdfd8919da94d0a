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

const FileCase hostHeaderCases[] = {
    // The list is found in any letter case and indentation.
    {"Added", site("  serveralias  a.example\n"), add("b.example"), R"(0, .zpbackup.rt
3-  serveralias  a.example
3+	ServerAlias a.example b.example)"},
    // A name inside a longer one is not listed yet.
    {"AddedWhereItEndsAListedName", named("xb.example"), add("b.example"), R"(0, .zpbackup.rt
3-	ServerAlias xb.example
3+	ServerAlias xb.example b.example)"},
    // Names are compared as they are written here.
    {"AddedInOtherCase", named("a.example"), add("A.example"), R"(0, .zpbackup.rt
3-	ServerAlias a.example
3+	ServerAlias a.example A.example)"},
    // A bare keyword is filled.
    {"AddedInPlaceOfAnEmptyList", named(""), add("a.example"), R"(0, .zpbackup.rt
3-	ServerAlias 
3+	ServerAlias a.example)"},
    // A list of under three characters counts as empty.
    {"AddedInPlaceOfTwoCharacters", named("ab"), add("c.example"), R"(0, .zpbackup.rt
3-	ServerAlias ab
3+	ServerAlias c.example)"},
    // The bound itself.
    {"AddedBehindThreeCharacters", named("abc"), add("c.example"), R"(0, .zpbackup.rt
3-	ServerAlias abc
3+	ServerAlias abc c.example)"},
    // A repeated request leaves one name.
    {"NotAddedTwice", named("a.example xb.example b.example"), add("b.example"), "2"},
    // A known false match, which callers must be able to rely on.
    {"NotAddedWhereItBeginsAListedName", named("a.example b.example.org"), add("b.example"), "2"},
    // A name must not bring a directive along.
    {"NotAddedWithALineBreak", named("a.example"), add("b\nInclude /tmp/x"), R"(1, .zpbackup.rt
> Update error)"},
    // The blank before the name stays, which the server does not mind.
    {"DeletedFirstLeavesABlank", named("a.example b.example"), erase("a.example"), R"(0, .zpbackup.rt
> Ptr1=a.example
> matched
3-	ServerAlias a.example b.example
3+	ServerAlias  b.example)"},
    // No trailing remainder.
    {"DeletedLast", named("a.example b.example"), erase("b.example"), R"(0, .zpbackup.rt
> Ptr1=a.example
3-	ServerAlias a.example b.example
3+	ServerAlias a.example)"},
    // The keyword stays for the next addition.
    {"DeletedAlone", named("a.example"), erase("a.example"), R"(0, .zpbackup.rt
3-	ServerAlias a.example
3+	ServerAlias )"},
    // Every mention goes in one call.
    {"DeletedWhereverItStands", named("b a \t b c b"), erase("b"), R"(0, .zpbackup.rt
> Ptr1=b
> matched
> Ptr1=a
> Ptr1=b
> matched
> Ptr1=c
3-	ServerAlias b a 	 b c b
3+	ServerAlias  a c)"},
    // As names are added, so they are removed.
    {"DeletedInExactCaseOnly", named("a.example  B.example"), erase("b.example"),
     R"(0, .zpbackup.rt, chatter
3-	ServerAlias a.example  B.example
3+	ServerAlias a.example B.example)"},
    // The second call answers that the name is there.
    {"AddTwice", named("a.example"), twice(add("b.example")), R"(2, .zpbackup.rt
3-	ServerAlias a.example
3+	ServerAlias a.example b.example)"},
};

}  // namespace

class HostHeader : public ::testing::TestWithParam<FileCase> {};
TEST_P(HostHeader, File) { check(GetParam()); }
INSTANTIATE_TEST_SUITE_P(Operation, HostHeader, ::testing::ValuesIn(hostHeaderCases), byName);
