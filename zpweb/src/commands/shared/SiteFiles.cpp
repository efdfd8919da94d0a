#include "commands/shared/SiteFiles.h"

#include <algorithm>
#include <map>

#include "conf/Text.h"
#include "input/HostName.h"
#include "input/Quoted.h"
#include "server/ConditionalLines.h"
#include "sys/File.h"
#include "text/Statements.h"

namespace zpweb {

namespace {

bool isUsed(const Configuration& configuration, const std::string& port) {
    const auto parts = configuration.parts();
    return std::any_of(parts.begin(), parts.end(), [&](const ConfigurationFile* file) {
        return std::any_of(file->blocks().begin(), file->blocks().end(), [&](const Block& block) {
            return !block.stopped && zp::conf::contains(block.addresses, ":" + port);
        });
    });
}

bool saysNothing(const Configuration& configuration, const Statement& statement) {
    switch (statement.kind) {
        case Statement::Kind::Empty:
        case Statement::Kind::Comment:
            return true;
        case Statement::Kind::Directive: {
            const std::string address = statement.argument(0);
            return statement.is("Listen") && !isUsed(configuration, address.substr(address.rfind(':') + 1));
        }
        case Statement::Kind::Opens:
        case Statement::Kind::Closes:
            return isCondition(statement.name);
    }
    return false;
}

bool isBlank(std::string_view line) { return zp::conf::skipSpace(line).empty(); }

// Where the line before, or the line behind, a place in a text begins and ends.
std::string_view lineBefore(std::string_view text, size_t at) {
    const size_t begin = at < 2 ? 0 : text.rfind('\n', at - 2) + 1;
    return text.substr(begin, at - begin);
}
std::string_view lineBehind(std::string_view text, size_t at) {
    return text.substr(at, text.find('\n', at) - at + 1);
}

// Where links let the server read files, those that they can lead to.
std::vector<std::string> filesOf(const Layout& layout) {
    std::vector<std::string> files;
    for (const std::string& name :
         layout.hasLinks() ? entriesOf(layout.directory) : std::vector<std::string>()) {
        files.push_back(layout.directory + "/" + name);
    }
    return files;
}

void addSites(std::vector<DisabledSite>& sites, const Configuration& configuration,
              const std::string& path) {
    const auto text = isFile(path) ? readFile(path) : failure("");
    if (!text.ok()) {
        return;
    }
    Surroundings around = surroundingsOf(configuration, *text);
    for (const Contents contents = contentsOf(*text, around); const Block& block : contents.blocks) {
        if (!block.name.empty() && !block.stopped) {
            sites.push_back(
                {std::string(block.name), path, block.nameLine + 1, std::string(block.addresses)});
        }
    }
}

// The same for all forms of a name.
std::string comparable(const std::string& name) {
    const auto ascii = asciiHostName(name);
    return lowerCase(ascii.ok() ? *ascii : name);
}

}  // namespace

Surroundings surroundingsOf(const Configuration& configuration, std::string_view unread) {
    Surroundings around;
    const Contents contents = contentsOf(unread, around);
    if (!contents.conditionalLines.empty()) {
        around.met = metFor(configuration, contents.conditionalLines);
    }
    for (const std::string& pattern : around.namesSought) {
        around.includedNames[pattern] = configuration.serverNameIn(pattern);
    }
    return around;
}

std::vector<DisabledSite> disabledSites(const Configuration& configuration) {
    std::vector<DisabledSite> found;
    const Layout layout = layoutOf(configuration);
    for (const std::string& path : filesOf(layout)) {
        if (configuration.file(path) == nullptr) {
            addSites(found, configuration, path);
        }
    }
    return found;
}

std::vector<DisabledSite> disabledSites(const Configuration& configuration, const std::string& name) {
    static std::map<std::string, std::map<std::string, std::vector<DisabledSite>>>
        known;  // by directory, name
    const Layout layout = layoutOf(configuration);
    const auto [all, fresh] = known.try_emplace(layout.directory);
    for (const std::string& path : fresh ? filesOf(layout) : std::vector<std::string>()) {
        std::vector<DisabledSite> sites;
        addSites(sites, configuration, path);
        for (DisabledSite& site : sites) {
            all->second[comparable(site.name)].push_back(std::move(site));
        }
    }
    std::vector<DisabledSite> found = all->second[comparable(name)];
    std::erase_if(found,
                  [&](const DisabledSite& site) { return configuration.file(site.file) != nullptr; });
    return found;
}

std::vector<std::string> linksTo(const Transaction& change, const Layout& layout, const std::string& file) {
    std::vector<std::string> links = layout.linksTo(file);
    std::erase_if(links, [&](const std::string& link) { return !change.contentOf(link); });
    const std::string made = layout.links + "/" + nameOf(file);
    if (layout.hasLinks() && !exists(made) && change.contentOf(made).isLink()) {
        links.push_back(made);
    }
    return links;
}

Outcome hasOwnFiles(const Transaction& change, const Site& site, const Layout& layout) {
    const SameHost isSite(site.name());
    for (const std::string& file : site.files()) {
        if (directoryOf(file) != layout.directory || linksTo(change, layout, file).empty()) {
            return failure(Status::Refused, "site " + inQuotes(site.name()) + " stands in " + file +
                                                ", which is no file of its own with a link to it");
        }
        for (const Block& block : change.configuration().file(file)->blocks()) {
            if (!block.stopped && !isSite(block.name)) {
                return failure(Status::Refused,
                               file + " is the file of another site, too: " +
                                   std::string(block.name.empty() ? block.address : block.name));
            }
        }
    }
    return done();
}

void askForServerLines(Transaction& change, std::string_view text) {
    const Statements statements(text);
    for (const Statement& statement : statements) {
        if (statement.scope == None && !statement.opens("VirtualHost")) {
            change.asked().serverDirectives.insert(lowerCase(statement.name));
        }
    }
}

std::string takeOut(std::string& text, std::string_view block, bool beginsFile) {
    std::string taken(block);
    const size_t at = text.find(block);
    size_t end = at + block.size();
    end += end < text.size() && text[end] == '\n' ? 1 : 0;
    const std::string_view before = lineBefore(text, at);
    const std::string_view behind = lineBehind(text, end);
    const bool blankBefore = !before.empty() && isBlank(before);
    if ((blankBefore || (at == 0 && beginsFile)) && !behind.empty() && isBlank(behind)) {
        end += behind.size();
    }
    text.erase(at, end - at);
    return taken + (taken.ends_with('\n') ? "" : "\n");
}

bool isLeftover(const Configuration& configuration, std::string_view text) {
    const Statements statements(text);
    return contentsOf(text).blocks.empty() &&
           std::all_of(statements.begin(), statements.end(),
                       [&](const Statement& each) { return saysNothing(configuration, each); });
}

Outcome removeLeftover(Transaction& change, const std::string& file) {
    const Layout layout = layoutOf(change.configuration());
    if (directoryOf(file) != layout.directory ||
        !isLeftover(change.configuration(), change.contentOf(file).text())) {
        return done();
    }
    change.asked().serverDirectives.insert("listen");  // all that it can still hold
    for (const std::string& link : linksTo(change, layout, file)) {
        if (Outcome gone = change.unlink(link); !gone.ok()) {
            return gone;
        }
    }
    return change.unlink(file);
}

}  // namespace zpweb
