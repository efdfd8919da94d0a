#include "server/PassedOn.h"

#include "conf/Text.h"

namespace zpweb {

namespace {

bool isBelow(const std::string& path, const std::string& above) {
    return path.starts_with(above) &&
           (above.ends_with('/') || path.size() == above.size() || path[above.size()] == '/');
}

// A section of the block for a path above this one says so, the last one counts.
const Directive* bySection(const Reading& reading, uint32_t block, const std::string& path) {
    const auto& all = reading.directives();
    const Directive* found = nullptr;
    for (uint32_t i = block + 1; i < all[block].end; i = all[i].end) {
        const auto words = all[i].section && all[i].is("Location") ? argumentsIn(all[i].arguments)
                                                                   : std::vector<std::string>();
        const auto passes = words.empty() || words.front() == "~" || !isBelow(path, words.front())
                                ? std::vector<const Directive*>()
                                : reading.inSection(i, "ProxyPass");
        found = passes.empty() ? found : passes.back();
    }
    return found;
}

// The first one counts.
const Directive* byLine(const Reading& reading, uint32_t section, const std::string& path) {
    for (const Directive* pass : reading.inSection(section, "ProxyPass")) {
        const std::vector<std::string> words = argumentsIn(pass->arguments);
        if (words.size() > 1 && isBelow(path, words.front())) {
            return pass;
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
    const Directive* pass = block == Directive::None ? nullptr : bySection(reading, block, path);
    for (const uint32_t section : {block, Directive::None}) {
        pass = pass != nullptr ? pass : byLine(reading, section, path);
    }
    return pass == nullptr || isException(*pass) ? nullptr : pass;
}

std::string takenBy(const Reading& reading, const Directive& pass, const std::string& path) {
    return "\"" + std::string(pass.name) + " " + std::string(pass.arguments) + "\" at " +
           reading.originOf(pass).text() + " takes the requests for " + path;
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
