// Every operation that edits a configuration, on every configuration of the collection.
#include <CZPWebsite.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <sstream>

#include "support/Files.h"
#include "support/Operations.h"
#include "support/Sites.h"
#include "support/Text.h"
#include "support/Told.h"
#include "support/VirtualDirectories.h"
#include "support/Watching.h"

using namespace zp::test;
namespace fs = std::filesystem;

namespace {

constexpr const char* Domain = "example.com";
constexpr const char* Folder = "/srv/www";

struct Edit {
    const char* name;
    FileOperation call;
    std::string expected;
    bool needsFolder = false;  // the site is given a <Directory> block first

    friend std::ostream& operator<<(std::ostream& out, const Edit& edit) { return out << edit.name; }
};

template <class Merge>
FileOperation merge(Merge call) {
    return [call](const std::string& file) {
        CZPWebsite manager(nullptr, file.c_str());
        UpdateVHost record{};
        record.pDomain = Domain;
        record.ErrorDoc = {{"404", "/gone.html"}};
        return int{call(manager, record)};
    };
}

template <class Call>
FileOperation folder(Call call) {
    return [call](const std::string& file) {
        CZPVirtualDirectory manager(nullptr, file.c_str());
        SDDir record = recordOf({.domain = Domain, .folder = Folder});
        return int{call(manager, record)};
    };
}

// The directories that a creation leaves are taken away.
int create(const std::string& file, const Site& site) {
    addSiteAccounts();
    const std::string home = site.parent + site.domain;
    fs::create_directories(home);
    VHostEntry request = requestFor(site, '0');
    const int result = CZPWebsite(nullptr, file.c_str()).CreateWebsite(&request);
    fs::remove_all(home);
    return result;
}

StringVector linesToAdd() { return {"\tUse one", "\tUse two"}; }

const Edit Edits[] = {
    {"CreateWebsite", [](auto& file) { return create(file, {.domain = "new.example", .address = "::9"}); },
     R"(on most -> 94
+<VirtualHost [::9]>
+(11 lines)
+</VirtualHost>
on line-of-1023-characters -> 94
-# {77x}
-Listen 8080
+<VirtualHost [::9]>
+(11 lines)
+</VirtualHost>)"},
    {"CreateWebsite_which_may_be_there", [](auto& file) { return create(file, {.address = "::9"}); },
     R"(on most -> 92
on crlf empty only-comments -> 94
+<VirtualHost [::9]>
+(11 lines)
+</VirtualHost>)"},
    {"UpdateWebsite", merge([](auto& w, auto& record) { return w.UpdateWebsite(&record); }),
     R"(on most -> 96
-	ServerAlias www.example.com
+	ErrorDocument 404 /gone.html
on crlf empty only-comments -> 96
on several-blocks-of-one-site -> 96
-	ServerAlias www.example.com
+	ErrorDocument 404 /gone.html
-	ServerAlias www.example.com
on continued-lines -> 96
-	ServerAlias www.example.com \
+	ErrorDocument 404 /gone.html
on odd-case-tags -> 96
-	Serveralias www.example.com
-</virtualhost>
+	ErrorDocument 404 /gone.html
+</VirtualHost>
on tabs-and-trailing-blanks -> 96
-  </VirtualHost>  
+	ErrorDocument 404 /gone.html
+</VirtualHost>)"},
    {"EnableMessage", merge([](auto& w, auto& record) { return w.EnableMessage(&record); }),
     R"(on most -> 96
-	DocumentRoot "/var/www/example.com/www/html"
-	ServerAlias www.example.com
+	DocumentRoot message.htm
+	ErrorDocument 404 /gone.html
on crlf empty only-comments -> 96
on tabs-and-trailing-blanks -> 96
-		DocumentRoot  "/var/www/example.com/www/html" 
-  </VirtualHost>  
+	DocumentRoot message.htm
+	ErrorDocument 404 /gone.html
+</VirtualHost>
on several-blocks-of-one-site -> 96
-	DocumentRoot "/var/www/example.com/www/html"
-	ServerAlias www.example.com
+	DocumentRoot message.htm
+	ErrorDocument 404 /gone.html
-	DocumentRoot "/var/www/example.com/www/html"
-	ServerAlias www.example.com
+	DocumentRoot message.htm
on name-behind-other-directives -> 96
-	DocumentRoot "/var/www/first"
-	ServerAlias www.example.com
+	DocumentRoot message.htm
-	DocumentRoot "/var/www/second"
+	DocumentRoot message.htm
+	ErrorDocument 404 /gone.html
on continued-lines -> 96
-	ServerAlias www.example.com \
-	DocumentRoot \
+	DocumentRoot message.htm
+	ErrorDocument 404 /gone.html
on odd-case-tags -> 96
-	documentroot "/var/www/example.com/www/html"
-	Serveralias www.example.com
+	DocumentRoot message.htm
-</virtualhost>
+	ErrorDocument 404 /gone.html
+</VirtualHost>)"},
    {"DisableMessage", merge([](auto& w, auto& record) { return w.DisableMessage(&record, "/home/s"); }),
     R"(on most -> 96
-	DocumentRoot "/var/www/example.com/www/html"
-	ServerAlias www.example.com
+	DocumentRoot /home/s/www/html
+	ErrorDocument 404 /gone.html
on crlf empty only-comments -> 96
on tabs-and-trailing-blanks -> 96
-		DocumentRoot  "/var/www/example.com/www/html" 
-  </VirtualHost>  
+	DocumentRoot /home/s/www/html
+	ErrorDocument 404 /gone.html
+</VirtualHost>
on several-blocks-of-one-site -> 96
-	DocumentRoot "/var/www/example.com/www/html"
-	ServerAlias www.example.com
+	DocumentRoot /home/s/www/html
+	ErrorDocument 404 /gone.html
-	DocumentRoot "/var/www/example.com/www/html"
-	ServerAlias www.example.com
+	DocumentRoot /home/s/www/html
on name-behind-other-directives -> 96
-	DocumentRoot "/var/www/first"
-	ServerAlias www.example.com
+	DocumentRoot /home/s/www/html
-	DocumentRoot "/var/www/second"
+	DocumentRoot /home/s/www/html
+	ErrorDocument 404 /gone.html
on continued-lines -> 96
-	ServerAlias www.example.com \
-	DocumentRoot \
+	DocumentRoot /home/s/www/html
+	ErrorDocument 404 /gone.html
on odd-case-tags -> 96
-	documentroot "/var/www/example.com/www/html"
-	Serveralias www.example.com
+	DocumentRoot /home/s/www/html
-</virtualhost>
+	ErrorDocument 404 /gone.html
+</VirtualHost>)"},
    {"DeleteWebsite", onFile(&CZPWebsite::DeleteWebsite, Domain, '0'), R"(on most -> 24
-<VirtualHost 10.0.0.5:80>
-(3 lines)
-</VirtualHost>
on crlf empty only-comments tabs-and-trailing-blanks -> 24
on several-blocks-of-one-site -> 24
-	ServerName example.com
-(8 lines)
-	ServerAlias www.example.com
on odd-case-tags -> 24
-<VIRTUALHOST 10.0.0.5:80>
-(6 lines)
-</virtualhost>
on nested-sections -> 24
-<VirtualHost 10.0.0.5:443>
-(14 lines)
-</VirtualHost>
on line-of-119-characters-in-a-block name-behind-other-directives several-names-in-a-block -> 24
-<VirtualHost 10.0.0.5:80>
-(4 lines)
-</VirtualHost>
on continued-lines -> 24
-<VirtualHost 10.0.0.5:80>
-(5 lines)
-</VirtualHost>
on line-of-1023-characters -> 24
-<VirtualHost 10.0.0.5:80>
-(5 lines)
-Listen 8080
on block-never-closed -> 24
-<VirtualHost 10.0.0.5:80>
-(6 lines)
-	ServerAlias www.open.example
on ipv6 -> 24
-<VirtualHost [2001:db8::5]:80>
-(3 lines)
-</VirtualHost>)"},
    {"NameBasedToIPBased", onFile(&CZPWebsite::NameBasedToIPBased, "10.0.0.5", "10.0.0.9", Domain),
     R"(on most -> 123
-<VirtualHost 10.0.0.5:80>
+<VirtualHost 10.0.0.9>
on tabs-and-trailing-blanks -> 123
-		<VirtualHost	10.0.0.5:80> 	
+<VirtualHost 10.0.0.9>
on nested-sections -> 123
-<VirtualHost 10.0.0.5:443>
+<VirtualHost 10.0.0.9>
on several-blocks-of-one-site -> 123
-<VirtualHost 10.0.0.5:80>
+<VirtualHost 10.0.0.9>
-<VirtualHost 10.0.0.5:443>
+<VirtualHost 10.0.0.9>
on several-names-in-a-block -> 123
-<VirtualHost 10.0.0.5:80>
+<VirtualHost 10.0.0.9>
-<VirtualHost 10.0.0.5:80>
+<VirtualHost 10.0.0.9>
on crlf empty ipv6 odd-case-tags only-comments -> 32)"},
    {"IPBasedToNameBased", onFile(&CZPWebsite::IPBasedToNameBased, "10.0.0.5", "10.0.0.9", Domain),
     R"(on most -> 121
+NameVirtualHost 10.0.0.9:80
-<VirtualHost 10.0.0.5:80>
+<VirtualHost 10.0.0.9:80>
on several-blocks-of-one-site -> 121
+NameVirtualHost 10.0.0.9:80
-<VirtualHost 10.0.0.5:80>
+<VirtualHost 10.0.0.9:80>
-<VirtualHost 10.0.0.5:443>
+<VirtualHost 10.0.0.9:80>
on tabs-and-trailing-blanks -> 121
-		<VirtualHost	10.0.0.5:80> 	
+<VirtualHost 10.0.0.9:80>
on nested-sections -> 121
-<VirtualHost 10.0.0.5:443>
+<VirtualHost 10.0.0.9:80>
+NameVirtualHost 10.0.0.9:80
on line-of-119-characters-in-a-block no-newline-at-end -> 121
-<VirtualHost 10.0.0.5:80>
+<VirtualHost 10.0.0.9:80>
on block-never-closed continued-lines line-of-1022-characters line-of-1023-characters name-behind-other-directives -> 121
-<VirtualHost 10.0.0.5:80>
+<VirtualHost 10.0.0.9:80>
+NameVirtualHost 10.0.0.9:80
on several-names-in-a-block -> 121
-<VirtualHost 10.0.0.5:80>
+<VirtualHost 10.0.0.9:80>
+NameVirtualHost 10.0.0.9:80
-<VirtualHost 10.0.0.5:80>
+<VirtualHost 10.0.0.9:80>
on crlf empty ipv6 odd-case-tags only-comments -> 32)"},
    {"AddHostHeader", onFile(&CZPWebsite::AddHostHeader, Domain, "new.example"), R"(on most -> 0
-	ServerAlias www.example.com
+	ServerAlias www.example.com new.example
on several-blocks-of-one-site -> 0
-	ServerAlias www.example.com
+	ServerAlias www.example.com new.example
-	ServerAlias www.example.com
+	ServerAlias www.example.com new.example
on several-names-in-a-block -> 0
-	ServerAlias www.example.com
+	ServerAlias www.example.com new.example
-	ServerAlias www.other.example
+	ServerAlias www.example.com new.example
on continued-lines -> 0
-	ServerAlias www.example.com \
+	ServerAlias www.example.com \ new.example
on odd-case-tags -> 0
-	Serveralias www.example.com
+	ServerAlias www.example.com new.example
on crlf empty name-behind-other-directives only-comments tabs-and-trailing-blanks -> 1)"},
    {"DeleteHostHeader", onFile(&CZPWebsite::DeleteHostHeader, Domain, "www.example.com"), R"(on most -> 0
-	ServerAlias www.example.com
+	ServerAlias 
on several-blocks-of-one-site -> 0
-	ServerAlias www.example.com
+	ServerAlias 
-	ServerAlias www.example.com
+	ServerAlias 
on several-names-in-a-block -> 0
-	ServerAlias www.example.com
+	ServerAlias 
-	ServerAlias www.other.example
+	ServerAlias 
on continued-lines -> 0
-	ServerAlias www.example.com \
+	ServerAlias  \
on odd-case-tags -> 0
-	Serveralias www.example.com
+	ServerAlias 
on crlf empty name-behind-other-directives only-comments tabs-and-trailing-blanks -> 1)"},
    {"Apache_addModule", primitive(&ApacheHelper::Apache_addModule, "suphp"), R"(on most -> 0
+LoadModule suphp_module /usr/lib/apache2/modules/mod_suphp.so
on line-of-119-characters-in-a-block -> 0
+LoadModule suphp_module modules/mod_suphp.so)"},
    {"Apache_writeDirective",
     primitive(&ApacheHelper::Apache_writeDirective, "Listen 8080", "Listen", false, 3), R"(on most -> 0
+Listen 8080
on empty -> 0)"},
    {"Apache_ChangeVirtualHostPort",
     primitive(&ApacheHelper::Apache_ChangeVirtualHostPort, Domain, "10.0.0.9", "81"), R"(on most -> 0
-<VirtualHost 10.0.0.5:80>
+<VirtualHost 10.0.0.9:81>
on tabs-and-trailing-blanks -> 0
-		<VirtualHost	10.0.0.5:80> 	
+<VirtualHost 10.0.0.9:81>
on odd-case-tags -> 0
-<VIRTUALHOST 10.0.0.5:80>
+<VirtualHost 10.0.0.9:81>
on block-without-name -> 0
-<VirtualHost *:80>
-<VirtualHost 10.0.0.5:80>
+<VirtualHost 10.0.0.9:81>
on nested-sections -> 0
-<VirtualHost 10.0.0.5:443>
+<VirtualHost 10.0.0.9:81>
on names-outside-blocks -> 0
-<VirtualHost 10.0.0.6:80>
-<VirtualHost 10.0.0.5:80>
+<VirtualHost 10.0.0.9:81>
on ipv6 -> 0
-<VirtualHost [2001:db8::5]:80>
+<VirtualHost 10.0.0.9:81>
on crlf empty only-comments -> 3)"},
    {"Apache_AddDirectiveInVH",
     primitive(&ApacheHelper::Apache_AddDirectiveInVH, Domain, "Use", "one", true), R"(on most -> 0
+	Use "one"
on several-blocks-of-one-site -> 0
+	Use "one"
+	Use "one"
on crlf empty only-comments -> 1)"},
    {"Apache_AddDirectivesInVH", primitive(&ApacheHelper::Apache_AddDirectivesInVH, Domain, linesToAdd()),
     R"(on most -> 0
+		Use one
+		Use two
on crlf empty only-comments -> 1)"},
    {"Apache_UpdateDirectiveInVH",
     primitive(&ApacheHelper::Apache_UpdateDirectiveInVH, Domain, "DocumentRoot", "/new", true),
     R"(on most -> 0
-	DocumentRoot "/var/www/example.com/www/html"
+	DocumentRoot "/new"
on tabs-and-trailing-blanks -> 0
-		DocumentRoot  "/var/www/example.com/www/html" 
+	DocumentRoot "/new"
on several-blocks-of-one-site -> 0
-	DocumentRoot "/var/www/example.com/www/html"
+	DocumentRoot "/new"
-	DocumentRoot "/var/www/example.com/www/html"
+	DocumentRoot "/new"
on several-names-in-a-block -> 0
-	DocumentRoot "/var/www/example.com/www/html"
+	DocumentRoot "/new"
-	DocumentRoot "/var/www/other.example/www/html"
+	DocumentRoot "/new"
on name-behind-other-directives -> 0
-	DocumentRoot "/var/www/second"
+	DocumentRoot "/new"
on continued-lines -> 0
-	DocumentRoot \
+	DocumentRoot "/new"
on odd-case-tags -> 0
-	documentroot "/var/www/example.com/www/html"
+	DocumentRoot "/new"
on crlf empty only-comments -> 3)"},
    {"Apache_DeleteDirectivesInVH",
     primitive(&ApacheHelper::Apache_DeleteDirectivesInVH, Domain,
               StringVector{"DocumentRoot", "ServerAlias"}),
     R"(on most -> 0
-	DocumentRoot "/var/www/example.com/www/html"
-	ServerAlias www.example.com
on tabs-and-trailing-blanks -> 0
-		DocumentRoot  "/var/www/example.com/www/html" 
on name-behind-other-directives -> 0
-	DocumentRoot "/var/www/second"
on continued-lines -> 0
-	ServerAlias www.example.com \
-	DocumentRoot \
on odd-case-tags -> 0
-	documentroot "/var/www/example.com/www/html"
-	Serveralias www.example.com
on crlf empty only-comments -> 3)"},
    {"Apache_UpdateVHDirectiveContents",
     primitive(&ApacheHelper::Apache_UpdateVHDirectiveContents, Domain, "<Directory",
               "\tRequire all denied", true),
     R"(on most -> 3
on nested-sections odd-case-tags -> 0
+			Require all denied
on several-names-in-a-block -> 0
+			Require all denied
+			Require all denied)"},
    {"Apache_DeleteVhIfmoduleBlock",
     primitive(&ApacheHelper::Apache_DeleteVhIfmoduleBlock, Domain, "mod_rewrite.c"), "on most -> 0"},
    {"Apache_addDirectoryTag",
     primitive(&ApacheHelper::Apache_addDirectoryTag, Domain, Folder, linesToAdd()), R"(on most -> 4
on nested-sections odd-case-tags several-names-in-a-block -> 0
+	<Directory "/srv/www">
+(2 lines)
+	</Directory>)"},
    {"Apache_UpdateDirectoryDirectives",
     primitive(&ApacheHelper::Apache_UpdateDirectoryDirectives, Domain, Folder,
               StringVector{"\t\tUse three"}),
     R"(on most -> 4
on nested-sections odd-case-tags several-names-in-a-block -> 0
-				Options Indexes
+				Use three)",
     true},
    {"Apache_UpdateDirectoryTagPath",
     primitive(&ApacheHelper::Apache_UpdateDirectoryTagPath, Domain, Folder, "/new"), R"(on most -> 4
on nested-sections odd-case-tags several-names-in-a-block -> 0
-	<Directory "/srv/www">
+	<Directory "/new">)",
     true},
    {"Apache_deleteDirectoryTag", primitive(&ApacheHelper::Apache_deleteDirectoryTag, Domain, Folder),
     R"(on most -> 4
on nested-sections odd-case-tags several-names-in-a-block -> 0
-	<Directory "/srv/www">
-				Options Indexes
-	</Directory>)",
     true},
    {"Enable_open_basedir", onFile(&CZPWebsite::Enable_open_basedir, Domain, Folder), R"(on most -> 96
on nested-sections odd-case-tags several-names-in-a-block -> 96
+		php_admin_value open_basedir "/srv/www/:/tmp/"
on names-outside-blocks -> 96
+		php_admin_value open_basedir "/srv/www/:/tmp/"
+		php_admin_value open_basedir "/srv/www/:/tmp/")",
     true},
    {"EnablePerl", onFile(&CZPWebsite::EnablePerl, Domain), R"(on most -> 0
on several-names-in-a-block -> 0
+		AddHandler cgi-script cgi pl)"},
    {"CreateVirtualDirectory",
     folder([](auto& v, auto& record) { return v.CreateVirtualDirectory(&record, 0); }), R"(on most -> 83
+	<Directory "/srv/www">
+	</Directory>
on crlf empty only-comments -> 83
on several-blocks-of-one-site -> 83
+	<Directory "/srv/www">
+(2 lines)
+	</Directory>)"},
    {"UpdateVirtualDirectory",
     folder([](auto& v, auto& record) { return v.UpdateVirtualDirectory(&record); }), R"(on most -> 89
+	<Directory "/srv/www">
+	</Directory>
on crlf empty only-comments -> 89
on nested-sections odd-case-tags several-names-in-a-block -> 89
-				Options Indexes)",
     true},
    {"DeleteVirtualDirectory",
     folder([](auto& v, auto& record) { return v.DeleteVirtualDirectory(record.DirPath); }),
     R"(on most -> 85
on several-names-in-a-block -> 85
-	<Directory "/srv/www">
-				Options Indexes
-	</Directory>
on nested-sections -> 85
-	<Directory "/srv/www">
-(2 lines)
-		<Directory "/var/www/example.com/www">
+	<Directory "/var/www/example.com/www">
on odd-case-tags -> 85
-	<Directory "/srv/www">
-(2 lines)
-	<directory "/var/www/example.com">
+	<Directory "/var/www/example.com">
on names-outside-blocks -> 85
-<Directory "/srv/www">
-(5 lines)
-</Directory>)",
     true},
};

