// What the server prints about a configuration, line by line, into a Reading.
#include <algorithm>
#include <map>
#include <unordered_map>

#include "conf/Text.h"
#include "server/Reading.h"
#include "sys/File.h"
#include "sys/Number.h"

namespace zpweb {

namespace {

constexpr std::string_view InFile = "# In file: ";
constexpr std::string_view RunsIn = "ServerRoot: \"";  // the first line of the last part
constexpr size_t Indent = 2;
constexpr std::string_view VirtualHostTag = "VirtualHost";

std::string_view afterBlanks(std::string_view text) {
    const size_t first = text.find_first_not_of(' ');
    return first == std::string_view::npos ? std::string_view() : text.substr(first);
}

// The word at the front of a text, which then begins behind it.
std::string_view takeWord(std::string_view& text) {
    text = afterBlanks(text);
    const std::string_view word = zp::conf::upTo(text, " ");
    text = afterBlanks(text.substr(word.size()));
    return word;
}

bool takesOff(std::string_view& text, std::string_view beginning) {
    const bool there = text.starts_with(beginning);
    text = there ? text.substr(beginning.size()) : text;
    return there;
}

std::string withoutLinks(std::string_view file) {
    const auto real = realPathOf(std::string(file));
    return real.ok() ? *real : std::string(file);
}

// "/etc/a.conf", or "macro 'site' (defined on line 24 of "/etc/a.conf") used on line 33 of "/etc/b.conf"":
// the outermost use stands last.
Origin originIn(std::string_view file) {
    constexpr std::string_view Used = " used on line ";
    const size_t use = file.starts_with("macro '") ? file.rfind(Used) : std::string_view::npos;
    if (use == std::string_view::npos) {
        return {withoutLinks(file), 0, false};
    }
    const std::string_view rest = file.substr(use + Used.size());
    const std::string_view path = zp::conf::stepOver(rest, zp::conf::upTo(rest, "\"").size() + 1);
    return {withoutLinks(zp::conf::upTo(path, "\"")), static_cast<size_t>(leadingNumber(rest)), true};
}

}  // namespace

class ReadingParser {
public:
    explicit ReadingParser(std::string printed) {
        reading_.text_ = std::make_unique<const std::string>(std::move(printed));
    }

    Reading parse() {
        std::string_view rest(*reading_.text_);
        while (!rest.empty()) {
            const std::string_view line = zp::conf::upTo(rest, "\n");
            rest = zp::conf::stepOver(rest, line.size() + 1);
            takeLine(line);
        }
        finishDirectives();
        finishNameMap();
        return std::move(reading_);
    }

private:
    enum class Part { Includes, NameMap, Directives, Run };
    // A host as the name map tells of it: the name that it has there, and its place.
    struct Mentioned {
        uint32_t entry, file, line;
        std::string name;
        ServedNames names;
    };

    void takeLine(std::string_view line) {
        if (line == "Included configuration files:") {
            part_ = Part::Includes;
        } else if (line == "VirtualHost configuration:") {
            part_ = Part::NameMap;
        } else if (line.starts_with(RunsIn)) {
            part_ = Part::Run;
            const std::string_view root = zp::conf::upTo(line.substr(RunsIn.size()), "\"");
            reading_.serverRoot_ = root.substr(0, root.find_last_not_of('/') + 1);
        } else if (part_ == Part::Run) {
            takeAccount(line, "User: name=\"", reading_.account_.user);
            takeAccount(line, "Group: name=\"", reading_.account_.group);
        } else if (part_ != Part::Directives && (line.starts_with('#') || line.starts_with('<'))) {
            part_ = Part::Directives;
            takeDirective(line);
        } else if (part_ == Part::Includes) {
            const size_t number = line.find(") ");
            if (number != std::string_view::npos) {
                reading_.included_.emplace_back(line.substr(number + 2));
            }
        } else if (part_ == Part::NameMap) {
            takeMapping(line);
        } else {
            takeDirective(line);
        }
    }

    static void takeAccount(std::string_view line, std::string_view begin, std::string& name) {
        if (line.starts_with(begin)) {
            name = zp::conf::upTo(line.substr(begin.size()), "\"");
        }
    }

    uint32_t numberOf(std::string_view file) {
        const auto [known, fresh] =
            fileNumbers_.try_emplace(file, static_cast<uint32_t>(reading_.origins_.size()));
        if (fresh) {
            reading_.origins_.push_back(originIn(file));
        }
        return known->second;
    }

    // "*:80   is a NameVirtualHost", "10.0.0.5:80   shop.example (/etc/a.conf:7)" and what stands below
    // these
    void takeMapping(std::string_view line) {
        const bool below = line.starts_with(' ');
        std::string_view rest = line;
        if (below) {
            rest = afterBlanks(rest);
            if (takesOff(rest, "port ")) {
                takeWord(rest);
                takesOff(rest, "namevhost ");
                mention(rest);
            } else if (!mentioned_.empty() && takesOff(rest, "alias ")) {
                mentioned_.back().names.aliases.push_back(lowerCase(rest));
            } else if (!mentioned_.empty() && takesOff(rest, "wild alias ")) {
                mentioned_.back().names.wildAliases.push_back(lowerCase(rest));
            }
        } else if (const std::string_view at = takeWord(rest); !rest.empty()) {
            entries_.push_back({endpointOf(at), {}});
            if (rest != "is a NameVirtualHost") {
                mention(rest);
            }
        }
    }

