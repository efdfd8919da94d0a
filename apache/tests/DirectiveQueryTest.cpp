// Reading directives and modules: at server level and inside one domain's block.
#include <ApacheHelper.h>
#include <gtest/gtest.h>

#include "support/Files.h"
#include "support/Watching.h"

using namespace zp::test;

namespace {

const std::string Configuration = collected("samples/directives-to-read.conf");

struct Query {
    const char* directive = "";
    bool quoted = false;
    int result = 0;
    const char* value = "";
    const char* printed = "";
    const char* domain = "example.com";
};

std::string written(const std::string& text) {
    std::string file = scratch("httpd.conf");
    writeFile(file, text);
    return file;
}

}  // namespace

TEST(ServerLevelDirective, IsTheFirstThatBeginsWithTheName) {
    const Query queries[] = {
        {"User", false, 0, "Dir \tpublic html "},  // a prefix test
        {"USERDIR", false, 0, "public html "},
        {"Alias", false, 0, "/icons/ \"/usr/share/icons\" \"more\""},
        {"Alias", true, 0, "/usr/share/icons", "returning with quote\n"},
        {"HalfQuoted", true, 3, ""},
        {"UserDir", true, 3, ""},
        {"InBlock", false, 6, ""},
        {"Absent", false, 6, ""},
        {"", false, 2, ""},
        {"AfterBlocks", false, 0, "yes"},
    };
    const std::string file = written(Configuration);
    for (const Query& query : queries) {
        std::string value = "before";
        const CapturedOutput output;
        EXPECT_EQ(ApacheHelper().Apache_getDirectiveValue(file, query.directive, value, query.quoted),
                  query.result);
        EXPECT_EQ(value, query.value) << query.directive;
        EXPECT_EQ(output.text(), query.printed) << query.directive;
    }
}

TEST(DirectiveInDomain, IsTheFirstBehindTheServerNameOfAnyBlock) {
    const Query queries[] = {
        {"DocumentRoot", false, 0, "X first wins"},
        {"documentroot ", false, 0, "second"},
        {"Quoted", true, 0, "one"},
        {"Alias", true, 3, ""},  // the value must begin with the quote
        {"Half", true, 3, ""},
        {"DocumentRoot", true, 3, ""},
        {"BehindAnotherName", false, 0, "here"},
        {"Between", false, 0, "blocks"},  // "</virtualhost >" is no end
        {"InBlock", false, 4, ""},
        {"ServerName", false, 4, ""},
        {"Absent", false, 4, ""},
        {"DocumentRoot", true, 0, "/var/www/other", "", "other.example"},
        {"AfterBlocks", false, 4, "", "", "other.example"},
        {"DocumentRoot", false, 4, "", "", "www.example.com"},
        {"DocumentRoot", false, 4, "", "", "example.co"},
    };
    const std::string file = written(Configuration);
    for (const Query& query : queries) {
        std::string value = "before";
        EXPECT_EQ(ApacheHelper().Apache_getDirectiveInVH(file, query.domain, query.directive, value,
                                                         query.quoted),
                  query.result)
            << query.directive << " in " << query.domain;
        EXPECT_EQ(value, query.value) << query.directive;
    }
}

TEST(DirectiveInDomain, NeedsTheServerNameToBeExactlyTheDomain) {
    const std::pair<const char*, int> names[] = {
        {"ServerName example.com", 0},        {"SERVERNAME\tEXAMPLE.COM", 0},
        {" \t ServerName \t example.com", 0}, {"ServerName:example.com", 0},
        {"ServerNameexample.com", 4},         {"ServerName example.com ", 4},
        {"ServerName example.com:80", 4},     {"ServerName example.com #", 4},
        {"#ServerName example.com", 4},       {"ServerName www.example.com", 4},
        {"ServerName \"example.com\"", 4},    {"ServerName", 4},
        {"ServerName example.com\r", 4},
    };
    for (const auto& [name, result] : names) {
        std::string value;
        const std::string file = written(lines({"<VirtualHost *>", name, "Port 80", "</VirtualHost>"}));
        EXPECT_EQ(ApacheHelper().Apache_getDirectiveInVH(file, "example.com", "Port", value, false), result)
            << name;
        EXPECT_EQ(ApacheHelper().Apache_getDirectiveInVH(file, "", "Port", value, false), 4) << name;
    }
}

TEST(DirectiveWithValue, IsFoundByItsWholeValue) {
    const struct {
        const char *directive, *value;
        bool quoted, found;
        const char* printed;
    } cases[] = {
        {"Option", "exact", false, true, "without quotes\nwithout quotes\nwithout quotes\nfound\n"},
        {"Option", "Exact", false, false, "without quotes\nwithout quotes\nwithout quotes\n"},
        {"Option", "a", false, false, "without quotes\nwithout quotes\nwithout quotes\n"},
        {"option", "Exact Value", true, true, "returning with quote\n"},
        {"Option", "exact value", true, false, "returning with quote\n"},
        {"InBlock", "yes", false, false, ""},
        {"User", "commented", false, false, "without quotes\n"},
        {"#", "User commented", false, false, ""},
        {"", "", false, false, ""},
    };
    const std::string file = written(Configuration);
    for (const auto& c : cases) {
        const CapturedOutput output;
        EXPECT_EQ(ApacheHelper().Apache_isDirectiveWithValueExists(file, c.directive, c.value, c.quoted),
                  c.found);
        EXPECT_EQ(output.text(), c.printed) << c.directive << " " << c.value;
    }
    // A block without an address is not passed over.
    const std::string bare = written("<VirtualHost>\nInside yes\n</VirtualHost>\n");
    const CapturedOutput output;
    EXPECT_TRUE(ApacheHelper().Apache_isDirectiveWithValueExists(bare, "Inside", "yes", false));
}

