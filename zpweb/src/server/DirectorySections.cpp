#include "server/DirectorySections.h"

#include <algorithm>

#include "server/DirectoryPaths.h"
#include "server/DirectoryUrls.h"
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
                 const std::vector<std::string>& urls) {
    const std::string name = lowerCase(section.name);
    const Subject subject = subjectOf(section);
    if (name == "directorymatch" || (name == "directory" && subject.pattern)) {
        return findsIn(subject.text, directory + "/");
    }
    if (name == "files" || name == "filesmatch") {
        return subject.text == "*" || subject.text == "." || subject.text == ".*" || subject.text == "^";
    }
    if (name == "locationmatch" || (name == "location" && subject.pattern)) {
        return std::any_of(urls.begin(), urls.end(),
                           [&](const std::string& url) { return findsIn(subject.text, url + "/"); });
    }
    return name == "if" ||
           (name == "location" && std::any_of(urls.begin(), urls.end(), [&](const std::string& url) {
                return isBelow(url, subject.text == "/" ? "" : subject.text);
            }));
}

template <typename Predicate>
std::vector<uint32_t> sectionsFor(const Reading& reading, uint32_t block, const Predicate& counts) {
    std::vector<uint32_t> sections;
    const auto add = [&](uint32_t level) {
        for (const uint32_t child : reading.childrenOf(level)) {
            const Directive& each = reading.directives()[child];
            if (each.section && counts(each)) {
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

std::vector<uint32_t> directorySections(const Reading& reading, uint32_t section,
                                        const std::string& directory) {
    std::vector<uint32_t> found = reading.childrenOf(section);
    std::erase_if(found, [&](uint32_t each) {
        const Directive& directive = reading.directives()[each];
        return !isPlainDirectory(directive) ||
               withoutSlash(subjectOf(directive).text) != withoutSlash(directory);
    });
    return found;
}

std::vector<uint32_t> sectionsAbove(const Reading& reading, uint32_t block, const std::string& directory) {
    std::vector<uint32_t> sections = sectionsFor(reading, block, [&](const Directive& section) {
        return isPlainDirectory(section) && isAbout(subjectOf(section).text, directory);
    });
    const auto depth = [&](uint32_t each) { return depthOf(subjectOf(reading.directives()[each])); };
    std::stable_sort(sections.begin(), sections.end(),
                     [&](uint32_t one, uint32_t other) { return depth(one) < depth(other); });
    return sections;
}

// Where no path is known that leads to it, the site's root stands for all.
std::vector<uint32_t> sectionsBehind(const Reading& reading, uint32_t block, const std::string& directory) {
    std::vector<std::string> urls = urlsOf(reading, block, directory);
    urls.resize(std::max<size_t>(urls.size(), 1));
    return sectionsFor(reading, block, [&](const Directive& section) {
        return !isPlainDirectory(section) && comesBehind(section, directory, urls);
    });
}

std::string overridesFor(const Reading& reading, uint32_t block, const std::string& directory) {
    std::string value = "None";
    for (const uint32_t each : sectionsAbove(reading, block, directory)) {
        const auto all = reading.inSection(each, "AllowOverride");
        if (!all.empty()) {
            value = all.back()->arguments;
        }
    }
    return value;
}

}  // namespace zpweb