    // "shop.example (/etc/a.conf:7)"
    void mention(std::string_view rest) {
        const std::string_view name = takeWord(rest);
        const size_t colon = rest.rfind(':');
        if (entries_.empty() || !rest.starts_with('(') || colon == std::string_view::npos) {
            return;
        }
        mentioned_.push_back({static_cast<uint32_t>(entries_.size() - 1),
                              numberOf(rest.substr(1, colon - 1)),
                              static_cast<uint32_t>(leadingNumber(rest.substr(colon + 1))),
                              lowerCase(name),
                              {}});
    }

    void takeDirective(std::string_view line) {
        const std::string_view text = afterBlanks(line);
        if (line.starts_with(InFile)) {
            file_ = numberOf(line.substr(InFile.size()));
        } else if (text.starts_with('#')) {
            line_ = static_cast<uint32_t>(leadingNumber(afterBlanks(text.substr(1))));
        } else if (!text.empty() && !text.starts_with("</")) {
            closeSections((line.size() - text.size()) / Indent);
            addDirective(text);
        }
    }

    // Indentation tells what is in what: a section that holds nothing is printed without its closing tag.
    void closeSections(size_t depth) {
        while (open_.size() > depth) {
            reading_.directives_[open_.back()].end = size();
            open_.pop_back();
        }
    }

    void addDirective(std::string_view text) {
        Directive added;
        added.section = takesOff(text, "<");
        added.name = zp::conf::upTo(text, " >");
        added.arguments = afterBlanks(text.substr(added.name.size()));
        if (added.section && added.arguments.ends_with('>')) {
            added.arguments.remove_suffix(1);
        }
        added.parent = open_.empty() ? Directive::None : open_.back();
        added.file = file_;
        added.line = line_;
        added.end = size() + 1;
        if (added.section) {
            open_.push_back(size());
        }
        reading_.directives_.push_back(added);
    }

    uint32_t size() const { return static_cast<uint32_t>(reading_.directives_.size()); }

    void finishDirectives() {
        closeSections(0);
        const auto& all = reading_.directives_;
        reading_.complete_ = !all.empty();
        for (uint32_t i = 0; i < all.size(); i = all[i].end) {
            if (all[i].section && all[i].is(VirtualHostTag)) {
                addHost(i);
            }
        }
    }

    void addHost(uint32_t section) {
        const Directive& tag = reading_.directives_[section];
        VirtualHost host;
        host.directive = section;
        host.file = tag.file;
        host.line = tag.line;
        host.addresses = argumentsIn(tag.arguments);
        for (uint32_t i = section + 1; i < tag.end; i = reading_.directives_[i].end) {
            const Directive& directive = reading_.directives_[i];
            if (directive.is("ServerName")) {
                host.names.name = hostNameIn(directive.arguments);
            } else if (directive.is("ServerAlias")) {
                for (const std::string& alias : argumentsIn(directive.arguments)) {
                    const bool wild = alias.find_first_of("*?") != std::string::npos;
                    (wild ? host.names.wildAliases : host.names.aliases).push_back(lowerCase(alias));
                }
            }
        }
        places_.emplace(std::pair(host.file, host.line), static_cast<uint32_t>(reading_.hosts_.size()));
        reading_.hosts_.push_back(std::move(host));
    }

    // The host that the name map means. One file that is included twice has two at one place: the name
    // tells.
    uint32_t hostOf(const Mentioned& mentioned) {
        const auto [first, last] = places_.equal_range({mentioned.file, mentioned.line});
        for (auto place = first; place != last; ++place) {
            const ServedNames& names = reading_.hosts_[place->second].names;
            if (names.name.empty() || names.name == mentioned.name) {
                return place->second;
            }
        }
        if (first != last) {
            return first->second;
        }
        VirtualHost host;
        host.file = mentioned.file;
        host.line = mentioned.line;
        host.addresses = {entries_[mentioned.entry].at.text()};
        host.names = mentioned.names;
        host.names.name = mentioned.name;
        const auto number = static_cast<uint32_t>(reading_.hosts_.size());
        places_.emplace(std::pair(host.file, host.line), number);
        reading_.hosts_.push_back(std::move(host));
        return number;
    }

    void finishNameMap() {
        for (const Mentioned& mentioned : mentioned_) {
            std::vector<NameMap::Host>& hosts = entries_[mentioned.entry].hosts;
            const uint32_t host = hostOf(mentioned);
            ServedNames& names = reading_.hosts_[host].names;
            names.inherited = names.name.empty() ? mentioned.name : "";
            if (hosts.empty() || hosts.back() != host) {
                hosts.push_back(host);
            }
        }
        for (NameMap::Entry& entry : entries_) {
            reading_.names_.add(std::move(entry));
        }
        std::vector<const ServedNames*> names;
        for (const VirtualHost& host : reading_.hosts_) {
            names.push_back(&host.names);
        }
        reading_.names_.index(names);
        reading_.index();
    }

    Reading reading_;
    Part part_ = Part::Includes;
    std::unordered_map<std::string_view, uint32_t> fileNumbers_;
    std::multimap<std::pair<uint32_t, uint32_t>, uint32_t> places_;
    std::vector<NameMap::Entry> entries_;
    std::vector<Mentioned> mentioned_;
    std::vector<uint32_t> open_;  // sections around what comes next
    uint32_t file_ = 0, line_ = 0;
};

Reading Reading::parse(std::string printed) { return ReadingParser(std::move(printed)).parse(); }

}  // namespace zpweb