std::string dense(const std::string& text) {
    return withoutEmptyLines(text.ends_with('\n') || text.empty() ? text : text + '\n');
}

// A line cut to a readable length.
std::string cut(const std::string& line) { return line.substr(0, 80) + '\n'; }

// The lines that an edit takes away ("-") and brings ("+"); empty lines aside. Of more than three together
// the first and the last are told, and how many they are.
std::string changeOf(const std::string& before, const std::string& after) {
    std::istringstream change(changedLines(dense(before), dense(after)));
    StringVector all;
    for (std::string line; std::getline(change, line);) {
        all.push_back(line);
    }
    std::string told;
    for (size_t i = 0, end = 0; i < all.size(); i = end) {
        while (end < all.size() && all[end][0] == all[i][0]) {
            ++end;
        }
        if (end - i > 3) {
            told += cut(all[i]) + all[i][0] + "(" + std::to_string(end - i - 2) + " lines)\n" +
                    cut(all[end - 1]);
            continue;
        }
        for (size_t line = i; line < end; ++line) {
            told += cut(all[line]);
        }
    }
    return told;
}

class OnCollected : public ::testing::Test {
protected:
    // Calls `examine` with a fresh copy of every configuration.
    template <class Examine>
    void onEach(Examine examine) {
        const CapturedOutput output;
        for (const std::string& name : collection()) {
            SCOPED_TRACE(name);
            file_ = scratch(name);
            writeFile(file_, collected(name));
            CZPWebsite website(nullptr, file_.c_str());
            examine(website, name);
        }
    }