TEST(LoadedModule, IsFoundAtServerLevelByThePrefixOfItsName) {
    const std::pair<const char*, bool> modules[] = {{"php5_module", true},
                                                    {"PHP", true},
                                                    {"rewrite_module", true},
                                                    {"ssl_module", false},
                                                    {"inner_module", false}};
    const std::string file = written(Configuration);
    for (const auto& [module, loaded] : modules) {
        bool isExist = !loaded;
        EXPECT_EQ(ApacheHelper().Apache_checkModule(file, module, isExist), loaded ? 0 : 2) << module;
        EXPECT_EQ(isExist, loaded) << module;
    }
}

TEST(ModuleInDomain, IsFoundByItsNameUpToTheFirstPoint) {
    const struct {
        const char *domain, *module;
        bool found;
        const char* printed;
    } cases[] = {
        {"Example.com", "MOD_SSL", true, "modname=mod_ssl\n"},
        {"example.com", "mod_ss", false, "modname=mod_ssl\nmodname=mod_behind\n"},
        {"example.com", "mod_rewrite", false, "modname=mod_ssl\nmodname=mod_behind\n"},  // no point
        {"example.com", "mod_behind", true,
         "modname=mod_ssl\nmodname=mod_behind\n"},  // until the next block
        {"other.example", "mod_other", true, "modname=mod_other\n"},
        {"other.example", "mod_ssl", false, "modname=mod_other\n"},
        {"unknown.example", "mod_ssl", false, ""},
    };
    const std::string file = written(Configuration);
    for (const auto& c : cases) {
        const CapturedOutput output;
        EXPECT_EQ(ApacheHelper().Apache_isModuleExistsInVH(file, c.domain, c.module), c.found) << c.module;
        EXPECT_EQ(output.text(), c.printed) << c.domain << " " << c.module;
    }
    // In a block inside a block that is still open, no name counts.
    const std::string nested = written("<VirtualHost a>\n<VirtualHost b>\nServerName d\n<IfModule m.c>\n");
    EXPECT_FALSE(ApacheHelper().Apache_isModuleExistsInVH(nested, "d", "m"));
    // A tab does not end the keyword, so neither of these lines opens anything.
    const std::string tabbed = written("<VirtualHost\t*>\nServerName example.com\n<IfModule mod_ssl.c>\n");
    EXPECT_FALSE(ApacheHelper().Apache_isModuleExistsInVH(tabbed, "example.com", "mod_ssl"));
}

TEST(Queries, EndAtALineBeyondTheirBound) {
    const CapturedOutput output;
    ApacheHelper helper;
    std::string value;
    bool isExist = false;
    const struct {
        size_t bound;
        std::function<bool(const std::string&)> found;
        bool inBlock = false;
    } queries[] = {
        {1023,
         [&](auto& file) { return helper.Apache_getDirectiveValue(file, "Sought", value, false) == 0; }},
        {1023, [&](auto& file) { return helper.Apache_checkModule(file, "sought", isExist) == 0; }},
        {2024,
         [&](auto& file) {
             return helper.Apache_getDirectiveInVH(file, "d.example", "Sought", value, false) == 0;
         }},
        {2999,
         [&](auto& file) { return helper.Apache_isDirectiveWithValueExists(file, "Sought", "it", false); }},
        {4999, [&](auto& file) { return helper.Apache_isModuleExistsInVH(file, "d.example", "sought"); }},
        {118,
         [&](auto& file) { return helper.Apache_getDirectiveValue(file, "Sought", value, false) == 0; },
         true},
        {118, [&](auto& file) { return helper.Apache_checkModule(file, "sought", isExist) == 0; }, true},
        {2999,
         [&](auto& file) { return helper.Apache_isDirectiveWithValueExists(file, "Sought", "it", false); },
         true},
    };
    const std::string sought =
        lines({"Sought it", "LoadModule sought x.so", "<VirtualHost *>", "ServerName d.example",
               "Sought it", "<IfModule sought.c>", "</VirtualHost>"});
    for (const auto& query : queries) {
        for (const size_t length : {query.bound, query.bound + 1}) {
            const std::string line(length, 'x');
            const std::string before =
                query.inBlock ? lines({"<VirtualHost *>", line, "</VirtualHost>"}) : line + "\n";
            EXPECT_EQ(query.found(written(before + sought)), length == query.bound) << length;
        }
    }
}

TEST(Queries, SayWhenThereIsNoFile) {
    const std::string missing = scratch("missing");
    for (const std::string& file : {missing, scratch(), std::string("")}) {  // a folder is no file
        ApacheHelper helper;
        std::string value = "before";
        bool isExist = true;
        EXPECT_EQ(helper.Apache_getDirectiveValue(file, "User", value, false), 1);
        EXPECT_EQ(helper.Apache_getDirectiveInVH(file, "example.com", "User", value, false), 1);
        EXPECT_EQ(value, "");
        EXPECT_EQ(helper.Apache_checkModule(file, "ssl", isExist), 1);
        EXPECT_FALSE(isExist);
        EXPECT_FALSE(helper.Apache_isDirectiveWithValueExists(file, "User", "apache", false));
        EXPECT_FALSE(helper.Apache_isModuleExistsInVH(file, "example.com", "mod_ssl"));
    }
}
