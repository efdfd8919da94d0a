// Reading directives and modules: at server level and inside one domain's block.
#include <ApacheHelper.h>
#include <gtest/gtest.h>

#include "support/Files.h"
#include "support/Told.h"
#include "support/Watching.h"

using namespace zp::test;

namespace {

const std::string Configuration = collected("samples/directives-to-read.conf");

std::string written(const std::string& text) {
    std::string file = scratch("httpd.conf");
    writeFile(file, text);
    return file;
}

// What a query answers of the sample: the result, the value or whether it is there, and what was printed.
class DirectiveQuery : public ::testing::Test {
protected:
    template <class Ask>
    void ask(const std::string& question, Ask query) {
        std::string value = "unchanged";
        bool found = true;
        const CapturedOutput output;
        const int result = query(value, found);
        told_ += question + ": " + std::to_string(result) + (found ? " " : " not found ") + value + "\n" +
                 printedLines(output.text());
    }

    ApacheHelper helper_;
    const std::string file_ = written(Configuration);
    std::string told_;
};

}  // namespace

TEST_F(DirectiveQuery, ServerLevelDirectiveIsTheFirstThatBeginsWithTheName) {
    const std::pair<const char*, bool> queries[] = {
        {"User", false},   {"USERDIR", false}, {"Alias", false},  {"Alias", true}, {"HalfQuoted", true},
        {"UserDir", true}, {"InBlock", false}, {"Absent", false}, {"", false},     {"AfterBlocks", false}};
    for (const auto& [directive, quoted] : queries) {
        ask(directive, [&, name = directive, quotes = quoted](auto& value, bool&) {
            return helper_.Apache_getDirectiveValue(file_, name, value, quotes);
        });
    }
    expectTold(told_, R"(User: 0 Dir 	public html 
USERDIR: 0 public html 
Alias: 0 /icons/ "/usr/share/icons" "more"
Alias: 0 /usr/share/icons
> returning with quote
HalfQuoted: 3 
UserDir: 3 
InBlock: 6 
Absent: 6 
: 2 
AfterBlocks: 0 yes)");
}