    std::string file_;
};

std::string joined(const StringVector& texts, char behind) {
    std::string all;
    for (const std::string& text : texts) {
        all += text + behind;
    }
    return all;
}

}  // namespace

// For each configuration the sites that are listed, and what is found of example.com.
TEST_F(OnCollected, QueriesFindWhatIsThere) {
    std::string told;
    onEach([&](CZPWebsite& website, const std::string& name) {
        StringVector sites, aliases;
        std::string address;
        SDDir record = recordOf({});
        CZPVirtualDirectory directories(nullptr, file_.c_str());
        EXPECT_EQ(website.ListWebsites(sites), 28);
        EXPECT_EQ(directories.VirtualDirectoryList(Domain, &aliases), 0);
        told += name + ": " + joined(sites, '|') + joined(aliases, '|');
        for (const int answer : {int{website.WebsiteExists(Domain)}, int{website.GetWebsiteStatus(Domain)},
                                 int{website.LookupDomainInConfFile(Domain, file_, address)},
                                 int{directories.GetVirtualDirectoryinfo(&record)},
                                 int{directories.VirtualDirectoryExists(&record)},
                                 int{directories.DirectoryRequired(Domain, record.DirPath)},
                                 int{directories.CheckVirDir(&record)}}) {
            told += ' ' + std::to_string(answer);
        }
        told += ' ' + address + ' ' + website.GetRootDocPath(file_, Domain) + '\n';
        EXPECT_EQ(readFile(file_), collected(name));
    });
    expectTold(
        told,
        R"(block-never-closed.conf: example.com|open.example| 31 34 1 86 0 0 88 10.0.0.5 /var/www/example.com/www/html
block-without-name.conf: bare.example|example.com| 31 34 1 86 0 0 88 10.0.0.5 /var/www/example.com/www/html
bytes-beyond-ascii.conf: bücher.example|example.com| 31 34 1 86 0 0 88 10.0.0.5 /var/www/example.com/www/html
commented-out-blocks.conf: example.com| 31 34 1 86 0 0 88 10.0.0.5 /var/www/example.com/www/html
continued-lines.conf: example.com| 31 34 1 86 0 0 88 10.0.0.5 
crlf.conf: example.com{CR}| 32 1 0 86 0 0 88  
empty.conf:  32 1 0 86 0 0 88  
ipv6.conf: example.com|six.example| 31 34 1 86 0 0 88 2001:db8::5 /var/www/example.com/www/html
line-of-1022-characters.conf: example.com| 31 34 1 86 0 0 88 10.0.0.5 /var/www/example.com/www/html
line-of-1023-characters.conf: example.com| 31 34 1 86 0 0 88 10.0.0.5 /var/www/example.com/www/html
line-of-119-characters-in-a-block.conf: example.com| 31 34 1 86 0 0 88 10.0.0.5 /var/www/example.com/www/html
name-behind-other-directives.conf: example.com| 31 34 1 86 0 0 88 10.0.0.5 /var/www/second
name-that-begins-with-another.conf: example.com.au|example.comics.example|www.example.com|example.com| 31 34 1 86 0 0 88 10.0.0.5 /var/www/example.com/www/html
names-outside-blocks.conf: example.com| 31 34 1 86 0 0 88 10.0.0.5 /var/www/example.com/www/html
nested-sections.conf: example.com| 31 34 1 86 0 0 88 10.0.0.5 /var/www/example.com/www/html
no-newline-at-end.conf: example.com| 31 34 1 86 0 0 88 10.0.0.5 /var/www/example.com/www/html
odd-case-tags.conf: Example.COM| 31 34 0 86 0 0 88  /var/www/example.com/www/html
only-comments.conf:  32 1 0 86 0 0 88  
several-blocks-of-one-site.conf: example.com|other.example|example.com| 31 34 1 86 0 0 88 10.0.0.5 /var/www/example.com/www/html
several-names-in-a-block.conf: example.com|other.example| 31 34 1 86 0 0 88 10.0.0.5 /var/www/example.com/www/html
tabs-and-trailing-blanks.conf: example.com| 31 1 1 86 0 0 88 10.0.0.5 /var/www/example.com/www/html)");
}

