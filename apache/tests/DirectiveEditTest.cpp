// Changing the directives of one domain's block, and inserting a line at server level.
#include <gtest/gtest.h>

#include "support/FileCase.h"
#include "support/Files.h"
#include "support/Operations.h"

using namespace zp::test;

namespace {

const std::string Sites = collected("samples/directives-to-edit.conf");

FileOperation add(const char* directive, const char* value, bool quoted,
                  const char* domain = "example.com") {
    return primitive(&ApacheHelper::Apache_AddDirectiveInVH, domain, directive, value, quoted);
}
FileOperation addAll(StringVector directives, const char* domain = "example.com") {
    return primitive(&ApacheHelper::Apache_AddDirectivesInVH, domain, directives);
}
FileOperation update(const char* directive, const char* value, bool quoted,
                     const char* domain = "example.com") {
    return primitive(&ApacheHelper::Apache_UpdateDirectiveInVH, domain, directive, value, quoted);
}
FileOperation updateContents(const char* directive, const char* value, bool addValue,
                             const char* domain = "example.com") {
    return primitive(&ApacheHelper::Apache_UpdateVHDirectiveContents, domain, directive, value, addValue);
}
FileOperation deleteAll(StringVector directives, const char* domain = "example.com") {
    return primitive(&ApacheHelper::Apache_DeleteDirectivesInVH, domain, directives);
}
FileOperation changePort(const char* ip, const char* port, const char* domain = "example.com") {
    return primitive(&ApacheHelper::Apache_ChangeVirtualHostPort, domain, ip, port);
}
FileOperation write(const char* entry, const char* reference, bool before, int lineCount) {
    return primitive(&ApacheHelper::Apache_writeDirective, entry, reference, before, lineCount);
}
FileOperation deleteModule(const char* module, const char* domain = "example.com") {
    return primitive(&ApacheHelper::Apache_DeleteVhIfmoduleBlock, domain, module);
}

std::string block(std::initializer_list<std::string_view> inside) {
    return "<VirtualHost *>\n" + lines(inside) + "</VirtualHost>\n";
}

const FileCase directiveEditCases[] = {
    // A site on two ports has two blocks, and both are to behave alike.
    {"add_to_every_block", Sites, add("Options", "None", false), R"(0, .zpbackup.ACEP
25,30+	Options None)"},
    // What is in the value stays as the caller gave it.
    {"add_quoted", block({"ServerName example.com"}), add("Options", "No\"ne", true), R"(0, .zpbackup.ACEP
3+	Options "No"ne")"},
    // A stopped site can be edited.
    {"add_takes_comments_for_live_lines", "#<VirtualHost *>\n# ServerName example.com\n#</VirtualHost>\n",
     add("A", "b", false), R"(0, .zpbackup.ACEP
3+	A b)"},
    // Two marks are somebody's own comment.
    {"add_but_only_behind_one_comment_mark",
     "##<VirtualHost *>\n##ServerName example.com\n##</VirtualHost>\n", add("A", "b", false),
     "1, .zpbackup.ACEP"},
    // A closing tag cut short still ends the block.
    {"add_at_an_end_without_bracket", "<VirtualHost>\nServerName example.com\n</virtualhostX",
     add("A", "b", false), R"(0, .zpbackup.ACEP
3-</virtualhostX (no newline)
3+	A b
4+</virtualhostX)"},
    // The plural form serves one block only; callers count on it.
    {"add_several_to_the_first_block", Sites, addAll({"A b", "\tC \"d\""}), R"(0, .zpbackup.AD
25+	A b
26+		C "d")"},
    // Nothing to add is no failure.
    {"add_several_of_none", block({"ServerName example.com"}), addAll({}), "0, .zpbackup.AD"},

    // Later lines of the same name keep their values.
    {"update_first_line_in_every_block", Sites, update("ServerAlias", "x y", false), R"(0, .zpbackup.rt
3,20,23-
12-	ServerAlias a.example
11,25+	ServerAlias x y
28-  ServerAlias c.example)"},
    // A name in any letter case is found by its beginning.
    {"update_quoted_by_prefix", Sites, update("documentROOT", "/new", true), R"(0, .zpbackup.rt
3,20,23-
11-	DocumentRootX "/var/www/example.com"
10+	documentROOT "/new")"},
    // An update adds nothing: it says that the directive is not there.
    {"update_absent_directive", Sites, update("Options", "None", false), "3, .zpbackup.rt"},
    // The server's own lines are out of a site's reach.
    {"update_server_level_directive", Sites, update("User", "root", false), "3, .zpbackup.rt"},
    // A site must not lose its name by an edit of directives.
    {"update_of_the_name_itself_is_none", block({"ServerName example.com"}),
     update("ServerName", "x", false), "3, .zpbackup.rt"},
    // The value lands inside the section.
    {"contents_add", Sites, updateContents("<Directory", "Options None", true), R"(0, .zpbackup.rt
3,20,23-
17+		Options None)"},
    // Twice the same line is once too many.
    {"contents_add_where_it_is", Sites, updateContents("<directory", "ALLOWoverride", true),
     R"(0, .zpbackup.rt
3,20,23-)"},
    // Letter case does not keep a line alive.
    {"contents_remove", Sites, updateContents("<Directory", "allowoverride", false), R"(0, .zpbackup.rt
3,20,23-
17-		AllowOverride All)"},
    // An odd result that callers have seen for years.
    {"contents_remove_adds_what_is_absent", Sites, updateContents("<Directory", "Options", false),
     R"(0, .zpbackup.rt
3,20,23-
17+		Options)"},
    // One section that has the value is enough for all: a known limit.
    {"contents_of_several_sections",
     block(
         {"ServerName example.com", "<Directory a>", "V", "</Directory>", "<Directory b>", "</Directory>"}),
     updateContents("<Directory", "V", true), "0, .zpbackup.rt"},
    // The line behind the section is another matter; found once is enough.
    {"contents_end_with_the_section",
     block({"ServerName example.com", "<Directory a>", "V", "</Directory>", "V"}),
     updateContents("<Directory", "V", false), R"(0, .zpbackup.rt
4-V)"},
    // A section that is never closed is not there.
    {"contents_without_closing_tag", Sites, updateContents("<IfModule", "x", true), "3, .zpbackup.rt"},
    // The second block of the site keeps its lines.
    {"delete_every_line_of_the_first_block", Sites, deleteAll({"serveralias", "#", "Last"}),
     R"(0, .zpbackup.drt
3,20,23-
12-	ServerAlias a.example
15-	ServerAlias b.example
24-	Last line)"},
    // An empty request must not match every line.
    {"delete_nothing", Sites, deleteAll({}), R"(0, .zpbackup.drt
3,20,23-)"},
    // No guess is made where a block ends.
    {"delete_in_a_block_never_closed", "<VirtualHost *>\nServerName example.com\nA b\n</VirtualHost\n",
     deleteAll({"A"}), "3, .zpbackup.drt"},
    // Such a block is none of the server's.
    {"delete_not_in_a_block_without_address",
     "<VirtualHost>\nServerName example.com\nA b\n</VirtualHost>\n", deleteAll({"A"}), "3, .zpbackup.drt"},

    // One block of the site is readdressed, and no neighbour's.
    {"opening_ipv4", Sites, changePort("10.0.0.9", "81"), R"(0, .zpbackup.cp
9-<VirtualHost 10.0.0.5:80>
9+<VirtualHost 10.0.0.9:81>)"},
    // An IPv6 address needs its brackets there.
    {"opening_ipv6", Sites, changePort("2001:db8::9", "81", "OTHER.example"), R"(0, .zpbackup.cp
4-<VirtualHost 10.0.0.4:80>
4+<VirtualHost [2001:db8::9]:81>)"},
    // A star is an address like others.
    {"opening_any_address", Sites, changePort("*", "80", "other.example"), R"(0, .zpbackup.cp
4-<VirtualHost 10.0.0.4:80>
4+<VirtualHost *:80>)"},
    // A known oddity of files where the name is not first.
    {"opening_comes_behind_lines_before_the_name",
     "<VirtualHost *>\n\n A\n#B\n ServerName example.com\n</VirtualHost>\n", changePort("::1", "80"),
     R"(0, .zpbackup.cp
1-<VirtualHost *>
4+<VirtualHost [::1]:80>)"},
    // A known loss; whoever mends it must see it here.
    {"opening_of_a_block_without_name_is_lost",
     "<VirtualHost a>\nX\n</VirtualHost>\n<VirtualHost b>\nServerName other\n</VirtualHost>\n" + Sites,
     changePort("*", "1"), R"(0, .zpbackup.cp
1-<VirtualHost a>
15-<VirtualHost 10.0.0.5:80>
14+<VirtualHost *:1>)"},
    // A block without address opens nothing.
    {"opening_without_address_is_none", "<VirtualHost>\nServerName example.com\n</VirtualHost>\n",
     changePort("*", "1"), "3, .zpbackup.cp"},

    // Letter case does not hide the reference; the line is written as it is given.
    {"insert_before_reference", Sites, write("  New", "listen", true, 1), R"(0, .zpbackup.rt
3,20,23-
27+  New)"},
    // Only the first: the line would be there twice.
    {"insert_behind_first_reference", "Listen 1\n\nListen 2\n", write("New", "Listen", false, 1),
     R"(0, .zpbackup.rt
2-
2+New)"},
    // A server-level line inside a site would bind it alone.
    {"insert_not_inside_a_block", Sites, write("New", "ServerAlias", true, 2), R"(0, .zpbackup.rt
2+New
3,20,23-)"},
    // The number is that of an editor.
    {"insert_at_line_counting_empty_ones", "1\n\n3\n4\n", write("New", "Absent", true, 4),
     R"(0, .zpbackup.rt
2-
3+New)"},
    // Said as done all the same: callers have it so.
    {"insert_nowhere_at_an_empty_line", "1\n\n3\n", write("New", "Absent", true, 2), R"(0, .zpbackup.rt
2-)"},
    // And so beyond the end.
    {"insert_nowhere_beyond_the_end", "1\n\n3", write("New", "Absent", true, 4), R"(0, .zpbackup.rt
2-
3-3 (no newline)
2+3)"},

    // Everything of the section goes, and nothing else.
    {"module_removed_with_its_section", Sites, deleteModule("MOD_SSL"), R"(0
3,20-
19-	<IfModule mod_ssl.c>
21-		SSLEngine on
22-	</IfModule>)"},
    // A second section stays for a second call.
    {"module_only_the_first_section",
     block({"ServerName example.com", "<IfModule m.c>", "</IfModule>", "<IfModule m.c>", "</IfModule>"}),
     deleteModule("m"), R"(0
5-<IfModule m.c>
6-</IfModule>)"},
    // A longer tag that begins alike does not end it.
    {"module_section_ends_at_the_whole_tag",
     block({"ServerName example.com", "<IfModule m.c>", "</IfModule> #", " </ifmodule>"}),
     deleteModule("m"), R"(0
3-<IfModule m.c>
4-</IfModule> #
5- </ifmodule>)"},
    // The part before the point is the module's name.
    {"module_name_without_point", block({"ServerName example.com", "<IfModule ssl_module>", "</IfModule>"}),
     deleteModule("ssl_module"), "0, .dif"},
    // A neighbour's section stays, also where the names begin alike.
    {"module_of_another_domain", Sites, deleteModule("mod_ssl", "example.co"), "0, .dif"},
    // Nothing holds on beyond the opening line of another block.
    {"module_section_behind_a_block_never_closed",
     "<VirtualHost *>\nServerName example.com\n" + block({"<IfModule m.c>", "</IfModule>"}),
     deleteModule("m"), "0, .dif"},
    // What has no end is left alone.
    {"module_section_never_closed", block({"ServerName example.com", "<IfModule m.c>"}), deleteModule("m"),
     "0, .dif"},
};

}  // namespace

class DirectiveEdit : public ::testing::TestWithParam<FileCase> {};
TEST_P(DirectiveEdit, ChangesExactlyThis) { check(GetParam()); }

INSTANTIATE_TEST_SUITE_P(Operation, DirectiveEdit, ::testing::ValuesIn(directiveEditCases), byName);
