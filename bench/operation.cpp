// One operation of the library on one configuration file, as a whole process.
//
//   bench_operation --list                              the table below: name, bar, tools, preparation
//   bench_operation NAME CONFIGURATION DOMAIN HOMES     0 when it did what it should
//
// DOMAIN is the last site of the file. HOMES is the parent of site homes, ending in "/"; the empty home of
// NewSite is there, and one of DOMAIN with its folders.
#include <cstring>
#include <iostream>
#include <string>

#include "ApacheHelper.h"
#include "CZPVirtualDirectory.h"
#include "CZPWebsite.h"

namespace {

constexpr const char* NewSite = "created.example";
constexpr const char* Address = "192.0.2.10";       // of all sites
constexpr const char* OtherAddress = "192.0.2.11";  // announced, without a site
constexpr const char* NewRoot = "/srv/moved/www/html";

// What the operations are called on and with.
struct Target {
    std::string configuration, domain, homes;
    CZPWebsite website{nullptr, configuration.c_str()};
    CZPVirtualDirectory directories{nullptr, configuration.c_str()};
    ApacheHelper helper{};

    std::string folder() const { return "/srv/sites/" + domain + "/www/html"; }
};

template <size_t Size>
void fill(char (&field)[Size], const std::string& text) {
    field[text.copy(field, Size - 1)] = '\0';
}

int create(Target& target) {
    VHostEntry entry{};
    fill(entry.IPAddress, Address);
    fill(entry.DName, NewSite);
    fill(entry.PunyCode, NewSite);
    fill(entry.UserName, "benchowner");
    fill(entry.ServerAdmin, "benchowner");
    fill(entry.Path, target.homes);
    entry.IPSwitch = '1';
    return target.website.CreateWebsite(&entry);
}

int readDirective(Target& target) {
    std::string value;
    return target.helper.Apache_getDirectiveInVH(target.configuration, target.domain, "DocumentRoot", value,
                                                 true);
}

int updateDirective(Target& target) {
    return target.helper.Apache_UpdateDirectiveInVH(target.configuration, target.domain, "DocumentRoot",
                                                    NewRoot, true);
}

int list(Target& target) {
    StringVector names;
    const char result = target.website.ListWebsites(names);
    return !names.empty() && names.back() == target.domain ? result : 0;
}

int listAddresses(Target& target) {
    StringVector addresses;
    return target.website.ListOccupiedIPs(&addresses);
}

using RecordOperation = char (CZPWebsite::*)(UpdateVHost*);

template <RecordOperation Operation>
int withRecord(Target& target) {
    UpdateVHost record{};
    record.pDomain = target.domain.c_str();
    record.Alias.push_back({"/more", NewRoot});
    return (target.website.*Operation)(&record);
}

int suspend(Target& target) {
    UpdateVHost record{};
    record.pDomain = target.domain.c_str();
    record.DocRootPath.emplace_back(NewRoot);
    return target.website.EnableMessage(&record);
}

SDDir directory(const Target& target, const std::string& folder) {
    SDDir record{};
    fill(record.DomainName, target.domain);
    fill(record.DirPath, folder);
    fill(record.WebAdminPath, target.homes.substr(0, target.homes.size() - 1));
    fill(record.Allow, "All");
    record.Order = 1;
    record.Options.Indexes = '+';
    record.AnonAccess = '2';  // neither creation nor update is asked for a password file
    return record;
}

int createDirectory(Target& target) {
    SDDir record = directory(target, target.homes + target.domain + "/www/html");
    return target.directories.CreateVirtualDirectory(&record, 0);
}

using DirectoryOperation = char (CZPVirtualDirectory::*)(SDDir*);

template <DirectoryOperation Operation>
int withDirectory(Target& target) {
    SDDir record = directory(target, target.folder());
    return (target.directories.*Operation)(&record);
}

StringVector block{"AllowOverride None"};

// What an operation may cost at most; bench/run knows how much that is.
constexpr const char* Read = "read";                     // passes over the whole file
constexpr const char* Rewrite = "rewrite";               // writes it anew
constexpr const char* BackedUp = "rewrite-with-backup";  // and keeps a copy of the old one
constexpr const char* No = "-";

struct Row {
    const char *name, *bar;
    const char* tools;   // that do the same work, joined by ","
    const char* before;  // the row that makes the file what this one needs; not timed
    int result;
    int (*run)(Target& target);
};

// clang-format off
constexpr Row Rows[] = {
    {"create", Rewrite, "augtool", No, 94, create},
    {"read-directive", Read, "augtool", No, 0, readDirective},
    {"update-directive", BackedUp, "sed,augtool", No, 0, updateDirective},

    {"list", Read, "grep,apache2", No, 28, list},
    {"exists", Read, No, No, 31, [](Target& t) -> int { return t.website.WebsiteExists(t.domain.c_str()); }},
    {"status", Read, No, No, 34, [](Target& t) -> int { return t.website.GetWebsiteStatus(t.domain); }},
    {"stop", Rewrite, "sed", No, 30, [](Target& t) -> int { return t.website.StopWebsite(t.domain.c_str()); }},
    {"start", Rewrite, "sed", "stop", 29, [](Target& t) -> int { return t.website.StartWebsite(t.domain.c_str()); }},
    {"delete", Rewrite, No, No, 24, [](Target& t) -> int { return t.website.DeleteWebsite(t.domain.c_str(), 0); }},
    {"add-name", BackedUp, No, No, 0, [](Target& t) -> int { return t.website.AddHostHeader(t.domain, "a.example"); }},
    {"delete-name", BackedUp, No, No, 0, [](Target& t) -> int { return t.website.DeleteHostHeader(t.domain, "www." + t.domain); }},
    {"own-address", Rewrite, No, No, 123, [](Target& t) { return t.website.NameBasedToIPBased(Address, "192.0.2.20", t.domain); }},
    {"shared-address", Rewrite, No, No, 121, [](Target& t) { return t.website.IPBasedToNameBased(Address, OtherAddress, t.domain); }},
    {"addresses", Read, No, No, 28, listAddresses},
    {"read-site", Read, No, No, 25, withRecord<&CZPWebsite::GetWebsiteInfo>},
    {"update-site", Rewrite, No, No, 96, withRecord<&CZPWebsite::UpdateWebsite>},
    {"suspend", Rewrite, No, No, 96, suspend},

    {"create-directory", Rewrite, No, No, 83, createDirectory},
    {"read-directory", Read, No, No, 86, withDirectory<&CZPVirtualDirectory::GetVirtualDirectoryinfo>},
    {"update-directory", Rewrite, No, No, 89, withDirectory<&CZPVirtualDirectory::UpdateVirtualDirectory>},
    {"delete-directory", Rewrite, No, No, 85, [](Target& t) -> int { return t.directories.DeleteVirtualDirectory(t.folder().c_str()); }},
    {"enable-perl", Rewrite, No, No, 0, [](Target& t) { return t.website.EnablePerl(t.domain); }},
    {"add-block", BackedUp, No, No, 0, [](Target& t) { return t.helper.Apache_addDirectoryTag(t.configuration, t.domain, NewRoot, block); }},
    {"fill-block", BackedUp, No, No, 0, [](Target& t) { return t.helper.Apache_UpdateDirectoryDirectives(t.configuration, t.domain, t.folder(), block); }},
    {"move-block", BackedUp, No, No, 0, [](Target& t) { return t.helper.Apache_UpdateDirectoryTagPath(t.configuration, t.domain, t.folder(), NewRoot); }},
    {"delete-block", BackedUp, No, No, 0, [](Target& t) { return t.helper.Apache_deleteDirectoryTag(t.configuration, t.domain, t.folder()); }},
};
// clang-format on

}  // namespace

int main(int argc, char* argv[]) {
    if (argc == 2 && std::strcmp(argv[1], "--list") == 0) {
        for (const Row& row : Rows) {
            std::cout << row.name << ' ' << row.bar << ' ' << row.tools << ' ' << row.before << '\n';
        }
        return 0;
    }
    if (argc == 5) {
        for (const Row& row : Rows) {
            if (std::strcmp(row.name, argv[1]) == 0) {
                Target target{argv[2], argv[3], argv[4]};
                return row.run(target) == row.result ? 0 : 1;
            }
        }
    }
    std::cerr << "usage: bench_operation --list | NAME CONFIGURATION DOMAIN HOMES\n";
    return 2;
}
