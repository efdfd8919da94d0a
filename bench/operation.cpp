// One operation of the library on one configuration file, as a whole process.
//
//   bench_operation --list                              the table below: name, bar, tools, preparation
//   bench_operation NAME CONFIGURATION DOMAIN HOMES     0 when it did what it should
//
// DOMAIN is the last site of the file. HOMES is the parent of site homes, ending in "/"; the home of
// NewSite is there and empty.
#include <cstring>
#include <iostream>
#include <string>

#include "ApacheHelper.h"
#include "CZPWebsite.h"

namespace {

constexpr const char* NewSite = "created.example";
constexpr const char* NewRoot = "/srv/moved/www/html";

struct Target {
    std::string configuration, domain, homes;

    CZPWebsite website() const { return {nullptr, configuration.c_str()}; }
};

template <size_t Size>
void fill(char (&field)[Size], const std::string& text) {
    field[text.copy(field, Size - 1)] = '\0';
}

bool create(const Target& target) {
    VHostEntry entry{};
    fill(entry.IPAddress, "192.0.2.10");
    fill(entry.DName, NewSite);
    fill(entry.PunyCode, NewSite);
    fill(entry.UserName, "benchowner");
    fill(entry.ServerAdmin, "benchowner");
    fill(entry.Path, target.homes);
    entry.IPSwitch = '1';
    return target.website().CreateWebsite(&entry) == 94;
}

bool readDirective(const Target& target) {
    std::string value;
    return ApacheHelper().Apache_getDirectiveInVH(target.configuration, target.domain, "DocumentRoot",
                                                  value, true) == 0;
}

bool updateDirective(const Target& target) {
    return ApacheHelper().Apache_UpdateDirectiveInVH(target.configuration, target.domain, "DocumentRoot",
                                                     NewRoot, true) == 0;
}

bool list(const Target& target) {
    StringVector websites;
    return target.website().ListWebsites(websites) == 28 && websites.back() == target.domain;
}

// What an operation may cost at most; bench/run knows how much that is.
constexpr const char* Read = "read";                     // passes over the whole file
constexpr const char* Rewrite = "rewrite";               // writes it anew
constexpr const char* BackedUp = "rewrite-with-backup";  // and keeps a copy of the old one
constexpr const char* No = "-";

struct Row {
    const char *name, *bar;
    const char* tools;   // that do the same work, joined by ","
    const char* before;  // the row that makes the file what this one needs; not timed
    bool (*run)(const Target& target);
};

constexpr Row Rows[] = {
    {"create", Rewrite, "augtool", No, create},
    {"read-directive", Read, "augtool", No, readDirective},
    {"update-directive", BackedUp, "sed,augtool", No, updateDirective},
    {"list", Read, "grep,apache2", No, list},
    {"exists", Read, No, No,
     [](const Target& t) { return t.website().WebsiteExists(t.domain.c_str()) == 31; }},
    {"status", Read, No, No, [](const Target& t) { return t.website().GetWebsiteStatus(t.domain) == 34; }},
    {"stop", Rewrite, "sed", No,
     [](const Target& t) { return t.website().StopWebsite(t.domain.c_str()) == 30; }},
    {"start", Rewrite, "sed", "stop",
     [](const Target& t) { return t.website().StartWebsite(t.domain.c_str()) == 29; }},
    {"delete", Rewrite, No, No,
     [](const Target& t) { return t.website().DeleteWebsite(t.domain.c_str(), 0) == 24; }},
    {"add-host-header", BackedUp, No, No,
     [](const Target& t) { return t.website().AddHostHeader(t.domain, "shop.example") == 0; }},
    {"delete-host-header", BackedUp, No, No,
     [](const Target& t) { return t.website().DeleteHostHeader(t.domain, "www." + t.domain) == 0; }},
};

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
                return row.run({argv[2], argv[3], argv[4]}) ? 0 : 1;
            }
        }
    }
    std::cerr << "usage: bench_operation --list | NAME CONFIGURATION DOMAIN HOMES\n";
    return 2;
}
