#include "server/DirectoryUrls.h"

#include <algorithm>

#include "server/DirectoryPaths.h"
#include "server/DirectorySections.h"
#include "server/PassedOn.h"

namespace zpweb {

namespace {

using Urls = std::vector<std::string>;

// What of the directory's path is below another one, which it is or stands in.
std::string below(const std::string& directory, const std::string& above) {
    return above == "/" ? directory : directory.substr(above.size());
}

void addWay(Urls& urls, const std::string& directory, const std::string& url, const std::string& target) {
    const std::string path = withoutSlash(target);
    if (!path.empty() && isBelow(directory, path)) {
        urls.push_back((url.ends_with('/') ? url.substr(0, url.size() - 1) : url) + below(directory, path));
    }
}

// Of "^/x/(.*)" what every path begins with that it finds.
std::string beginOf(std::string_view pattern) {
    pattern.remove_prefix(pattern.starts_with('^') ? 1 : 0);
    const size_t end = pattern.find_first_of("\\.[](){}*+?|$^");
    const bool repeated =
        end != pattern.npos && end > 0 && std::string_view("{*?").find(pattern[end]) != pattern.npos;
    return std::string(pattern.substr(0, repeated ? end - 1 : end));
}

// "AliasMatch ^/x(.*) /srv/x$1" leads from where its pattern begins to where its target does.
void addAlias(Urls& urls, const std::string& directory, const Directive& alias) {
    const bool plain = alias.is("Alias") || alias.is("ScriptAlias");
    if (!plain && !alias.is("AliasMatch") && !alias.is("ScriptAliasMatch")) {
        return;
    }
    const std::vector<std::string> words = argumentsIn(alias.arguments);
    if (words.size() > 1) {
        addWay(urls, directory, plain ? words[0] : beginOf(words[0]),
               plain ? words[1] : words[1].substr(0, words[1].find_first_of("$\\")));
    }
}

// "<Location /x> Alias /srv/x </Location>"
void addAliasesIn(Urls& urls, const std::string& directory, const Reading& reading, uint32_t section) {
    const Directive& location = reading.directives()[section];
    const std::vector<std::string> words = argumentsIn(location.arguments);
    const bool pattern = location.is("LocationMatch") || (words.size() > 1 && words.front() == "~");
    const bool known = location.section && !words.empty() && (pattern || location.is("Location"));
    for (const uint32_t child : known ? reading.childrenOf(section) : std::vector<uint32_t>()) {
        const Directive& alias = reading.directives()[child];
        const std::vector<std::string> target = argumentsIn(alias.arguments);
        if ((alias.is("Alias") || alias.is("ScriptAlias")) && target.size() == 1) {
            addWay(urls, directory, pattern ? beginOf(words.back()) : words.front(),
                   target.front().substr(0, target.front().find_first_of("$%")));
        }
    }
}

// By what a section says itself.
Urls ownUrls(const Reading& reading, uint32_t section, const std::string& directory) {
    Urls urls;
    for (const uint32_t child : reading.childrenOf(section)) {
        addAlias(urls, directory, reading.directives()[child]);
        addAliasesIn(urls, directory, reading, child);
    }
    addWay(urls, directory, "", reading.rootIn(section));
    return urls;
}

// What the server's level says counts in every block, its document root where a block has none.
class ServersUrls {
public:
    ServersUrls(const Reading& reading, const std::string& directory)
        : reading_(&reading), all_(ownUrls(reading, Directive::None, directory)) {
        addWay(root_, directory, "", reading.rootIn(Directive::None));
    }
    const Urls& all() const { return all_; }
    Urls in(uint32_t block) const {
        Urls urls = all_;
        if (!reading_->rootIn(block).empty()) {
            urls.resize(urls.size() - root_.size());
        }
        return urls;
    }

private:
    const Reading* reading_;
    Urls all_, root_{};
};

// A block that passes all of it on shows nothing of the directory.
bool leads(const Reading& reading, uint32_t block, const Urls& urls) {
    return std::any_of(urls.begin(), urls.end(), [&](const std::string& url) {
        return passedOn(reading, block, url.empty() ? "/" : url) == nullptr;
    });
}

}  // namespace

std::vector<std::string> urlsOf(const Reading& reading, uint32_t block, const std::string& directory) {
    const ServersUrls server(reading, directory);
    if (block == Directive::None) {
        return server.all();
    }
    Urls urls = ownUrls(reading, block, directory);
    const Urls inherited = server.in(block);
    urls.insert(urls.end(), inherited.begin(), inherited.end());
    return urls;
}

std::vector<uint32_t> servedBy(const Reading& reading, const std::string& directory) {
    const ServersUrls server(reading, directory);
    std::vector<uint32_t> blocks;
    for (const VirtualHost& host : reading.hosts()) {
        const uint32_t block = host.directive;
        if (block != Directive::None &&
            (!ownUrls(reading, block, directory).empty() || leads(reading, block, server.in(block)))) {
            blocks.push_back(block);
        }
    }
    if (!server.all().empty()) {
        blocks.push_back(Directive::None);
    }
    return blocks;
}

}  // namespace zpweb
