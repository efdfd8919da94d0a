#include "server/DirectoryRules.h"

#include <fnmatch.h>

#include <algorithm>
#include <optional>

#include "conf/Text.h"
#include "server/Expressions.h"
#include "server/PassedOn.h"
#include "server/Postconditions.h"

namespace zpweb {

namespace {

std::string withoutSlash(std::string path) {
    while (path.size() > 1 && path.ends_with('/')) {
        path.pop_back();
    }
    return path;
}

bool isBelow(const std::string& path, const std::string& above) {
    return above == "/" || path == above || path.starts_with(above + "/");
}

// Of a section: its path or pattern, and whether it is a regular expression.
struct Subject {
    std::string text;
    bool pattern = false;
};
Subject subjectOf(const Directive& section) {
    const std::vector<std::string> words = argumentsIn(section.arguments);
    const bool tilde = !words.empty() && words.front() == "~";
    const size_t at = tilde ? 1 : 0;
    return {words.size() > at ? words[at] : "", tilde || lowerCase(section.name).ends_with("match")};
}

// Does a <Directory> of this path concern the directory or one above it?
bool isAbove(const Subject& subject, std::string directory) {
    const std::string path = withoutSlash(subject.text);
    if (path.find_first_of("*?[") == std::string::npos) {
        return isBelow(directory, path);
    }
    for (; directory.size() > 1; directory.resize(std::max<size_t>(directory.rfind('/'), 1))) {
        if (::fnmatch(path.c_str(), directory.c_str(), FNM_PATHNAME) == 0) {
            return true;
        }
    }
    return false;
}

std::vector<uint32_t> childrenOf(const Reading& reading, uint32_t section) {
    const bool server = section == Directive::None;
    const auto& all = reading.directives();
    std::vector<uint32_t> children;
    const auto end = server ? static_cast<uint32_t>(all.size()) : all[section].end;
    for (uint32_t i = server ? 0 : section + 1; i < end; i = all[i].end) {
        children.push_back(i);
    }
    return children;
}

// Sections that may say something about a directory to requests for the block, the server's own first.
std::vector<uint32_t> ruleSections(const Reading& reading, uint32_t block) {
    std::vector<uint32_t> sections;
    std::vector<uint32_t> levels{Directive::None};
    if (block != Directive::None) {
        levels.push_back(block);
    }
    for (const uint32_t level : levels) {
        for (const uint32_t child : childrenOf(reading, level)) {
            if (reading.directives()[child].section && !reading.directives()[child].is("VirtualHost")) {
                sections.push_back(child);
            }
        }
    }
    return sections;
}

bool isRequirement(const Directive& directive) { return lowerCase(directive.name).starts_with("require"); }

// The terms of a section as lines, those of nested sections with their tags.
void addTerms(const Reading& reading, uint32_t section, std::vector<std::string>& lines) {
    for (const uint32_t child : childrenOf(reading, section)) {
        const Directive& each = reading.directives()[child];
        if (!isRequirement(each)) {
            continue;
        }
        std::string line = lowerCase(each.name);
        for (const std::string& word : argumentsIn(each.arguments)) {
            line += " " + word;
        }
        lines.push_back((each.section ? "<" : "") + line);
        if (each.section) {
            addTerms(reading, child, lines);
            lines.push_back("</" + lowerCase(each.name));
        }
    }
}

// The same of lines that are asked for.
std::vector<std::string> termsOf(const std::vector<std::string>& asked) {
    std::vector<std::string> lines;
    for (const std::string& line : asked) {
        const std::string_view text = zp::conf::skipSpace(line);
        const std::string_view tag = text.substr(0, text.find_last_not_of('>') + 1);
        const std::string_view name = zp::conf::upTo(tag, " \t");
        std::string term = lowerCase(name);
        for (const std::string& word : argumentsIn(tag.substr(name.size()))) {
            term += " " + word;
        }
        if (zp::conf::contains(term.substr(0, 10), "require")) {
            lines.push_back(std::move(term));
        }
    }
    return lines;
}

// The directive by which a section lets everybody in; null when it has none.
const Directive* admission(const Reading& reading, uint32_t section) {
    const auto& all = reading.directives();
    for (uint32_t i = section + 1; i < all[section].end; ++i) {
        const std::string words = lowerCase(all[i].name) + " " + lowerCase(all[i].arguments);
        if (words == "require all granted" || words == "satisfy any") {
            return &all[i];
        }
    }
    return nullptr;
}

// Where requests for the directory come in, by an alias or below the block's document root; absent: by no
// path that is known.
std::optional<std::string> urlOf(const Reading& reading, uint32_t block, const std::string& directory) {
    for (const Directive* alias : reading.inSection(block, "Alias")) {
        const std::vector<std::string> words = argumentsIn(alias->arguments);
        if (const std::string target = words.size() > 1 ? withoutSlash(words[1]) : "";
            !target.empty() && isBelow(directory, target)) {
            return withoutSlash(words[0]) + directory.substr(target.size());
        }
    }
    const std::string root = withoutSlash(reading.valueIn(block, "DocumentRoot"));
    return !root.empty() && isBelow(directory, root) ? std::optional(directory.substr(root.size()))
                                                     : std::nullopt;
}

// Is it a section that comes behind the directory's own, and concerns all of the directory?
bool comesBehind(const Directive& section, const std::string& directory,
                 const std::optional<std::string>& url) {
    const std::string name = lowerCase(section.name);
    const Subject subject = subjectOf(section);
    if (name == "directorymatch" || (name == "directory" && subject.pattern)) {
        return findsIn(subject.text, directory + "/");
    }
    if (name == "files" || name == "filesmatch") {
        return subject.text == "*" || subject.text == "." || subject.text == ".*" || subject.text == "^";
    }
    if (name == "locationmatch" || (name == "location" && subject.pattern)) {
        return findsIn(subject.text, url.value_or("") + "/");
    }
    return name == "if" ||
           (name == "location" && isBelow(url.value_or(""), subject.text == "/" ? "" : subject.text));
}

// What lets in whom the directory's section keeps out.
const Directive* wayAround(const Reading& reading, uint32_t block, const std::string& directory) {
    const std::optional<std::string> url = urlOf(reading, block, directory);
    for (const uint32_t each : ruleSections(reading, block)) {
        const Directive& section = reading.directives()[each];
        const bool plain = section.is("Directory") && !subjectOf(section).pattern;
        const Directive* admits = admission(reading, each);
        if (admits == nullptr) {
            continue;
        }
        if (!plain && comesBehind(section, directory, url)) {
            return admits;
        }
        if (plain && admits->is("Satisfy") && isAbove(subjectOf(section), directory)) {
            return admits;
        }
    }
    return nullptr;
}

// What the directory's .htaccess may override for requests to a block: the value of the AllowOverride that
// counts ("None" without one).
std::string overridesFor(const Reading& reading, uint32_t block, const std::string& directory) {
    std::string value = "None";
    size_t longest = 0;
    for (const uint32_t each : ruleSections(reading, block)) {
        const Directive& section = reading.directives()[each];
        const Subject subject = subjectOf(section);
        const auto all = reading.inSection(each, "AllowOverride");
        if (section.is("Directory") && !subject.pattern && !all.empty() && isAbove(subject, directory) &&
            subject.text.size() >= longest) {
            longest = subject.text.size();
            value = all.back()->arguments;
        }
    }
    return value;
}

bool admitsPasswords(const std::string& overrides) {
    const std::string lower = lowerCase(overrides);
    return zp::conf::contains(lower, "all") || zp::conf::contains(lower, "authconfig");
}

// The blocks, and the server's level (Directive::None), whose document root the directory is in.
std::vector<uint32_t> servedBy(const Reading& reading, const std::string& directory) {
    std::vector<uint32_t> blocks;
    for (const VirtualHost& host : reading.hosts()) {
        if (host.directive != Directive::None && urlOf(reading, host.directive, directory)) {
            blocks.push_back(host.directive);
        }
    }
    if (urlOf(reading, Directive::None, directory)) {
        blocks.push_back(Directive::None);
    }
    return blocks;
}

bool switchedOn(const std::vector<std::string>& words, const std::string& option) {
    bool on = false;
    for (const std::string& word : words) {
        const bool sign = word.starts_with('+') || word.starts_with('-');
        const std::string name = lowerCase(std::string_view(word).substr(sign ? 1 : 0));
        on = name == lowerCase(option) || name == "all" ? !word.starts_with('-') : on;
    }
    return on;
}

}  // namespace

std::vector<uint32_t> directorySections(const Reading& reading, uint32_t section,
                                        const std::string& directory) {
    std::vector<uint32_t> found = childrenOf(reading, section);
    std::erase_if(found, [&](uint32_t each) {
        const Directive& directive = reading.directives()[each];
        const Subject subject = subjectOf(directive);
        return !directive.section || !directive.is("Directory") || subject.pattern ||
               withoutSlash(subject.text) != withoutSlash(directory);
    });
    return found;
}

std::vector<std::string> termsOf(const Reading& reading, uint32_t section) {
    std::vector<std::string> lines;
    addTerms(reading, section, lines);
    return lines;
}

Postcondition heedsAccessFile(const std::string& directory) {
    return [=](const Reading& staged) {
        for (const uint32_t block : servedBy(staged, directory)) {
            const std::string overrides = overridesFor(staged, block, directory);
            if (!admitsPasswords(overrides)) {
                return failure(Status::Refused, "the server does not heed " + directory +
                                                    "/.htaccess (AllowOverride " + overrides +
                                                    "): protect it with \"vdir set SITE " + directory +
                                                    " --protect\", or allow AuthConfig there");
            }
        }
        return done();
    };
}

Postcondition ignoresAccessFile(const BlocksOf& blocks, const std::string& directory,
                                const std::string& place) {
    return [=](const Reading& staged) {
        const std::vector<uint32_t> all = sectionsOf(staged, blocks);
        return std::none_of(
                   all.begin(), all.end(),
                   [&](uint32_t block) { return admitsPasswords(overridesFor(staged, block, directory)); })
                   ? done()
                   : notShown(
                         place +
                         " says who may see the directory, and counts for more: change it there first");
    };
}

Outcome nothingGoesAround(const Reading& reading, uint32_t block, const std::string& directory) {
    const std::string url = urlOf(reading, block, directory).value_or("/");
    if (const Directive* pass = passedOn(reading, block, url)) {
        return notShown(takenBy(reading, *pass, url) +
                        ", and no directory is asked for: \"access set\" closes the path");
    }
    const Directive* way = wayAround(reading, block, directory);
    return way == nullptr ? done()
                          : notShown("\"" + std::string(way->name) + " " + std::string(way->arguments) +
                                     "\" at " + reading.originOf(*way).text() + " lets everybody into " +
                                     directory + ": change it there first");
}

Postcondition isRestricted(const BlocksOf& blocks, const std::string& directory,
                           const std::vector<std::vector<std::string>>& lists) {
    std::vector<std::vector<std::string>> asked;
    asked.reserve(lists.size());
    for (const std::vector<std::string>& lines : lists) {
        asked.push_back(termsOf(lines));
    }
    return [=](const Reading& staged) {
        for (const uint32_t block : sectionsOf(staged, blocks)) {
            std::vector<uint32_t> own = directorySections(staged, block, directory);
            std::erase_if(own, [&](uint32_t each) { return termsOf(staged, each).empty(); });
            const auto terms = own.empty() ? std::vector<std::string>() : termsOf(staged, own.back());
            if (std::find(asked.begin(), asked.end(), terms) == asked.end()) {
                return notShown("who may see " + directory + " is not as asked at " +
                                staged.originOf(staged.directives()[block]).text());
            }
            for (const Directive* merging : own.empty() ? std::vector<const Directive*>()
                                                        : staged.inSection(own.back(), "AuthMerging")) {
                if (lowerCase(merging->arguments) == "or") {
                    return notShown("\"AuthMerging Or\" at " + staged.originOf(*merging).text() +
                                    " lets others into " + directory);
                }
            }
            const bool grants = terms == std::vector<std::string>{"require all granted"};
            if (Outcome closed = grants ? done() : nothingGoesAround(staged, block, directory);
                !closed.ok()) {
                return closed;
            }
        }
        return done();
    };
}

Postcondition hasOptions(const BlocksOf& blocks, const std::string& directory,
                         const std::vector<std::string>& switches) {
    return [=](const Reading& staged) {
        for (const uint32_t block : sectionsOf(staged, blocks)) {
            std::vector<std::string> words;
            for (const uint32_t section : directorySections(staged, block, directory)) {
                for (const Directive* options : staged.inSection(section, "Options")) {
                    words = argumentsIn(options->arguments);
                }
            }
            for (const std::string& each : switches) {
                if (switchedOn(words, each.substr(1)) != each.starts_with('+')) {
                    return notShown("option " + each + " is not in effect for " + directory + " at " +
                                    staged.originOf(staged.directives()[block]).text());
                }
            }
        }
        return done();
    };
}

}  // namespace zpweb
