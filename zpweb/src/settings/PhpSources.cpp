#include "settings/PhpSources.h"

#include <algorithm>
#include <filesystem>

#include "conf/Text.h"
#include "input/HostName.h"
#include "input/Json.h"
#include "server/DirectoryPaths.h"
#include "settings/Modules.h"
#include "settings/ServerFile.h"
#include "text/Statements.h"

namespace zpweb {

namespace {

namespace fs = std::filesystem;

constexpr const char* Name = "php-sources";
constexpr long MostEntries = 200000;
constexpr const char* Title =
    "# Scripts of sites whose PHP was switched off: nobody gets to read them. Written by zpweb.\n# ";

bool isScript(const std::string& name) {
    constexpr std::array Endings = {".php", ".phtml", ".phar", ".phps"};
    return std::any_of(Endings.begin(), Endings.end(),
                       [&](const char* ending) { return name.ends_with(ending); });
}

// Where a line that runs the site's scripts may stand.
std::vector<const ConfigurationFile*> mayHandle(const Configuration& configuration,
                                                const std::string& site) {
    std::vector<const ConfigurationFile*> files = configuration.parts();
    std::erase_if(files, [](const ConfigurationFile* file) { return file->server().handlers.empty(); });
    for (const Place& place : configuration.find(site)) {
        if (std::find(files.begin(), files.end(), place.file) == files.end()) {
            files.push_back(place.file);
        }
    }
    return files;
}

SortedJson rootsIn(const std::string& text) {
    const size_t begin = text.find('{');
    const size_t end = begin == std::string::npos ? begin : text.find('\n', begin);
    SortedJson roots =
        begin == std::string::npos ? SortedJson() : parsedSortedJson(text.substr(begin, end - begin));
    const auto isPaths = [](const SortedJson& paths) {
        return paths.is_array() && std::all_of(paths.begin(), paths.end(),
                                               [](const SortedJson& path) { return path.is_string(); });
    };
    const bool sound = roots.is_object() && std::all_of(roots.begin(), roots.end(), isPaths);
    return sound ? roots : SortedJson::object();
}

Outcome writeRoots(Transaction& change, const SortedJson& roots) {
    if (roots.empty()) {
        return dropServerFile(change, ServerFileKind::Directives, Name);
    }
    std::string text = Title + roots.dump() + "\n";
    std::set<std::string> all;
    for (const SortedJson& paths : roots) {
        all.insert(paths.begin(), paths.end());
    }
    for (const std::string& root : all) {
        text += "<Directory \"" + root +
                "\">\n    <FilesMatch \"\\.ph(?:p|ar|ps|tml)$\">\n        Require all denied\n"
                "    </FilesMatch>\n</Directory>\n";
    }
    return putServerFile(change, ServerFileKind::Directives, Name, text);
}

// By the sites that had them run.
SortedJson& rootsOf(Transaction& change) {
    return change.shared().value<SortedJson>(Name, [&change] {
        return rootsIn(serverFileText(change, ServerFileKind::Directives, Name).value_or(""));
    });
}

void changed(Transaction& change) {
    change.shared().noteChange();
    change.shared().atEnd(Name, [&change] { return writeRoots(change, rootsOf(change)); });
}

bool handlesPhp(std::string_view line) {
    const std::string_view text = zp::conf::skipSpace(line);
    if (zp::conf::beginsIgnoringCase(text, "AddType")) {
        return zp::conf::contains(text, "x-httpd-php");
    }
    const bool handler = zp::conf::beginsIgnoringCase(text, "SetHandler") ||
                         zp::conf::beginsIgnoringCase(text, "AddHandler") ||
                         zp::conf::beginsIgnoringCase(text, "ProxyPassMatch");
    return handler && (zp::conf::contains(text, "php") || zp::conf::contains(text, "fcgi:"));
}

bool isOfOther(const ConfigurationFile& file, const Statement& line, const std::string& site) {
    const Block* block = file.blockAt(line.lines.first);
    return block != nullptr && !sameHost(block->name, site);
}

// A line of a macro is read where the macro is used.
bool isInMacro(const Statements& all, const Statement& line) {
    size_t at = line.section;
    while (at != None && !all[at].opens("Macro")) {
        at = all[at].section;
    }
    return at != None;
}

// Do the sections around a line leave the directory out?
bool isElsewhere(const Statements& all, const Statement& line, const std::string& root) {
    for (size_t at = line.section; at != None; at = all[at].section) {
        const std::string path = all[at].argument(0);
        if ((all[at].opens("Directory") && path.starts_with('/') && !isAbout(path, root)) ||
            (all[at].opens("Location") && path != "/")) {
            return true;
        }
    }
    return false;
}

}  // namespace

std::optional<std::string> someScript(const std::string& root) {
    std::error_code error;
    std::error_code ignored;
    long seen = 0;
    bool perhaps = false;
    fs::recursive_directory_iterator entry(root, fs::directory_options::skip_permission_denied, error);
    for (; !error && entry != fs::recursive_directory_iterator(); entry.increment(error)) {
        const std::string path = entry->path().string();
        if (isScript(path)) {
            return path.substr(root.size());
        }
        perhaps = perhaps || (entry->is_symlink(ignored) && entry->is_directory(ignored));
        if (++seen > MostEntries) {
            return "";
        }
    }
    return error || perhaps ? std::optional<std::string>("") : std::nullopt;
}

std::string otherPhp(const Configuration& configuration, const std::string& site, const std::string& root,
                     const PlaceTest& isRead) {
    for (const ConfigurationFile* file : mayHandle(configuration, site)) {
        if (zp::conf::contains(file->path(), "/zpweb.d/")) {
            continue;
        }
        const Statements statements(file->content().text());
        for (const Statement& each : statements) {
            if (each.kind == Statement::Kind::Directive && handlesPhp(each.written) &&
                !isOfOther(*file, each, site) && !isElsewhere(statements, each, root)) {
                const Origin place{file->path(), file->firstLine() + each.lines.first + 1};
                if (isInMacro(statements, each) || isRead(place)) {
                    return place.text();
                }
            }
        }
    }
    return {};
}

void hideSources(Transaction& change, const std::string& site, const std::set<std::string>& roots) {
    SortedJson& all = rootsOf(change);
    if (SortedJson hidden = roots; !all.contains(site) || all[site] != hidden) {
        all[site] = std::move(hidden);
        changed(change);
    }
}

void showSources(Transaction& change, const std::string& site) {
    if (rootsOf(change).erase(site) > 0) {
        changed(change);
    }
}

}  // namespace zpweb
