#include "server/DirectoryOptions.h"

#include <algorithm>
#include <map>

#include "server/DirectoryPaths.h"
#include "server/DirectoryRules.h"
#include "server/DirectorySections.h"

namespace zpweb {

namespace {

constexpr const char* OptionNames[] = {"indexes", "includes",   "includesnoexec",      "followsymlinks",
                                       "execcgi", "multiviews", "symlinksifownermatch"};

bool switchedOn(const std::vector<std::string>& words, const std::string& option) {
    bool on = false;
    for (const std::string& word : words) {
        const bool sign = word.starts_with('+') || word.starts_with('-');
        const std::string name = lowerCase(std::string_view(word).substr(sign ? 1 : 0));
        on = name == lowerCase(option) || name == "all" ? !word.starts_with('-') : on;
    }
    return on;
}

// What the lines have made of each option, and the last one that said so; none has: the block's own.
struct Switch {
    bool on = false;
    const Directive* by = nullptr;
};
using Switches = std::map<std::string, Switch>;

bool isRelative(const std::string& word) { return word.starts_with('+') || word.starts_with('-'); }

// A line without signs takes the place of all that was said before.
void apply(Switches& switches, const std::vector<std::string>& words, const Directive* by) {
    const bool anew = std::none_of(words.begin(), words.end(), isRelative);
    for (const char* name : OptionNames) {
        const bool named = std::any_of(words.begin(), words.end(), [name](const std::string& word) {
            const std::string option = lowerCase(isRelative(word) ? word.substr(1) : word);
            return option == name || (option == "all" && name != std::string("multiviews"));
        });
        if (anew || named) {
            switches[name] = {switchedOn(words, name), by};
        }
    }
}

// As the server merges them: of directories the shorter path first, then what comes behind.
std::vector<uint32_t> mergedSections(const Reading& reading, uint32_t block, const std::string& root) {
    std::vector<uint32_t> sections = sectionsAbove(reading, block, root);
    const auto length = [&reading](uint32_t each) {
        const std::vector<std::string> words = argumentsIn(reading.directives()[each].arguments);
        return words.empty() ? 0 : withoutSlash(words.front()).size();
    };
    std::stable_sort(sections.begin(), sections.end(),
                     [&length](uint32_t one, uint32_t other) { return length(one) < length(other); });
    for (const uint32_t each : sectionsBehind(reading, block, root)) {
        if (!reading.directives()[each].is("If")) {
            sections.push_back(each);
        }
    }
    return sections;
}

// The line that counts for the root in place of what is asked for; null when none does.
const Directive* overruling(const Reading& reading, uint32_t block, const std::string& root,
                            const std::vector<std::string>& asked) {
    Switches wanted, there;
    apply(wanted, asked, nullptr);
    there = wanted;
    for (const uint32_t section : mergedSections(reading, block, root)) {
        for (const Directive* line : reading.inSection(section, "Options")) {
            apply(there, argumentsIn(line->arguments), line);
        }
    }
    for (const auto& [option, state] : wanted) {
        if (there[option].on != state.on) {
            return there[option].by;
        }
    }
    return nullptr;
}

}  // namespace

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

Postcondition optionsHoldAtRoot(const BlocksOf& blocks, const std::string& value) {
    return [=](const Reading& staged) {
        for (const uint32_t block : sectionsOf(staged, blocks)) {
            const std::string root = staged.rootIn(block);
            const Directive* other =
                root.empty() ? nullptr : overruling(staged, block, root, argumentsIn(value));
            if (other != nullptr) {
                return countsAtRoot(staged, *other, root);
            }
        }
        return done();
    };
}

}  // namespace zpweb
