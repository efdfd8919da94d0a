#include "server/DirectoryRules.h"

#include <algorithm>

#include "conf/Text.h"
#include "server/DirectoryPaths.h"
#include "server/DirectorySections.h"
#include "server/DirectoryUrls.h"
#include "server/PassedOn.h"
#include "server/Postconditions.h"

namespace zpweb {

namespace {

bool isRequirement(const Directive& directive) { return lowerCase(directive.name).starts_with("require"); }

// The terms of a section as lines, those of nested sections with their tags.
void addTerms(const Reading& reading, uint32_t section, std::vector<std::string>& lines) {
    for (const uint32_t child : reading.childrenOf(section)) {
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
std::vector<std::string> termsAsked(const std::vector<std::string>& asked) {
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

bool saysTo(const Directive& directive, std::string_view name, std::string_view arguments) {
    return directive.is(name) && lowerCase(directive.arguments) == arguments;
}

// "Satisfy Any" lets in whoever an Allow line or a Require line lets in, and without either everybody.
const Directive* laxity(const Reading& reading, uint32_t section) {
    const auto& all = reading.directives();
    const auto end = all.begin() + all[section].end;
    const auto found = std::find_if(all.begin() + section, end,
                                    [](const Directive& each) { return saysTo(each, "Satisfy", "any"); });
    return found == end ? nullptr : &*found;
}

// The first of a section's own terms that lets anybody in. They take the place of those before them unless
// AuthMerging asks for both.
const Directive* admission(const Reading& reading, uint32_t section) {
    const auto& all = reading.directives();
    const auto end = all.begin() + all[section].end;
    const bool both = std::any_of(all.begin() + section, end,
                                  [](const Directive& each) { return saysTo(each, "AuthMerging", "and"); });
    const auto found = std::find_if(all.begin() + section, end, [](const Directive& each) {
        return !each.section && isRequirement(each) && !saysTo(each, "Require", "all denied");
    });
    return both || found == end ? nullptr : &*found;
}

// What the directory's own section says of some methods alone.
const Directive* exception(const Reading& reading, uint32_t section) {
    for (const uint32_t child : reading.childrenOf(section)) {
        const Directive& each = reading.directives()[child];
        const bool limits = each.is("Limit") || each.is("LimitExcept");
        if (const Directive* admits = limits ? admission(reading, child) : nullptr) {
            return admits;
        }
    }
    return nullptr;
}

template <typename Search>
const Directive* firstIn(const Reading& reading, const std::vector<uint32_t>& sections,
                         const Search& search) {
    for (const uint32_t each : sections) {
        if (const Directive* found = search(reading, each)) {
            return found;
        }
    }
    return nullptr;
}

// What lets in whom the directory's section keeps out.
const Directive* wayAround(const Reading& reading, uint32_t block, const std::string& directory) {
    const std::vector<uint32_t> behind = sectionsBehind(reading, block, directory);
    for (const Directive* found :
         {firstIn(reading, sectionsAbove(reading, block, directory), laxity),
          firstIn(reading, directorySections(reading, block, directory), exception),
          firstIn(reading, behind, laxity), firstIn(reading, behind, admission)}) {
        if (found != nullptr) {
            return found;
        }
    }
    return nullptr;
}

// The line of a section that counts for the document root in place of the block's own; null when none does.
const Directive* overruling(const Reading& reading, uint32_t block, const std::string& root,
                            const std::string& directive, const std::string& first) {
    for (const auto& sections :
         {sectionsAbove(reading, block, root), sectionsBehind(reading, block, root)}) {
        for (const uint32_t each : sections) {
            const auto lines = reading.inSection(each, directive);
            const auto line = std::find_if(lines.begin(), lines.end(), [&](const Directive* other) {
                const std::vector<std::string> words = argumentsIn(other->arguments);
                return first.empty() || (!words.empty() && words.front() == first);
            });
            if (line != lines.end() && !reading.directives()[each].is("If")) {
                return *line;
            }
        }
    }
    return nullptr;
}

bool admitsPasswords(const std::string& overrides) {
    const std::string lower = lowerCase(overrides);
    return zp::conf::contains(lower, "all") || zp::conf::contains(lower, "authconfig");
}

}  // namespace

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
            if (Outcome closed = nothingGoesAround(staged, block, directory); !closed.ok()) {
                return closed;
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

Outcome countsAtRoot(const Reading& reading, const Directive& line, const std::string& root) {
    return notShown("\"" + std::string(line.name) + " " + std::string(line.arguments) + "\" at " +
                    reading.originOf(line).text() + " counts for " + root +
                    ": say it in a section for that directory (zpweb folder add, or folder line where the "
                    "site has one)");
}

Outcome nothingGoesAround(const Reading& reading, uint32_t block, const std::string& directory) {
    std::vector<std::string> urls = urlsOf(reading, block, directory);
    urls.resize(std::max<size_t>(urls.size(), 1));
    for (const std::string& way : urls) {
        const std::string url = way.empty() ? "/" : way;
        if (const Directive* pass = passedOn(reading, block, url)) {
            return notShown(takenBy(reading, *pass, url) +
                            ", and no directory is asked for: \"access set\" closes the path");
        }
    }
    const Directive* way = wayAround(reading, block, directory);
    return way == nullptr ? done()
                          : notShown("\"" + std::string(way->name) + " " + std::string(way->arguments) +
                                     "\" at " + reading.originOf(*way).text() + " lets others into " +
                                     directory + ": change it there first");
}

Postcondition isRestricted(const BlocksOf& blocks, const std::string& directory,
                           const std::vector<std::vector<std::string>>& lists) {
    std::vector<std::vector<std::string>> asked;
    asked.reserve(lists.size());
    for (const std::vector<std::string>& lines : lists) {
        asked.push_back(termsAsked(lines));
    }
    return [=](const Reading& staged) {
        for (const uint32_t block : sectionsOf(staged, blocks)) {
            std::vector<uint32_t> own = directorySections(staged, block, directory);
            std::erase_if(own, [&](uint32_t each) { return termsOf(staged, each).empty(); });
            const auto terms = own.empty() ? std::vector<std::string>() : termsOf(staged, own.back());
            if (std::find(asked.begin(), asked.end(), terms) == asked.end()) {
                const uint32_t at = own.empty() ? block : own.back();
                return notShown("who may see " + directory + " is not as asked at " +
                                staged.originOf(staged.directives()[at]).text());
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

Postcondition holdsAtRoot(const BlocksOf& blocks, const std::string& directive, const std::string& first) {
    return [=](const Reading& staged) {
        for (const uint32_t block : sectionsOf(staged, blocks)) {
            const std::string root = staged.rootIn(block);
            const Directive* other =
                root.empty() ? nullptr : overruling(staged, block, root, directive, first);
            if (other != nullptr) {
                return countsAtRoot(staged, *other, root);
            }
        }
        return done();
    };
}

}  // namespace zpweb
