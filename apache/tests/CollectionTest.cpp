// Every operation that edits a configuration, on every configuration of the collection.
#include <ApacheHelper.h>
#include <CZPVirtualDirectory.h>
#include <CZPWebsite.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <sstream>

#include "support/Files.h"
#include "support/Sites.h"
#include "support/Text.h"
#include "support/Transcript.h"
#include "support/Watching.h"

using namespace zp::test;
namespace fs = std::filesystem;

namespace {

// What the operations find of example.com, and which sites are listed; the defaults are the ordinary case.
struct Found {
    StringVector sites = {"example.com"};
    int exists = 31;
    int status = 34;
    std::string root = "/var/www/example.com/www/html", address = "10.0.0.5";
    bool switchable = true;  // a stop finds it
    std::string lost = {};   // by a rewrite, beside empty lines
};

const Found Nothing = {{}, 32, 1, "", "", false};

const std::pair<std::string, Found> Collection[] = {
    {"block-never-closed.conf",
     {.sites = {"example.com", "open.example"},
      .lost = "<VirtualHost 10.0.0.5:80>\n\tServerName open.example\n\tServerAlias www.open.example\n"}},
    {"block-without-name.conf", {.sites = {"bare.example", "example.com"}}},
    {"bytes-beyond-ascii.conf", {.sites = {"bücher.example", "example.com"}}},
    {"commented-out-blocks.conf", {}},
    {"continued-lines.conf", {.root = ""}},
    {"crlf.conf", {{"example.com\r"}, 32, 1, "", "", false}},
    {"empty.conf", Nothing},
    {"ipv6.conf", {.sites = {"example.com", "six.example"}, .address = "2001:db8::5"}},
    {"line-of-1022-characters.conf", {}},
    {"line-of-1023-characters.conf", {}},
    {"line-of-119-characters-in-a-block.conf", {}},
    {"name-behind-other-directives.conf", {.root = "/var/www/second"}},
    {"name-that-begins-with-another.conf",
     {.sites = {"example.com.au", "example.comics.example", "www.example.com", "example.com"}}},
    {"names-outside-blocks.conf", {}},
    {"nested-sections.conf", {}},
    {"no-newline-at-end.conf", {}},
    {"odd-case-tags.conf", {.sites = {"Example.COM"}, .address = "", .switchable = false}},
    {"only-comments.conf", Nothing},
    {"several-blocks-of-one-site.conf", {.sites = {"example.com", "other.example", "example.com"}}},
    {"several-names-in-a-block.conf", {.sites = {"example.com", "other.example"}}},
    {"tabs-and-trailing-blanks.conf", {.status = 1, .switchable = false}},
};

constexpr const char* Domain = "example.com";
constexpr const char* Folder = "/srv/www";

struct Edit {
    const char* name;
    std::function<int(const std::string& file)> call;
    bool needsFolder = false;  // the site is given a <Directory> block first
};

template <class Call>
std::function<int(const std::string&)> website(Call call) {
    return [call](const std::string& file) {
        CZPWebsite manager(nullptr, file.c_str());
        return int{call(manager)};
    };
}

template <class Merge>
std::function<int(const std::string&)> merge(Merge call) {
    return website([call](CZPWebsite& manager) {
        UpdateVHost record{};
        record.pDomain = Domain;
        record.ErrorDoc = {{"404", "/gone.html"}};
        return call(manager, record);
    });
}

template <class Call>
std::function<int(const std::string&)> helper(Call call) {
    return [call](const std::string& file) {
        ApacheHelper manager;
        return call(manager, file);
    };
}

template <class Call>
std::function<int(const std::string&)> folder(Call call) {
    return [call](const std::string& file) {
        CZPVirtualDirectory manager(nullptr, file.c_str());
        SDDir record{};
        std::strcpy(record.DomainName, Domain);
        std::strcpy(record.DirPath, Folder);
        return int{call(manager, record)};
    };
}

// The folders that a creation leaves are taken away.
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
    {"CreateWebsite", [](auto& file) { return create(file, {.domain = "new.example", .address = "::9"}); }},
    {"CreateWebsite, which may be there", [](auto& file) { return create(file, {.address = "::9"}); }},
    {"UpdateWebsite", merge([](auto& w, auto& record) { return w.UpdateWebsite(&record); })},
    {"EnableMessage", merge([](auto& w, auto& record) { return w.EnableMessage(&record); })},
    {"DisableMessage", merge([](auto& w, auto& record) { return w.DisableMessage(&record, "/home/s"); })},
    {"DeleteWebsite", website([](auto& w) { return w.DeleteWebsite(Domain, 0); })},
    {"NameBasedToIPBased",
     website([](auto& w) { return w.NameBasedToIPBased("10.0.0.5", "10.0.0.9", Domain); })},
    {"IPBasedToNameBased",
     website([](auto& w) { return w.IPBasedToNameBased("10.0.0.5", "10.0.0.9", Domain); })},
    {"AddHostHeader", website([](auto& w) { return w.AddHostHeader(Domain, "new.example"); })},
    {"DeleteHostHeader", website([](auto& w) { return w.DeleteHostHeader(Domain, "www.example.com"); })},
    {"Apache_addModule", helper([](auto& h, auto& f) { return h.Apache_addModule(f, "suphp"); })},
    {"Apache_writeDirective", helper([](auto& h, auto& f) {
         return h.Apache_writeDirective(f, "Listen 8080", "Listen", false, 3);
     })},
    {"Apache_ChangeVirtualHostPort",
     helper([](auto& h, auto& f) { return h.Apache_ChangeVirtualHostPort(f, Domain, "10.0.0.9", "81"); })},
    {"Apache_AddDirectiveInVH",
     helper([](auto& h, auto& f) { return h.Apache_AddDirectiveInVH(f, Domain, "Use", "one", true); })},
    {"Apache_AddDirectivesInVH", helper([](auto& h, auto& f) {
         StringVector lines = linesToAdd();
         return h.Apache_AddDirectivesInVH(f, Domain, lines);
     })},
    {"Apache_UpdateDirectiveInVH", helper([](auto& h, auto& f) {
         return h.Apache_UpdateDirectiveInVH(f, Domain, "DocumentRoot", "/new", true);
     })},
    {"Apache_DeleteDirectivesInVH", helper([](auto& h, auto& f) {
         StringVector names = {"DocumentRoot", "ServerAlias"};
         return h.Apache_DeleteDirectivesInVH(f, Domain, names);
     })},
    {"Apache_UpdateVHDirectiveContents", helper([](auto& h, auto& f) {
         return h.Apache_UpdateVHDirectiveContents(f, Domain, "<Directory", "\tRequire all denied", true);
     })},
    {"Apache_DeleteVhIfmoduleBlock",
     helper([](auto& h, auto& f) { return h.Apache_DeleteVhIfmoduleBlock(f, Domain, "mod_rewrite.c"); })},
    {"Apache_addDirectoryTag", helper([](auto& h, auto& f) {
         StringVector lines = linesToAdd();
         return h.Apache_addDirectoryTag(f, Domain, Folder, lines);
     })},
    {"Apache_UpdateDirectoryDirectives", helper([](auto& h, auto& f) {
         StringVector lines = {"\t\tUse three"};
         return h.Apache_UpdateDirectoryDirectives(f, Domain, Folder, lines);
     }),
     true},
    {"Apache_UpdateDirectoryTagPath",
     helper([](auto& h, auto& f) { return h.Apache_UpdateDirectoryTagPath(f, Domain, Folder, "/new"); }),
     true},
    {"Apache_deleteDirectoryTag",
     helper([](auto& h, auto& f) { return h.Apache_deleteDirectoryTag(f, Domain, Folder); }), true},
    {"Enable_open_basedir", website([](auto& w) { return w.Enable_open_basedir(Domain, Folder); }), true},
    {"EnablePerl", website([](auto& w) { return w.EnablePerl(Domain); })},
    {"CreateVirtualDirectory",
     folder([](auto& v, auto& record) { return v.CreateVirtualDirectory(&record, 0); })},
    {"UpdateVirtualDirectory",
     folder([](auto& v, auto& record) { return v.UpdateVirtualDirectory(&record); }), true},
    {"DeleteVirtualDirectory",
     folder([](auto& v, auto& record) { return v.DeleteVirtualDirectory(record.DirPath); }), true},
};