TEST_F(DirectiveQuery, DirectiveInDomainIsTheFirstBehindTheServerNameOfAnyBlock) {
    const std::tuple<const char*, bool, const char*> queries[] = {
        {"DocumentRoot", false, "example.com"},
        {"documentroot ", false, "example.com"},
        {"Quoted", true, "example.com"},
        {"Alias", true, "example.com"},
        {"Half", true, "example.com"},
        {"DocumentRoot", true, "example.com"},
        {"BehindAnotherName", false, "example.com"},
        {"Between", false, "example.com"},
        {"InBlock", false, "example.com"},
        {"ServerName", false, "example.com"},
        {"Absent", false, "example.com"},
        {"DocumentRoot", true, "other.example"},
        {"AfterBlocks", false, "other.example"},
        {"DocumentRoot", false, "www.example.com"},
        {"DocumentRoot", false, "example.co"},
    };
    for (const auto& [directive, quoted, domain] : queries) {
        ask(std::string(domain) + " " + directive,
            [&, site = domain, name = directive, quotes = quoted](auto& value, bool&) {
                return helper_.Apache_getDirectiveInVH(file_, site, name, value, quotes);
            });
    }
    expectTold(told_, R"(example.com DocumentRoot: 0 X first wins
example.com documentroot : 0 second
example.com Quoted: 0 one
example.com Alias: 3 
example.com Half: 3 
example.com DocumentRoot: 3 
example.com BehindAnotherName: 0 here
example.com Between: 0 blocks
example.com InBlock: 4 
example.com ServerName: 4 
example.com Absent: 4 
other.example DocumentRoot: 0 /var/www/other
other.example AfterBlocks: 4 
www.example.com DocumentRoot: 4 
example.co DocumentRoot: 4 )");
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

TEST_F(DirectiveQuery, DirectiveWithValueIsFoundByItsWholeValue) {
    const std::tuple<const char*, const char*, bool> cases[] = {
        {"Option", "exact", false},      {"Option", "Exact", false},      {"Option", "a", false},
        {"option", "Exact Value", true}, {"option", "exact value", true}, {"InBlock", "yes", false},
        {"User", "commented", false},    {"#", "User commented", false},  {"", "", false},
    };
    const auto isThere = [&](const std::string& file, auto directive, auto value, bool quoted) {
        ask(std::string(directive) + " " + value, [&](auto&, bool& found) {
            return found = helper_.Apache_isDirectiveWithValueExists(file, directive, value, quoted);
        });
    };
    for (const auto& [directive, value, quoted] : cases) {
        isThere(file_, directive, value, quoted);
    }
    // A block without an address is not passed over.
    isThere(written("<VirtualHost>\nInside yes\n</VirtualHost>\n"), "Inside", "yes", false);
    expectTold(told_, R"(Option exact: 1 unchanged
> without quotes
> without quotes
> without quotes
> found
Option Exact: 0 not found unchanged
> without quotes
> without quotes
> without quotes
Option a: 0 not found unchanged
> without quotes
> without quotes
> without quotes
option Exact Value: 1 unchanged
> returning with quote
option exact value: 0 not found unchanged
> returning with quote
InBlock yes: 0 not found unchanged
User commented: 0 not found unchanged
> without quotes
# User commented: 0 not found unchanged
 : 0 not found unchanged
Inside yes: 1 unchanged
> without quotes
> found)");
}

TEST_F(DirectiveQuery, LoadedModuleIsFoundAtServerLevelByThePrefixOfItsName) {
    for (const char* module : {"php5_module", "PHP", "rewrite_module", "ssl_module", "inner_module"}) {
        ask(module, [&](auto&, bool& found) { return helper_.Apache_checkModule(file_, module, found); });
    }
    expectTold(told_, R"(php5_module: 0 unchanged
PHP: 0 unchanged
rewrite_module: 0 unchanged
ssl_module: 2 not found unchanged
inner_module: 2 not found unchanged)");
}

TEST_F(DirectiveQuery, ModuleInDomainIsFoundByItsNameUpToTheFirstPoint) {
    const auto isThere = [&](const std::string& file, const char* domain, const char* module) {
        ask(std::string(domain) + " " + module, [&](auto&, bool& found) {
            return found = helper_.Apache_isModuleExistsInVH(file, domain, module);
        });
    };
    for (const char* module : {"MOD_SSL", "mod_ss", "mod_rewrite", "mod_behind"}) {
        isThere(file_, "Example.com", module);
    }
    isThere(file_, "other.example", "mod_other");
    isThere(file_, "other.example", "mod_ssl");
    isThere(file_, "unknown.example", "mod_ssl");
    // In a block inside a block that is still open, no name counts.
    isThere(written("<VirtualHost a>\n<VirtualHost b>\nServerName d\n<IfModule m.c>\n"), "d", "m");
    // A tab does not end the keyword, so neither of these lines opens anything.
    isThere(written("<VirtualHost\t*>\nServerName d\n<IfModule m.c>\n"), "d", "m");
    expectTold(told_, R"(Example.com MOD_SSL: 1 unchanged
> modname=mod_ssl
Example.com mod_ss: 0 not found unchanged
> modname=mod_ssl
> modname=mod_behind
Example.com mod_rewrite: 0 not found unchanged
> modname=mod_ssl
> modname=mod_behind
Example.com mod_behind: 1 unchanged
> modname=mod_ssl
> modname=mod_behind
other.example mod_other: 1 unchanged
> modname=mod_other
other.example mod_ssl: 0 not found unchanged
> modname=mod_other
unknown.example mod_ssl: 0 not found unchanged
d m: 0 not found unchanged
d m: 0 not found unchanged)");
}

TEST(Queries, EndAtALineBeyondTheirBound) {
    const CapturedOutput output;
    ApacheHelper helper;
    std::string value;
    bool isExist = false;
    const struct {
        size_t bound, inBlock;  // of a line before the block, and of one in it; 0: no other
        std::function<bool(const std::string&)> found;
    } queries[] = {
        {1023, 118,
         [&](auto& file) { return helper.Apache_getDirectiveValue(file, "Sought", value, false) == 0; }},
        {1023, 118, [&](auto& file) { return helper.Apache_checkModule(file, "sought", isExist) == 0; }},
        {2024, 0,
         [&](auto& file) {
             return helper.Apache_getDirectiveInVH(file, "d.example", "Sought", value, false) == 0;
         }},
        {2999, 2999,
         [&](auto& file) { return helper.Apache_isDirectiveWithValueExists(file, "Sought", "it", false); }},
        {4999, 0,
         [&](auto& file) { return helper.Apache_isModuleExistsInVH(file, "d.example", "sought"); }},
    };
    const std::string sought =
        lines({"Sought it", "LoadModule sought x.so", "<VirtualHost *>", "ServerName d.example",
               "Sought it", "<IfModule sought.c>", "</VirtualHost>"});
    const auto line = [](size_t length) { return std::string(length, 'x') + "\n"; };
    for (const auto& [bound, inBlock, found] : queries) {
        EXPECT_TRUE(found(written(line(bound) + sought))) << bound;
        EXPECT_FALSE(found(written(line(bound + 1) + sought))) << bound;
        if (inBlock != 0) {
            EXPECT_TRUE(found(written("<VirtualHost *>\n" + line(inBlock) + "</VirtualHost>\n" + sought)));
            EXPECT_FALSE(
                found(written("<VirtualHost *>\n" + line(inBlock + 1) + "</VirtualHost>\n" + sought)));
        }
    }
}

TEST(Queries, SayWhenThereIsNoFile) {
    const std::string missing = scratch("missing");
    for (const std::string& file : {missing, scratch(), std::string("")}) {  // a directory is no file
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