TEST_F(OnCollected, ASiteIsStoppedAndStarted) {
    StringVector unlike;
    onEach([&](CZPWebsite& website, const std::string& name) {
        const std::string before = readFile(file_);
        const int status = website.GetWebsiteStatus(Domain);
        EXPECT_EQ(website.StopWebsite("absent.example"), 30);
        EXPECT_EQ(website.StartWebsite("absent.example"), 29);
        EXPECT_EQ(readFile(file_), before);
        EXPECT_EQ(website.StopWebsite(Domain), 30);
        const bool stopped = website.GetWebsiteStatus(Domain) == 33;
        EXPECT_EQ(readFile(file_) != before, stopped);
        EXPECT_EQ(website.StartWebsite(Domain), 29);
        EXPECT_EQ(website.GetWebsiteStatus(Domain), status);
        if (!stopped || readFile(file_) != dense(before)) {
            unlike.push_back(name + (stopped ? ": " + changeOf(before, readFile(file_)) : ""));
        }
    });
    const std::string lost =
        "-<VirtualHost 10.0.0.5:80>\n-\tServerName open.example\n-\tServerAlias www.open.example\n";
    EXPECT_EQ(unlike,
              (StringVector{"block-never-closed.conf: " + lost, "crlf.conf", "empty.conf",
                            "odd-case-tags.conf", "only-comments.conf", "tabs-and-trailing-blanks.conf"}));
}

