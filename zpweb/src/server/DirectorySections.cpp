#include "server/DirectorySections.h"

#include <algorithm>

#include "server/DirectoryPaths.h"
#include "server/Expressions.h"

namespace zpweb {

namespace {

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

// The server goes from the fewest names to the most, and of as many from the first section to the last.
size_t depthOf(const Subject& subject) {
    const std::string path = withoutSlash(subject.text);
    return path == "/" ? 0 : static_cast<size_t>(std::count(path.begin(), path.end(), '/'));
}

bool isPlainDirectory(const Directive& section) {
    return section.section && section.is("Directory") && !subjectOf(section).pattern;
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

template <typename Predicate>
std::vector<uint32_t> sectionsFor(const Reading& reading, uint32_t block, const Predicate& counts) {
    std::vector<uint32_t> sections;
    const auto add = [&](uint32_t level) {
        for (const uint32_t child : childrenOf(reading, level)) {
            const Directive& each = reading.directives()[child];
            if (each.section && !each.is("VirtualHost") && counts(each)) {
                sections.push_back(child);
            }
        }
    };
    add(Directive::None);
    if (block != Directive::None) {
        add(block);
    }
    return sections;
}

}  // namespace

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

std::vector<uint32_t> directorySections(const Reading& reading, uint32_t section,
                                        const std::string& directory) {
    std::vector<uint32_t> found = childrenOf(reading, section);
    std::erase_if(found, [&](uint32_t each) {
        const Directive& directive = reading.directives()[each];
        return !isPlainDirectory(directive) ||
               withoutSlash(subjectOf(directive).text) != withoutSlash(directory);
    });
    return found;
}

std::vector<uint32_t> sectionsAbove(const Reading& reading, uint32_t block, const std::string& directory) {
    return sectionsFor(reading, block, [&](const Directive& section) {
        return isPlainDirectory(section) && isAbout(subjectOf(section).text, directory);
    });
}

std::vector<uint32_t> sectionsBehind(const Reading& reading, uint32_t block, const std::string& directory) {
    return sectionsFor(reading, block,
                       [&, url = urlOf(reading, block, directory)](const Directive& section) {
                           return !isPlainDirectory(section) && comesBehind(section, directory, url);
                       });
}

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

std::string overridesFor(const Reading& reading, uint32_t block, const std::string& directory) {
    std::string value = "None";
    size_t deepest = 0;
    for (const uint32_t each : sectionsAbove(reading, block, directory)) {
        const size_t depth = depthOf(subjectOf(reading.directives()[each]));
        const auto all = reading.inSection(each, "AllowOverride");
        if (!all.empty() && depth >= deepest) {
            deepest = depth;
            value = all.back()->arguments;
        }
    }
    return value;
}

}  // namespace zpweb
