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

const FileCase cases[] = {
    {"add_to_every_block", Sites, add("Options", "None", false)},
    {"add_quoted", block({"ServerName example.com"}), add("Options", "No\"ne", true)},
    {"add_takes_comments_for_live_lines", "#<VirtualHost *>\n# ServerName example.com\n#</VirtualHost>\n",
     add("A", "b", false)},
    {"add_but_only_behind_one_comment_mark",
     "##<VirtualHost *>\n##ServerName example.com\n##</VirtualHost>\n", add("A", "b", false)},
    {"add_at_an_end_without_bracket", "<VirtualHost>\nServerName example.com\n</virtualhostX",
     add("A", "b", false)},
    {"add_several_to_the_first_block", Sites, addAll({"A b", "\tC \"d\""})},
    {"add_several_of_none", block({"ServerName example.com"}), addAll({})},

    {"update_first_line_in_every_block", Sites, update("ServerAlias", "x y", false)},
    {"update_quoted_by_prefix", Sites, update("documentROOT", "/new", true)},
    {"update_absent_directive", Sites, update("Options", "None", false)},
    {"update_server_level_directive", Sites, update("User", "root", false)},
    {"update_of_the_name_itself_is_none", block({"ServerName example.com"}),
     update("ServerName", "x", false)},
    {"contents_add", Sites, updateContents("<Directory", "Options None", true)},
    {"contents_add_where_it_is", Sites, updateContents("<directory", "ALLOWoverride", true)},
    {"contents_remove", Sites, updateContents("<Directory", "allowoverride", false)},
    {"contents_remove_adds_what_is_absent", Sites, updateContents("<Directory", "Options", false)},
    {"contents_of_several_sections",
     block(
         {"ServerName example.com", "<Directory a>", "V", "</Directory>", "<Directory b>", "</Directory>"}),
     updateContents("<Directory", "V", true)},
    // found once is enough
    {"contents_end_with_the_section",
     block({"ServerName example.com", "<Directory a>", "V", "</Directory>", "V"}),
     updateContents("<Directory", "V", false)},
    {"contents_without_closing_tag", Sites, updateContents("<IfModule", "x", true)},
    {"delete_every_line_of_the_first_block", Sites, deleteAll({"serveralias", "#", "Last"})},
    {"delete_nothing", Sites, deleteAll({})},
    {"delete_in_a_block_never_closed", "<VirtualHost *>\nServerName example.com\nA b\n</VirtualHost\n",
     deleteAll({"A"})},
    {"delete_not_in_a_block_without_address",
     "<VirtualHost>\nServerName example.com\nA b\n</VirtualHost>\n", deleteAll({"A"})},

    {"opening_ipv4", Sites, changePort("10.0.0.9", "81")},
    {"opening_ipv6", Sites, changePort("2001:db8::9", "81", "OTHER.example")},
    {"opening_any_address", Sites, changePort("*", "80", "other.example")},
    {"opening_comes_behind_lines_before_the_name",
     "<VirtualHost *>\n\n A\n#B\n ServerName example.com\n</VirtualHost>\n", changePort("::1", "80")},
    {"opening_of_a_block_without_name_is_lost",
     "<VirtualHost a>\nX\n</VirtualHost>\n<VirtualHost b>\nServerName other\n</VirtualHost>\n" + Sites,
     changePort("*", "1")},
    {"opening_without_address_is_none", "<VirtualHost>\nServerName example.com\n</VirtualHost>\n",
     changePort("*", "1")},

    {"insert_before_reference", Sites, write("  New", "listen", true, 1)},
    {"insert_behind_first_reference", "Listen 1\n\nListen 2\n", write("New", "Listen", false, 1)},
    {"insert_not_inside_a_block", Sites, write("New", "ServerAlias", true, 2)},
    {"insert_at_line_counting_empty_ones", "1\n\n3\n4\n", write("New", "Absent", true, 4)},
    {"insert_nowhere_at_an_empty_line", "1\n\n3\n", write("New", "Absent", true, 2)},
    {"insert_nowhere_beyond_the_end", "1\n\n3", write("New", "Absent", true, 4)},

    {"module_removed_with_its_section", Sites, deleteModule("MOD_SSL")},
    {"module_only_the_first_section",
     block({"ServerName example.com", "<IfModule m.c>", "</IfModule>", "<IfModule m.c>", "</IfModule>"}),
     deleteModule("m")},
    {"module_section_ends_at_the_whole_tag",
     block({"ServerName example.com", "<IfModule m.c>", "</IfModule> #", " </ifmodule>"}),
     deleteModule("m")},
    {"module_name_without_point", block({"ServerName example.com", "<IfModule ssl_module>", "</IfModule>"}),
     deleteModule("ssl_module")},
    {"module_of_another_domain", Sites, deleteModule("mod_ssl", "other.example")},
    {"module_section_never_closed", block({"ServerName example.com", "<IfModule m.c>"}), deleteModule("m")},
};

}  // namespace

class DirectiveEdit : public ::testing::TestWithParam<FileCase> {};
TEST_P(DirectiveEdit, ChangesExactlyThis) { check(GetParam()); }

INSTANTIATE_TEST_SUITE_P(Operation, DirectiveEdit, ::testing::ValuesIn(cases), byName);
