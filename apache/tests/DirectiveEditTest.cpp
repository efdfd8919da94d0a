// Changing the directives of one domain's block, and inserting a line at server level.
#include <ApacheHelper.h>
#include <gtest/gtest.h>

#include "support/FileCase.h"
#include "support/Files.h"
#include "support/Text.h"

using namespace zp::test;

namespace {

using Operation = std::function<int(const std::string&)>;

const std::string Sites = lines({
    "# The main server",
    "User apache",
    "",
    "<VirtualHost 10.0.0.4:80>",
    "\tServerName other.example",
    "\tDocumentRoot \"/var/www/other\"",
    "\tServerAlias a.other.example",
    "</VirtualHost>",
    "",
    "<VirtualHost 10.0.0.5:80>",
    "\tServerName example.com",
    "",
    "\tDocumentRootX \"/var/www/example.com\"",
    "\tServerAlias a.example",
    "\t# ServerAlias commented",
    "\tServerAlias\ttabbed.example",
    "\tServerAlias b.example",
    "\t<Directory \"/var/www/example.com\">",
    "\t\tAllowOverride All",
    "\t</Directory>",
    "\t<IfModule mod_ssl.c>",
    "",
    "\t\tSSLEngine on",
    "\t</IfModule>",
    "",
    "\tLast line",
    "</VirtualHost>",
    "<VirtualHost 10.0.0.5:443>",
    "  ServerName EXAMPLE.com",
    "  ServerAlias c.example",
    "</VirtualHost>",
    "",
    "Listen 80",
});
const std::string Dense = withoutEmptyLines(Sites);

Operation add(const char* directive, const char* value, bool quoted, const char* domain = "example.com") {
    return [=](auto& file) {
        return ApacheHelper().Apache_AddDirectiveInVH(file, domain, directive, value, quoted);
    };
}
Operation addAll(StringVector directives, const char* domain = "example.com") {
    return [=](auto& file) mutable {
        return ApacheHelper().Apache_AddDirectivesInVH(file, domain, directives);
    };
}
Operation update(const char* directive, const char* value, bool quoted,
                 const char* domain = "example.com") {
    return [=](auto& file) {
        return ApacheHelper().Apache_UpdateDirectiveInVH(file, domain, directive, value, quoted);
    };
}
Operation updateContents(const char* directive, const char* value, bool addValue,
                         const char* domain = "example.com") {
    return [=](auto& file) {
        return ApacheHelper().Apache_UpdateVHDirectiveContents(file, domain, directive, value, addValue);
    };
}
Operation deleteAll(StringVector directives, const char* domain = "example.com") {
    return [=](auto& file) mutable {
        return ApacheHelper().Apache_DeleteDirectivesInVH(file, domain, directives);
    };
}
Operation changePort(const char* ip, const char* port, const char* domain = "example.com") {
    return [=](auto& file) { return ApacheHelper().Apache_ChangeVirtualHostPort(file, domain, ip, port); };
}
Operation write(const char* entry, const char* reference, bool before, int lineCount) {
    return [=](auto& file) {
        return ApacheHelper().Apache_writeDirective(file, entry, reference, before, lineCount);
    };
}
Operation deleteModule(const char* module, const char* domain = "example.com") {
    return [=](auto& file) { return ApacheHelper().Apache_DeleteVhIfmoduleBlock(file, domain, module); };
}

const StringVector Rt{".zpbackup.rt"}, Drt{".zpbackup.drt"}, Cp{".zpbackup.cp"}, Acep{".zpbackup.ACEP"},
    Ad{".zpbackup.AD"}, Dif{".dif"};

std::string block(std::initializer_list<std::string_view> inside) {
    return "<VirtualHost *>\n" + lines(inside) + "</VirtualHost>\n";
}

const FileCase Additions[] = {
    {"add_to_every_block", Sites, add("Options", "None", false), 0,
     with(with(Sites, "\tLast line\n", "\tLast line\n\tOptions None\n"), "  ServerAlias c.example\n",
          "  ServerAlias c.example\n\tOptions None\n"),
     "", Acep},
    {"add_quoted", block({"ServerName example.com"}), add("Options", "No\"ne", true), 0,
     block({"ServerName example.com", "\tOptions \"No\"ne\""}), "", Acep},
    {"add_unknown_domain", Sites, add("Options", "None", false, "www.example.com"), 1, {}, "", Acep},
    {"add_takes_comments_for_live_lines", "#<VirtualHost *>\n# ServerName example.com\n#</VirtualHost>\n",
     add("A", "b", false), 0, "#<VirtualHost *>\n# ServerName example.com\n\tA b\n#</VirtualHost>\n", "",
     Acep},
    {"add_but_only_behind_one_comment_mark",
     "##<VirtualHost *>\n##ServerName example.com\n##</VirtualHost>\n",
     add("A", "b", false),
     1,
     {},
     "",
     Acep},
    {"add_only_where_the_first_name_is_the_domain",
     block({"ServerName other", "ServerName example.com"}),
     add("A", "b", false),
     1,
     {},
     "",
     Acep},
    {"add_where_another_name_follows", block({"ServerName example.com", "ServerName other"}),
     add("A", "b", false), 0, block({"ServerName example.com", "ServerName other", "\tA b"}), "", Acep},
    {"add_at_an_end_without_bracket", "<VirtualHost>\nServerName example.com\n</virtualhostX",
     add("A", "b", false), 0, "<VirtualHost>\nServerName example.com\n\tA b\n</virtualhostX\n", "", Acep},
    {"add_several_to_the_first_block", Sites, addAll({"A b", "\tC \"d\""}), 0,
     with(Sites, "\tLast line\n", "\tLast line\n\tA b\n\t\tC \"d\"\n"), "", Ad},
    {"add_several_unknown_domain", Sites, addAll({"A b"}, "unknown"), 1, {}, "", Ad},
    {"add_several_of_none", block({"ServerName example.com"}), addAll({}), 0, {}, "", Ad},
};

const FileCase Updates[] = {
    {"update_first_line_in_every_block", Sites, update("ServerAlias", "x y", false), 0,
     with(with(Dense, "\tServerAlias a.example\n", "\tServerAlias x y\n"), "  ServerAlias c.example\n",
          "\tServerAlias x y\n"),
     "", Rt},
    {"update_quoted_by_prefix", Sites, update("documentROOT", "/new", true), 0,
     with(Dense, "\tDocumentRootX \"/var/www/example.com\"\n", "\tdocumentROOT \"/new\"\n"), "", Rt},
    {"update_absent_directive", Sites, update("Options", "None", false), 3, {}, "", Rt},
    {"update_server_level_directive", Sites, update("User", "root", false), 3, {}, "", Rt},
    {"update_unknown_domain", Sites, update("ServerAlias", "x", false, "example.com."), 3, {}, "", Rt},
    {"update_behind_another_name", block({"ServerName example.com", "ServerName other", "A 1", "A 2"}),
     update("A", "x", false), 0, block({"ServerName example.com", "ServerName other", "\tA x", "A 2"}), "",
     Rt},
    {"update_ignores_lines_before_the_name",
     block({"A 1", "ServerName example.com"}),
     update("A", "x", false),
     3,
     {},
     "",
     Rt},
    {"update_of_the_name_itself_is_none",
     block({"ServerName example.com"}),
     update("ServerName", "x", false),
     3,
     {},
     "",
     Rt},

    {"contents_add", Sites, updateContents("<Directory", "Options None", true), 0,
     with(Dense, "\t</Directory>\n", "\t\tOptions None\n\t</Directory>\n"), "", Rt},
    {"contents_add_where_it_is", Sites, updateContents("<directory", "ALLOWoverride", true), 0, Dense, "",
     Rt},
    {"contents_remove", Sites, updateContents("<Directory", "allowoverride", false), 0,
     without(Dense, "\t\tAllowOverride All\n"), "", Rt},
    {"contents_remove_adds_what_is_absent", Sites, updateContents("<Directory", "Options", false), 0,
     with(Dense, "\t</Directory>\n", "\t\tOptions\n\t</Directory>\n"), "", Rt},
    {"contents_of_several_sections",
     block(
         {"ServerName example.com", "<Directory a>", "V", "</Directory>", "<Directory b>", "</Directory>"}),
     updateContents("<Directory", "V", true),
     0,
     {},
     "",
     Rt},  // found once is enough
    {"contents_without_closing_tag", Sites, updateContents("<IfModule", "x", true), 3, {}, "", Rt},
    {"contents_unknown_domain",
     Sites,
     updateContents("<Directory", "x", true, "other.example"),
     3,
     {},
     "",
     Rt},

    {"delete_every_line_of_the_first_block", Sites, deleteAll({"serveralias", "#", "Last"}), 0,
     without(without(without(Dense, "\tServerAlias a.example\n"), "\tServerAlias b.example\n"),
             "\tLast line\n"),
     "", Drt},
    {"delete_nothing", Sites, deleteAll({}), 0, Dense, "", Drt},
    {"delete_unknown_domain", Sites, deleteAll({"ServerAlias"}, "unknown"), 3, {}, "", Drt},
    {"delete_in_a_block_never_closed",
     "<VirtualHost *>\nServerName example.com\nA b\n</VirtualHost\n",
     deleteAll({"A"}),
     3,
     {},
     "",
     Drt},
    {"delete_not_in_a_block_without_address",
     "<VirtualHost>\nServerName example.com\nA b\n</VirtualHost>\n",
     deleteAll({"A"}),
     3,
     {},
     "",
     Drt},
};

const FileCase Openings[] = {
    {"opening_ipv4", Sites, changePort("10.0.0.9", "81"), 0, with(Sites, "10.0.0.5:80", "10.0.0.9:81"), "",
     Cp},
    {"opening_ipv6", Sites, changePort("2001:db8::9", "81", "OTHER.example"), 0,
     with(Sites, "10.0.0.4:80", "[2001:db8::9]:81"), "", Cp},
    {"opening_any_address", Sites, changePort("*", "80", "other.example"), 0,
     with(Sites, "10.0.0.4:80", "*:80"), "", Cp},
    {"opening_unknown_domain", Sites, changePort("*", "80", "unknown"), 3, {}, "", Cp},
    {"opening_comes_behind_lines_before_the_name",
     "<VirtualHost *>\n\n A\n#B\n ServerName example.com\n</VirtualHost>\n", changePort("::1", "80"), 0,
     "\n A\n#B\n<VirtualHost [::1]:80>\n ServerName example.com\n</VirtualHost>\n", "", Cp},
    {"opening_of_a_block_without_name_is_lost",
     "<VirtualHost a>\nX\n</VirtualHost>\n<VirtualHost b>\nServerName other\n</VirtualHost>\n" + Sites,
     changePort("*", "1"), 0,
     "X\n</VirtualHost>\n<VirtualHost b>\nServerName other\n</VirtualHost>\n" +
         with(Sites, "10.0.0.5:80", "*:1"),
     "", Cp},
    {"opening_of_the_first_name_only",
     block({"ServerName other", "ServerName example.com"}),
     changePort("*", "1"),
     3,
     {},
     "",
     Cp},
    {"opening_without_address_is_none",
     "<VirtualHost>\nServerName example.com\n</VirtualHost>\n",
     changePort("*", "1"),
     3,
     {},
     "",
     Cp},
};

const FileCase Insertions[] = {
    {"insert_before_reference", Sites, write("  New", "listen", true, 1), 0,
     with(Dense, "Listen", "  New\nListen"), "", Rt},
    {"insert_behind_first_reference", "Listen 1\n\nListen 2\n", write("New", "Listen", false, 1), 0,
     "Listen 1\nNew\nListen 2\n", "", Rt},
    {"insert_not_inside_a_block", Sites, write("New", "ServerAlias", true, 2), 0,
     with(Dense, "User", "New\nUser"), "", Rt},
    {"insert_at_line_counting_empty_ones", "1\n\n3\n4\n", write("New", "Absent", true, 4), 0,
     "1\n3\nNew\n4\n", "", Rt},
    {"insert_nowhere_at_an_empty_line", "1\n\n3\n", write("New", "Absent", true, 2), 0, "1\n3\n", "", Rt},
    {"insert_nowhere_beyond_the_end", "1\n\n3", write("New", "Absent", true, 4), 0, "1\n3\n", "", Rt},
};

const FileCase ModuleRemovals[] = {
    {"module_removed_with_its_section", Sites, deleteModule("MOD_SSL"), 0,
     // The line behind the section is copied as it is, the empty one too.
     with(without(Dense, "\t<IfModule mod_ssl.c>\n\t\tSSLEngine on\n\t</IfModule>\n"), "\tLast line\n",
          "\n\tLast line\n")},
    {"module_only_the_first_section",
     block({"ServerName example.com", "<IfModule m.c>", "</IfModule>", "<IfModule m.c>", "</IfModule>"}),
     deleteModule("m"), 0, block({"ServerName example.com", "<IfModule m.c>", "</IfModule>"})},
    {"module_section_ends_at_the_whole_tag",
     block({"ServerName example.com", "<IfModule m.c>", "</IfModule> #", " </ifmodule>"}),
     deleteModule("m"), 0, block({"ServerName example.com"})},
    {"module_name_without_point",
     block({"ServerName example.com", "<IfModule ssl_module>", "</IfModule>"}),
     deleteModule("ssl_module"),
     0,
     {},
     "",
     Dif},
    {"module_of_another_domain", Sites, deleteModule("mod_ssl", "other.example"), 0, {}, "", Dif},
    {"module_section_never_closed",
     block({"ServerName example.com", "<IfModule m.c>"}),
     deleteModule("m"),
     0,
     {},
     "",
     Dif},
};

}  // namespace