class EditOnCollected : public OnCollected, public ::testing::WithParamInterface<Edit> {};

// Each result and change with the configurations that it is the same on.
TEST_P(EditOnCollected, ChangesWhatItIsMeantTo) {
    const Edit& edit = GetParam();
    std::map<std::string, StringVector> configurations;
    onEach([&](CZPWebsite&, const std::string&) {
        if (edit.needsFolder) {
            StringVector lines = {"\t\tOptions Indexes"};
            ApacheHelper().Apache_addDirectoryTag(file_, Domain, Folder, lines);
        }
        const std::string before = readFile(file_);
        const int result = edit.call(file_);
        configurations[std::to_string(result) + '\n' + changeOf(before, readFile(file_))].push_back(
            fs::path(file_).stem().string());
    });
    const auto most = std::max_element(configurations.begin(), configurations.end(),
                                       [](auto& a, auto& b) { return a.second.size() < b.second.size(); });
    std::string told = "on most -> " + most->first;
    for (const auto& [outcome, names] : configurations) {
        told += outcome == most->first ? "" : "on " + joined(names, ' ') + "-> " + outcome;
    }
    expectTold(told, edit.expected);
}
INSTANTIATE_TEST_SUITE_P(Every, EditOnCollected, ::testing::ValuesIn(Edits), byName);
