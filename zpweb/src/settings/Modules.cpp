#include "settings/Modules.h"

#include <algorithm>
#include <iterator>
#include <sstream>

#include "conf/Address.h"
#include "conf/Text.h"
#include "input/Quoted.h"
#include "server/Layout.h"
#include "server/Program.h"
#include "server/Sockets.h"
#include "settings/SiteFacts.h"
#include "sys/File.h"
#include "sys/Process.h"
#include "text/Statements.h"

namespace zpweb {

namespace {

namespace conf = zp::conf;

bool begins(std::string_view line, std::string_view directive) {
    const std::string_view text = conf::skipSpace(line);
    return conf::beginsIgnoringCase(text, directive) && text.size() > directive.size() &&
           conf::isSpace(text[directive.size()]);
}

// The last line of this directive outside of blocks; false when the file has none.
struct Found {
    const ConfigurationFile* file = nullptr;
    size_t line = 0;
};
Found lastLine(const Configuration& configuration, std::string_view directive,
               const std::function<bool(std::string_view)>& test = {}) {
    Found found;
    for (const auto& file : configuration.files()) {
        const Lines& lines = file->lines();
        for (size_t i = 0; i < lines.size(); ++i) {
            const bool wanted = begins(lines[i], directive) && (!test || test(lines[i]));
            if (wanted && file->blockAt(i) == nullptr) {
                found = {file.get(), i};
            }
        }
    }
    return found;
}

std::string wordOf(std::string_view line, int number) {
    std::istringstream words{std::string(line)};
    std::string word;
    for (int i = 0; i <= number; ++i) {
        word.clear();
        words >> word;
    }
    return std::string(conf::unquoted(word));
}

// The last line of the outermost section around it: a condition there may not be met.
size_t outermostEnd(const Found& place) {
    const Statements statements(place.file->content().text());
    for (const Statement& each : statements) {
        if (each.section == None && each.end != None && each.lines.first < place.line &&
            statements[each.end].lines.end > place.line) {
            return statements[each.end].lines.end - 1;
        }
    }
    return place.line;
}

Outcome addBehind(Transaction& change, const Found& place, const std::string& line) {
    std::string text;
    const Lines& lines = place.file->lines();
    const size_t behind = outermostEnd(place);
    for (size_t i = 0; i < lines.size(); ++i) {
        text += lines[i];
        text += i + 1 < lines.size() || lines.finalNewline || i == behind ? "\n" : "";
        text += i == behind ? line + (endsInReturn(lines[i]) ? "\r\n" : "\n") : "";
    }
    return change.replace(place.file->path(), text);
}

Outcome notInstalled(const std::string& name) {
    return failure("module " + inQuotes(name) +
                   ": the server has no file for it; install the package that " + "holds mod_" + name);
}

// Debian: links in mods-enabled, for the module and those that it depends on.
Outcome enable(Transaction& change, const std::string& base, const std::string& name) {
    const std::string available = base + "/mods-available/" + name;
    const auto load = readFile(available + ".load");
    if (!load.ok()) {
        return notInstalled(name);
    }
    std::istringstream text(*load);
    for (std::string line; std::getline(text, line);) {
        if (line.starts_with("# Depends:")) {
            std::istringstream words(line.substr(10));
            const std::vector<std::string> needed{std::istream_iterator<std::string>(words), {}};
            if (Outcome outcome = requireModules(change, needed); !outcome.ok()) {
                return outcome;
            }
        }
    }
    const std::string modules = asLinked(base + "/mods-available", base + "/mods-enabled");
    for (const char* kind : {".load", ".conf"}) {
        const std::string link = base + "/mods-enabled/" + name + kind;
        if (!exists(available + kind) || change.contentOf(link)) {
            continue;
        }
        if (Outcome linked = change.link(link, modules + "/" + name + kind); !linked.ok()) {
            return linked;
        }
    }
    return done();
}

// A LoadModule line whose file stands where those of others do; a module of another maker may have a
// directory of its own.
Expected<std::string> loadLine(const Configuration& configuration, const std::string& name) {
    const auto fileBeside = [&name](std::string_view line) {
        const std::string known = wordOf(line, 2);
        const std::string directory = known.find('/') == std::string::npos ? "modules" : directoryOf(known);
        return directory + "/mod_" + name + ".so";
    };
    const auto isThere = [&](std::string_view line) {
        const std::string file = fileBeside(line);
        return exists(file.starts_with('/') ? file : configuration.serverRoot() + "/" + file);
    };
    const Found other = lastLine(configuration, "LoadModule", isThere);
    const std::string_view beside = other.file == nullptr ? "" : other.file->lines()[other.line];
    return isThere(beside) ? Expected("LoadModule " + name + "_module " + fileBeside(beside))
                           : notInstalled(name);
}

// Red Hat: a file of its own, read behind the others.
Outcome addToDirectory(Transaction& change, const std::string& directory, const std::string& line) {
    const std::string path = directory + "/zpweb.conf";
    const Content now = change.contentOf(path);
    return change.replace(path, (now ? now.text() : std::string()) + line + "\n");
}

Outcome provide(Transaction& change, const std::string& name) {
    change.asked().everything = true;  // what a module brings along holds for the server
    const std::string base = directoryOf(change.configuration().main().path());
    const std::string root = change.configuration().serverRoot();
    if (isDirectory(base + "/mods-available") && isDirectory(base + "/mods-enabled")) {
        return enable(change, base, name);
    }
    const auto line = loadLine(change.configuration(), name);
    if (!line.ok()) {
        return line.outcome();
    }
    if (isDirectory(root + "/conf.modules.d")) {
        return addToDirectory(change, root + "/conf.modules.d", *line);
    }
    const Found other = lastLine(change.configuration(), "LoadModule");
    return other.file != nullptr ? addBehind(change, other, *line)
                                 : failure("the server's configuration has no LoadModule line to go by");
}

// "mod_so.c" and the like: what the server's program holds itself.
const std::string& builtIn() {
    static const std::string list = runProgram({Program().path(), "-l"}).output;
    return list;
}

}  // namespace

bool isModuleLoaded(const Configuration& configuration, const std::string& name) {
    return configuration.loads(name + "_module") || conf::contains(builtIn(), "mod_" + name + ".c");
}

Outcome requireModules(Transaction& change, const std::vector<std::string>& names) {
    for (const std::string& name : names) {
        if (isModuleLoaded(change.configuration(), name)) {
            continue;
        }
        if (Outcome provided = provide(change, name); !provided.ok()) {
            return provided;
        }
    }
    return done();
}

Outcome requireListen(Transaction& change, int port, int beside, const std::string& address) {
    const auto portOf = [](const std::string& socket) {
        return socket.find_first_not_of("0123456789") == std::string::npos ? hostPortOf(":" + socket).port
                                                                           : hostPortOf(socket).port;
    };
    const Configuration& configuration = change.configuration();
    const bool any =
        configuration.listens([&](const std::string& socket) { return portOf(socket) == port; });
    const std::vector<Socket> sockets = askable(configuration);
    if (any && (address == "*" || std::any_of(sockets.begin(), sockets.end(), [&](const Socket& socket) {
                    return socket.port == port && takes(socket, address);
                }))) {
        return done();
    }
    Found place = lastLine(configuration, "Listen",
                           [&](std::string_view line) { return portOf(wordOf(line, 1)) == beside; });
    place = place.file != nullptr ? place : lastLine(configuration, "Listen");
    if (place.file == nullptr) {
        return failure("the server's configuration has no Listen line to go by");
    }
    change.asked().serverDirectives.insert("listen");
    const std::string word = wordOf(place.file->lines()[place.line], 1);
    const size_t colon = word.rfind(':');
    std::string host = colon == std::string::npos ? "" : word.substr(0, colon + 1);
    if (address != "*" && (any || !host.empty())) {  // one for every address would be in its way
        host = conf::inBrackets(address) + ":";
    }
    return addBehind(change, place, "Listen " + host + std::to_string(port));
}

}  // namespace zpweb