class DirectiveEdit : public ::testing::TestWithParam<FileCase> {};
TEST_P(DirectiveEdit, ChangesExactlyThis) { check(GetParam()); }

INSTANTIATE_TEST_SUITE_P(Additions, DirectiveEdit, ::testing::ValuesIn(Additions), byName);
INSTANTIATE_TEST_SUITE_P(Updates, DirectiveEdit, ::testing::ValuesIn(Updates), byName);
INSTANTIATE_TEST_SUITE_P(Openings, DirectiveEdit, ::testing::ValuesIn(Openings), byName);
INSTANTIATE_TEST_SUITE_P(Insertions, DirectiveEdit, ::testing::ValuesIn(Insertions), byName);
INSTANTIATE_TEST_SUITE_P(ModuleRemovals, DirectiveEdit, ::testing::ValuesIn(ModuleRemovals), byName);

TEST(DirectiveEdits, LoseWhatStandsBehindALineBeyondTheirBound) {
    const std::string site = block({"ServerName example.com", "A 1", "<IfModule m.c>", "</IfModule>",
                                    "<Directory x>", "</Directory>"});
    const std::pair<Operation, size_t> edits[] = {{add("B", "1", false), 1023},
                                                  {addAll({"B"}), 1023},
                                                  {update("A", "2", false), 2024},
                                                  {deleteAll({"A"}), 2024},
                                                  {updateContents("<D", "V", true), 2024},
                                                  {changePort("*", "1"), 2999},
                                                  {write("B", "<Nothing", true, 1), 1023},
                                                  {write("Listen 1", "Listen", true, 1), 1023},
                                                  {deleteModule("m"), 2047}};
    for (const auto& [edit, bound] : edits) {
        for (const size_t length : {bound, bound + 1}) {
            const std::string file = scratch("httpd.conf");
            const std::string line = "#" + std::string(length - 1, 'x') + "\n";
            writeFile(file, "Listen 80\n" + site + line + "Listen 81\n");
            EXPECT_EQ(edit(file), 0) << bound;
            const std::string after = readFile(file);
            EXPECT_NE(after, "Listen 80\n" + site + line + "Listen 81\n");
            EXPECT_EQ(after.ends_with("</VirtualHost>\n" + line + "Listen 81\n"), length == bound) << bound;
            EXPECT_EQ(after.ends_with("</VirtualHost>\n"), length > bound) << bound;
        }
    }
}
