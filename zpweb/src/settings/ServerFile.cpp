#include "settings/ServerFile.h"

#include <algorithm>

#include "conf/Text.h"
#include "server/Layout.h"
#include "sys/File.h"
#include "text/Statements.h"

namespace zpweb {

namespace {

// Where the file stands, and the link or the line that leads to it; both empty where none is needed.
struct Location {
    std::string file, link, target, line;
};

bool readsDirectory(const Configuration& configuration, const std::string& directory) {
    const auto parts = configuration.serverParts();
    return std::any_of(parts.begin(), parts.end(), [&](const ConfigurationFile* file) {
        return std::any_of(file->server().includes.begin(), file->server().includes.end(),
                           [&](const IncludeLine& include) {
                               const std::string pattern(include.pattern);
                               const std::string whole = pattern.starts_with('/')
                                                             ? pattern
                                                             : configuration.serverRoot() + "/" + pattern;
                               return whole.starts_with(directory + "/") || whole == directory;
                           });
    });
}

Location locationOf(const Configuration& configuration, ServerFileKind kind, const std::string& name) {
    const std::string base = directoryOf(configuration.main().path());
    const std::string root = configuration.serverRoot();
    const bool site = kind == ServerFileKind::FirstSite;
    const std::string group = site ? "sites" : "conf";
    // Digits and a hyphen before digits come first in the order of names.
    const std::string entry = (site ? "000-" : "zpweb-") + name + ".conf";
    if (isDirectory(base + "/" + group + "-available") &&
        readsDirectory(configuration, base + "/" + group + "-enabled")) {
        const std::string available = base + "/" + group + "-available";
        const std::string enabled = base + "/" + group + "-enabled";
        return {available + "/" + entry, enabled + "/" + entry, asLinked(available, enabled) + "/" + entry,
                ""};
    }
    if (readsDirectory(configuration, root + "/conf.d")) {
        return {root + "/conf.d/" + entry, "", "", ""};
    }
    const std::string file = base + "/zpweb.d/" + name + ".conf";
    return {file, "", "", "Include \"" + file + "\""};
}

// Does a file that the pattern names have a block, or one that it includes?
bool leadsToBlock(const Configuration& configuration, std::string_view pattern, size_t depth = 0) {
    constexpr size_t Deepest = 10;
    const std::vector<std::string> names = configuration.included(pattern);
    return depth < Deepest && std::any_of(names.begin(), names.end(), [&](const std::string& name) {
               const ConfigurationFile* file = configuration.file(name);
               return file != nullptr &&
                      (!file->blocks().empty() ||
                       std::any_of(file->server().includes.begin(), file->server().includes.end(),
                                   [&](const IncludeLine& include) {
                                       return leadsToBlock(configuration, include.pattern, depth + 1);
                                   }));
           });
}

// The line of the file's first block, or that which leads to one; None without any.
size_t firstBlock(const Configuration& configuration, const ConfigurationFile& main) {
    size_t first = main.blocks().empty() ? None : main.blocks().front().lines.first;
    for (const IncludeLine& include : main.server().includes) {
        if (include.line < first && leadsToBlock(configuration, include.pattern)) {
            first = include.line;
        }
    }
    return first;
}

// Before the first block of the file, or at its end.
std::string withLine(const Configuration& configuration, bool first, const std::string& line) {
    const ConfigurationFile& main = configuration.main();
    const std::string& text = main.content().text();
    const size_t number = first ? firstBlock(configuration, main) : None;
    const size_t at = number < main.lines().size()
                          ? static_cast<size_t>(main.lines()[number].data() - text.data())
                          : text.size();
    const std::string before = at > 0 && text[at - 1] != '\n' ? "\n" : "";
    return text.substr(0, at) + before + line + "\n" + text.substr(at);
}

std::string withoutLine(const ConfigurationFile& main, const std::string& line) {
    std::string text;
    for (size_t i = 0; i < main.lines().size(); ++i) {
        if (main.lines()[i] != line) {
            text += main.lines()[i];
            text += i + 1 < main.lines().size() || main.lines().finalNewline ? "\n" : "";
        }
    }
    return text;
}

bool standsIn(const ConfigurationFile& main, const std::string& line) {
    const auto& all = main.lines().all;
    return std::find(all.begin(), all.end(), line) != all.end();
}

}  // namespace

Outcome putServerFile(Transaction& change, ServerFileKind kind, const std::string& name,
                      const std::string& text) {
    change.asked().everything = true;
    const Location location = locationOf(change.configuration(), kind, name);
    if (Outcome put = change.replace(location.file, text); !put.ok()) {
        return put;
    }
    if (!location.link.empty()) {
        return change.link(location.link, location.target);
    }
    const ConfigurationFile& main = change.configuration().main();
    if (location.line.empty() || standsIn(main, location.line)) {
        return done();
    }
    return change.replace(
        main.path(), withLine(change.configuration(), kind == ServerFileKind::FirstSite, location.line));
}

Outcome dropServerFile(Transaction& change, ServerFileKind kind, const std::string& name) {
    const Location location = locationOf(change.configuration(), kind, name);
    change.asked().everything = true;
    Outcome outcome = location.link.empty() ? done() : change.unlink(location.link);
    const ConfigurationFile& main = change.configuration().main();
    if (outcome.ok() && !location.line.empty() && standsIn(main, location.line)) {
        outcome = change.replace(main.path(), withoutLine(main, location.line));
    }
    return outcome.ok() ? change.unlink(location.file) : outcome;
}

std::optional<std::string> serverFileText(const Transaction& change, ServerFileKind kind,
                                          const std::string& name) {
    const Content content = change.contentOf(locationOf(change.configuration(), kind, name).file);
    return content ? std::optional(content.text()) : std::nullopt;
}

}  // namespace zpweb