// The lines that an edit takes away ("-") and brings ("+"), cut to a readable length; empty lines aside.
std::string changeOf(const std::string& before, const std::string& after) {
    const auto dense = [](const std::string& text) {
        return withoutEmptyLines(text.ends_with('\n') || text.empty() ? text : text + '\n');
    };
    std::istringstream change(difference(dense(before), dense(after),
                                         "--old-line-format='-%L' --new-line-format='+%L' "
                                         "--unchanged-line-format=''"));
    std::string told;
    for (std::string line; std::getline(change, line);) {
        told += line.substr(0, 80) + '\n';
    }
    return told;
}

class OnCollected : public ::testing::Test {
protected:
    // Calls `examine` with a fresh copy of every configuration.
    template <class Examine>
    void onEach(Examine examine) {
        const CapturedOutput output;
        StringVector seen;
        for (const auto& [name, found] : Collection) {
            SCOPED_TRACE(name);
            const std::string before = collected(name);
            file_ = scratch(name);
            writeFile(file_, before);
            CZPWebsite website(nullptr, file_.c_str());
            examine(website, found, before);
            seen.push_back(name);
        }
        EXPECT_EQ(seen, collection());
    }

    std::string file_;
};

}  // namespace

TEST_F(OnCollected, SitesAreFound) {
    onEach([&](CZPWebsite& website, const Found& found, const std::string& before) {
        StringVector sites;
        std::string address;
        EXPECT_EQ(website.ListWebsites(sites), 28);
        EXPECT_EQ(sites, found.sites);
        EXPECT_EQ(website.WebsiteExists("example.com"), found.exists);
        EXPECT_EQ(website.GetWebsiteStatus("example.com"), found.status);
        EXPECT_EQ(website.GetRootDocPath(file_, "example.com"), found.root);
        EXPECT_EQ(website.LookupDomainInConfFile("example.com", file_, address), !found.address.empty());
        EXPECT_EQ(address, found.address);
        EXPECT_EQ(readFile(file_), before);
    });
}

