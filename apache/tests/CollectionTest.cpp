// Every operation that edits a configuration, on every configuration of the collection.
#include <CZPWebsite.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <sstream>

#include "support/Files.h"
#include "support/Operations.h"
#include "support/Sites.h"
#include "support/Text.h"
#include "support/Transcript.h"
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
    bool needsFolder = false;  // the site is given a <Directory> block first
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
    {"DeleteWebsite", onFile(&CZPWebsite::DeleteWebsite, Domain, '0')},
    {"NameBasedToIPBased", onFile(&CZPWebsite::NameBasedToIPBased, "10.0.0.5", "10.0.0.9", Domain)},
    {"IPBasedToNameBased", onFile(&CZPWebsite::IPBasedToNameBased, "10.0.0.5", "10.0.0.9", Domain)},
    {"AddHostHeader", onFile(&CZPWebsite::AddHostHeader, Domain, "new.example")},
    {"DeleteHostHeader", onFile(&CZPWebsite::DeleteHostHeader, Domain, "www.example.com")},
    {"Apache_addModule", primitive(&ApacheHelper::Apache_addModule, "suphp")},
    {"Apache_writeDirective",
     primitive(&ApacheHelper::Apache_writeDirective, "Listen 8080", "Listen", false, 3)},
    {"Apache_ChangeVirtualHostPort",
     primitive(&ApacheHelper::Apache_ChangeVirtualHostPort, Domain, "10.0.0.9", "81")},
    {"Apache_AddDirectiveInVH",
     primitive(&ApacheHelper::Apache_AddDirectiveInVH, Domain, "Use", "one", true)},
    {"Apache_AddDirectivesInVH", primitive(&ApacheHelper::Apache_AddDirectivesInVH, Domain, linesToAdd())},
    {"Apache_UpdateDirectiveInVH",
     primitive(&ApacheHelper::Apache_UpdateDirectiveInVH, Domain, "DocumentRoot", "/new", true)},
    {"Apache_DeleteDirectivesInVH", primitive(&ApacheHelper::Apache_DeleteDirectivesInVH, Domain,
                                              StringVector{"DocumentRoot", "ServerAlias"})},
    {"Apache_UpdateVHDirectiveContents", primitive(&ApacheHelper::Apache_UpdateVHDirectiveContents, Domain,
                                                   "<Directory", "\tRequire all denied", true)},
    {"Apache_DeleteVhIfmoduleBlock",
     primitive(&ApacheHelper::Apache_DeleteVhIfmoduleBlock, Domain, "mod_rewrite.c")},
    {"Apache_addDirectoryTag",
     primitive(&ApacheHelper::Apache_addDirectoryTag, Domain, Folder, linesToAdd())},
    {"Apache_UpdateDirectoryDirectives",
     primitive(&ApacheHelper::Apache_UpdateDirectoryDirectives, Domain, Folder,
               StringVector{"\t\tUse three"}),
     true},
    {"Apache_UpdateDirectoryTagPath",
     primitive(&ApacheHelper::Apache_UpdateDirectoryTagPath, Domain, Folder, "/new"), true},
    {"Apache_deleteDirectoryTag", primitive(&ApacheHelper::Apache_deleteDirectoryTag, Domain, Folder),
     true},
    {"Enable_open_basedir", onFile(&CZPWebsite::Enable_open_basedir, Domain, Folder), true},
    {"EnablePerl", onFile(&CZPWebsite::EnablePerl, Domain)},
    {"CreateVirtualDirectory",
     folder([](auto& v, auto& record) { return v.CreateVirtualDirectory(&record, 0); })},
    {"UpdateVirtualDirectory",
     folder([](auto& v, auto& record) { return v.UpdateVirtualDirectory(&record); }), true},
    {"DeleteVirtualDirectory",
     folder([](auto& v, auto& record) { return v.DeleteVirtualDirectory(record.DirPath); }), true},
};

std::string dense(const std::string& text) {
    return withoutEmptyLines(text.ends_with('\n') || text.empty() ? text : text + '\n');
}

// The lines that an edit takes away ("-") and brings ("+"), cut to a readable length; empty lines aside.
std::string changeOf(const std::string& before, const std::string& after) {
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

std::string joined(const StringVector& texts) {
    std::string all;
    for (const std::string& text : texts) {
        all += text + '|';
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
        told += name + ": " + joined(sites) + joined(aliases);
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
    EXPECT_EQ(told, collected("found.txt")) << told;
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

// Told as a text: for each operation its results and changes, each with the configurations that they are
// the same on.
TEST_F(OnCollected, EditsChangeWhatTheyAreMeantTo) {
    std::string told;
    for (const Edit& edit : Edits) {
        std::map<std::string, std::string> configurations;
        onEach([&](CZPWebsite&, const std::string&) {
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
