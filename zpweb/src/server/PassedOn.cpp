#include "server/PassedOn.h"

#include "conf/Text.h"
#include "server/Expressions.h"
#include "server/RewriteRules.h"
#include "sys/Number.h"

namespace zpweb {

namespace {

bool isUnder(const std::string& path, const std::string& above) {
    return path.starts_with(above) &&
           (above.ends_with('/') || path.size() == above.size() || path[above.size()] == '/');
}

// "<Location /app>", "<Location ~ ^/a>", "<LocationMatch ^/a>"
bool concerns(const Directive& section, const std::string& path) {
    const bool match = section.is("LocationMatch");
    const std::vector<std::string> words = section.section && (match || section.is("Location"))
                                               ? argumentsIn(section.arguments)
                                               : std::vector<std::string>();
    if (words.empty()) {
        return false;
    }
    const bool tilde = words.size() > 1 && words.front() == "~";
    return match || tilde ? findsIn(words.back(), path) : isUnder(path, words.front());
}

bool passesOn(const Directive& directive) {
    return directive.is("ProxyPass") || directive.is("ProxyPassMatch");
}

// A section for a path above this one says so, the last one counts.
const Directive* bySection(const Reading& reading, uint32_t within, const std::string& path) {
    const auto& all = reading.directives();
    const Directive* found = nullptr;
    for (const uint32_t section : reading.childrenOf(within)) {
        const bool holds = concerns(all[section], path);
        for (const uint32_t inner : holds ? reading.childrenOf(section) : std::vector<uint32_t>()) {
            found = passesOn(all[inner]) ? &all[inner] : found;
        }
    }
    return found;
}

bool isFor(const Directive& pass, const std::string& path) {
    const std::vector<std::string> words = argumentsIn(pass.arguments);
    return words.size() > 1 &&
           (pass.is("ProxyPass") ? isUnder(path, words.front()) : findsIn(words.front(), path));
}

// The first one counts.
const Directive* byLine(const Reading& reading, uint32_t section, const std::string& path) {
    const auto& all = reading.directives();
    for (const uint32_t i : reading.childrenOf(section)) {
        if (passesOn(all[i]) && isFor(all[i], path)) {
            return &all[i];
        }
    }
    return nullptr;
}

// "Redirect 404 /old", "Redirect gone /old", "RedirectMatch 403 ^/old"
bool isError(const Directive& redirect) {
    constexpr int FirstError = 400;
    const std::vector<std::string> words = argumentsIn(redirect.arguments);
    return lowerCase(words.front()) == "gone" || leadingNumber(words.front()) >= FirstError;
}

bool leadsAway(const Directive& directive, const std::string& path) {
    const bool match = directive.is("RedirectMatch");
    if (!match && !directive.is("Redirect")) {
        return false;
    }
    const std::vector<std::string> words = argumentsIn(directive.arguments);
    const size_t at = !words.empty() && words[0].find_first_of("/^") != 0 ? 1 : 0;  // behind the status
    return words.size() > at && (match ? findsIn(words[at], path) : isUnder(path, words[at]));
}

// The first one for the path, the block's before the server's.
const Directive* redirection(const Reading& reading, uint32_t block, const std::string& path) {
    const auto& all = reading.directives();
    for (const uint32_t section : {block, Directive::None}) {
        for (const uint32_t i : reading.childrenOf(section)) {
            if (leadsAway(all[i], path)) {
                return &all[i];
            }
        }
    }
    return nullptr;
}

bool isException(const Directive& pass) {
    const std::vector<std::string> words = argumentsIn(pass.arguments);
    return words.front() == "!" || (words.size() > 1 && words[1] == "!");
}

}  // namespace

const Directive* passedOn(const Reading& reading, uint32_t block, const std::string& path) {
    if (const Directive* rule = passedOnByRule(reading, block, path)) {
        return rule;
    }
    // The block's sections come behind the server's, its lines too.
    const Directive* pass = nullptr;
    for (const uint32_t section : {block, Directive::None}) {
        pass = pass != nullptr ? pass : bySection(reading, section, path);
    }
    for (const uint32_t section : {Directive::None, block}) {
        pass = pass != nullptr ? pass : byLine(reading, section, path);
    }
    return pass == nullptr || isException(*pass) ? nullptr : pass;
}

std::string takenBy(const Reading& reading, const Directive& pass, const std::string& path) {
    return "\"" + std::string(pass.name) + " " + std::string(pass.arguments) + "\" at " +
           reading.originOf(pass).text() + " takes the requests for " + path;
}

Postcondition asksVisitors(const BlocksOf& blocks, const std::string& path) {
    return [=](const Reading& staged) {
        for (const uint32_t block : sectionsOf(staged, blocks)) {
            if (answers503(staged, block)) {
                continue;  // suspended: it asks again once it is resumed
            }
            const Directive* rule = refusedByRule(staged, block, path);
            const Directive* first = rule != nullptr ? rule : redirection(staged, block, path);
            if (first != nullptr && (first == rule || isError(*first))) {
                return notShown(takenBy(staged, *first, path) +
                                " before anybody is asked who he is: take that line away first");
            }
        }
        return done();
    };
}

Postcondition answersItself(const BlocksOf& blocks, const std::string& path, const std::string& wayOut) {
    return [=](const Reading& staged) {
        for (const uint32_t block : sectionsOf(staged, blocks)) {
            if (const Directive* pass = passedOn(staged, block, path)) {
                return notShown(takenBy(staged, *pass, path) + wayOut);
            }
        }
        return done();
    };
}

Postcondition isNotLedAway(const BlocksOf& blocks, const std::string& path, const std::string& wayOut) {
    return [=](const Reading& staged) {
        const Directive* away = nullptr;
        for (const uint32_t block : sectionsOf(staged, blocks)) {
            away = ledAwayByRule(staged, block, path);
            if (away == nullptr) {
                return done();
            }
        }
        return away == nullptr ? done() : notShown(takenBy(staged, *away, path) + wayOut);
    };
}

Postcondition passedOnBy(const BlocksOf& blocks, const std::string& path, const std::string& file) {
    return [=](const Reading& staged) {
        for (const uint32_t block : sectionsOf(staged, blocks)) {
            const Directive* pass = passedOn(staged, block, path);
            if (pass != nullptr && staged.originOf(*pass).file != file) {
                return notShown(takenBy(staged, *pass, path) + ": take that line away first");
            }
        }
        return done();
    };
}

}  // namespace zpweb