TEST_F(OnCollected, ASiteIsStoppedAndStarted) {
    onEach([&](CZPWebsite& website, const Found& found, const std::string& before) {
        std::string after =
            withoutEmptyLines(before.ends_with('\n') || before.empty() ? before : before + '\n');
        after = found.lost.empty() ? after : without(after, found.lost);
        EXPECT_EQ(website.StopWebsite("absent.example"), 30);
        EXPECT_EQ(website.StartWebsite("absent.example"), 29);
        EXPECT_EQ(readFile(file_), before);
        EXPECT_EQ(website.StopWebsite("example.com"), 30);
        EXPECT_EQ(website.GetWebsiteStatus("example.com"), found.switchable ? 33 : found.status);
        EXPECT_EQ(readFile(file_) != before, found.switchable);
        EXPECT_EQ(website.StartWebsite("example.com"), 29);
        EXPECT_EQ(readFile(file_), found.switchable ? after : before);
        EXPECT_EQ(website.GetWebsiteStatus("example.com"), found.status);
    });
}

// Told as a text: for each operation its results and changes, each with the configurations that they are
// the same on.
TEST_F(OnCollected, EditsChangeWhatTheyAreMeantTo) {
    std::string told;
    for (const Edit& edit : Edits) {
        std::map<std::string, std::string> configurations;
        onEach([&](CZPWebsite&, const Found&, const std::string&) {
            if (edit.needsFolder) {
                StringVector lines = {"\t\tOptions Indexes"};
                ApacheHelper().Apache_addDirectoryTag(file_, Domain, Folder, lines);
            }
            const std::string before = readFile(file_);
            const int result = edit.call(file_);
            configurations[std::to_string(result) + '\n' + changeOf(before, readFile(file_))] +=
                fs::path(file_).stem().string() + ' ';
        });
        told += std::string("=== ") + edit.name + '\n';
        for (const auto& [outcome, names] : configurations) {
            told += "on " + names + "-> " + outcome;
        }
    }
    EXPECT_EQ(told, collected("changes.txt")) << told;
}
