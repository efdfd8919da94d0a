#include "server/BlockPostconditions.h"

#include <algorithm>

#include "conf/Text.h"
#include "server/DirectoryRules.h"
#include "server/DirectorySections.h"

namespace zpweb {

namespace {

// Word by word, as the server takes them; its variables are resolved in what it shows.
bool saysTheSame(std::string_view shown, std::string_view asked) {
    return zp::conf::contains(asked, "${") || argumentsIn(shown) == argumentsIn(asked);
}

std::string place(const Reading& reading, uint32_t section) {
    return section == Directive::None ? "the server's level"
                                      : reading.originOf(reading.directives()[section]).text();
}

std::string quoted(std::string_view directive, std::string_view arguments) {
    return "\"" + std::string(directive) + (arguments.empty() ? "" : " ") + std::string(arguments) + "\"";
}

// A line of a section as its name and its arguments.
std::pair<std::string_view, std::string_view> parted(std::string_view line) {
    const std::string_view name = zp::conf::upTo(zp::conf::skipSpace(line), " \t");
    return {name, zp::conf::skipSpace(zp::conf::skipSpace(line).substr(name.size()))};
}

// Of tags, comments and what is not shown nothing can be said.
bool canTell(std::string_view line) {
    const std::string_view name = parted(line).first;
    return !name.empty() && !name.starts_with('<') && !name.starts_with('#') && isShown(std::string(name));
}

// Does it say who may see a directory, other than everybody?
bool keepsOut(const std::string& line) {
    const auto [name, arguments] = parted(line);
    return lowerCase(name).starts_with("require") &&
           lowerCase(zp::conf::trimEnd(arguments)) != "all granted";
}

// Is the line anywhere in one of the sections?
bool holdsLine(const Reading& reading, const std::vector<uint32_t>& sections, std::string_view line) {
    const auto [name, arguments] = parted(line);
    for (const uint32_t section : sections) {
        for (uint32_t i = section + 1; i < reading.directives()[section].end; ++i) {
            const Directive& each = reading.directives()[i];
            if (each.is(name) && saysTheSame(each.arguments, arguments)) {
                return true;
            }
        }
    }
    return false;
}

bool isOfKind(const Directive& directive, std::string_view name) {
    const bool require = lowerCase(name).starts_with("require");
    return require ? lowerCase(directive.name).starts_with("require") : directive.is(name);
}

// "+Indexes -Includes" leaves other options as they are.
bool leavesOptions(const Directive& later, std::string_view asked) {
    const std::vector<std::string> words = argumentsIn(later.arguments);
    const std::vector<std::string> all = argumentsIn(asked);
    const auto isAskedOtherwise = [&all](std::string_view word) {
        return std::any_of(all.begin(), all.end(), [word](const std::string& each) {
            const bool sign = each.starts_with('+') || each.starts_with('-');
            return zp::conf::equalIgnoringCase(word.substr(1),
                                               std::string_view(each).substr(sign ? 1 : 0)) &&
                   word.starts_with('-') != each.starts_with('-');
        });
    };
    return later.is("Options") && std::all_of(words.begin(), words.end(), [&](const std::string& word) {
               return (word.starts_with('+') || word.starts_with('-')) && !isAskedOtherwise(word);
           });
}

// What a later one of the sections says against the line of an earlier one; null when nothing does.
const Directive* overrulerOf(const Reading& reading, const std::vector<uint32_t>& sections,
                             std::string_view line) {
    const auto [name, arguments] = parted(line);
    const Directive* overruler = nullptr;
    const bool overruling = lowerCase(name).starts_with("require") || isReplaced(name);
    for (const uint32_t section : overruling ? sections : std::vector<uint32_t>()) {
        const auto& all = reading.directives();
        for (const uint32_t i : reading.childrenOf(section)) {
            const bool overrules = isOfKind(all[i], name) && !leavesOptions(all[i], arguments);
            overruler = overrules ? &all[i] : overruler;
        }
        overruler = holdsLine(reading, {section}, line) ? nullptr : overruler;
    }
    return overruler;
}

bool isOpen(std::string_view arguments) { return lowerCase(zp::conf::trimEnd(arguments)) == "all granted"; }

// What lets everybody in beside lines that keep out, and is none of them: of terms side by side one is
// enough.
const Directive* opening(const Reading& reading, const std::vector<uint32_t>& sections,
                         const std::vector<std::string>& lines) {
    const bool asked = std::any_of(lines.begin(), lines.end(),
                                   [](const std::string& line) { return isOpen(parted(line).second); });
    const Directive* open = nullptr;
    for (const uint32_t section : asked ? std::vector<uint32_t>() : sections) {
        bool first = true;
        for (uint32_t i = section + 1; i < reading.directives()[section].end; ++i) {
            const Directive& each = reading.directives()[i];
            if (isOfKind(each, "Require")) {  // the terms of the last section that has some count
                open = first ? nullptr : open;
                open = open == nullptr && isOpen(each.arguments) ? &each : open;
                first = false;
            }
        }
    }
    return open;
}

}  // namespace

std::vector<uint32_t> sectionsOf(const Reading& reading, const BlocksOf& blocks) {
    std::vector<uint32_t> sections;
    if (!reading.complete()) {
        return {};
    }
    if (blocks.site.empty()) {
        return {Directive::None};
    }
    for (const VirtualHost* host : hostsOf(reading, blocks)) {
        if (host->directive != Directive::None) {
            sections.push_back(host->directive);
        }
    }
    return sections;
}

bool isShown(const std::string& directive) {
    static constexpr std::string_view read[] = {"Include",    "IncludeOptional",   "Define",   "UnDefine",
                                                "Use",        "UndefMacro",        "LoadFile", "LoadModule",
                                                "ServerRoot", "DefaultRuntimeDir", "Error"};
    return std::none_of(std::begin(read), std::end(read), [&](std::string_view each) {
        return zp::conf::equalIgnoringCase(each, directive);
    });
}

bool isReplaced(std::string_view directive) {
    static constexpr std::string_view names[] = {
        "AddDefaultCharset", "AllowOverride", "AllowOverrideList", "AuthBasicProvider", "AuthGroupFile",
        "AuthMerging",       "AuthName",      "AuthType",          "AuthUserFile",      "DirectoryIndex",
        "DirectorySlash",    "EnableMMAP",    "EnableSendfile",    "ExpiresActive",     "ExpiresDefault",
        "FallbackResource",  "FileETag",      "ForceType",         "LimitRequestBody",  "Options",
        "RewriteBase",       "RewriteEngine", "Satisfy",           "ServerSignature",   "SetHandler"};
    return std::any_of(std::begin(names), std::end(names), [directive](std::string_view each) {
        return zp::conf::equalIgnoringCase(each, directive);
    });
}

Postcondition inEffect(const BlocksOf& blocks, const std::string& directive, const std::string& arguments) {
    return [=](const Reading& staged) {
        const std::vector<uint32_t> sections = sectionsOf(staged, blocks);
        bool found = sections.empty();
        for (const uint32_t section : sections) {
            const auto all = staged.inSection(section, directive);
            found = found || !all.empty();
            if (!all.empty() && !saysTheSame(all.back()->arguments, arguments)) {
                return notShown(quoted(directive, all.back()->arguments) + " at " +
                                staged.originOf(*all.back()).text() + " is in effect, not " +
                                quoted(directive, arguments));
            }
        }
        return found ? done() : notShown("no " + directive + " is in effect");
    };
}

Postcondition carries(const BlocksOf& blocks, const std::string& directive, const std::string& arguments) {
    return [=](const Reading& staged) {
        for (const uint32_t section : sectionsOf(staged, blocks)) {
            const auto all = staged.inSection(section, directive);
            if (std::none_of(all.begin(), all.end(), [&](const Directive* each) {
                    return saysTheSame(each->arguments, arguments);
                })) {
                return notShown(quoted(directive, arguments) + " is not in effect at " +
                                place(staged, section));
            }
        }
        return done();
    };
}

Postcondition carriesNoMore(const BlocksOf& blocks, const std::string& directive,
                            const std::optional<std::string>& arguments) {
    return [=](const Reading& staged) {
        for (const uint32_t section : sectionsOf(staged, blocks)) {
            for (const Directive* each : staged.inSection(section, directive)) {
                if (!arguments || saysTheSame(each->arguments, *arguments)) {
                    return notShown(quoted(directive, each->arguments) + " is still in effect, by " +
                                    staged.originOf(*each).text() + ": change it there");
                }
            }
        }
        return done();
    };
}

Postcondition directoryHas(const BlocksOf& blocks, const std::string& directory,
                           const std::vector<std::string>& lines, Holders holders) {
    return [=](const Reading& staged) {
        const std::vector<uint32_t> sections = sectionsOf(staged, blocks);
        bool found = holders != Holders::Some || sections.empty();
        for (const uint32_t section : sections) {
            const std::vector<uint32_t> own = directorySections(staged, section, directory);
            const bool elsewhere = holders == Holders::AtRoot && staged.rootIn(section) != directory;
            found = found || !own.empty();
            if (elsewhere || (own.empty() && holders == Holders::Some)) {
                continue;
            }
            for (const std::string& line : lines) {
                if (canTell(line) && !holdsLine(staged, own, line)) {
                    return notShown("\"" + line + "\" is not in effect for " + directory + " at " +
                                    place(staged, section));
                }
                if (const Directive* other = overrulerOf(staged, own, line)) {
                    return notShown(quoted(other->name, other->arguments) + " at " +
                                    staged.originOf(*other).text() + " comes later and counts for " +
                                    directory + ": change that (folder line, folder set, folder delete)");
                }
            }
            const bool closes = std::any_of(lines.begin(), lines.end(), keepsOut);
            if (const Directive* open = closes ? opening(staged, own, lines) : nullptr) {
                return notShown(
                    quoted(open->name, open->arguments) + " at " + staged.originOf(*open).text() +
                    " lets everybody into " + directory +
                    " all the same: take it away in the same change (folder set, or folder line "
                    "--remove with zpweb apply)");
            }
            if (Outcome closed = closes ? nothingGoesAround(staged, section, directory) : done();
                !closed.ok()) {
                return closed;
            }
        }
        return found ? done() : notShown("no <Directory> section for " + directory + " is in effect");
    };
}

Postcondition directoryLacks(const BlocksOf& blocks, const std::string& directory,
                             const std::string& line) {
    return [=](const Reading& staged) {
        for (const uint32_t section : sectionsOf(staged, blocks)) {
            const std::vector<uint32_t> own = directorySections(staged, section, directory);
            if (canTell(line) && holdsLine(staged, own, line)) {
                return notShown("\"" + line + "\" is still in effect for " + directory + " at " +
                                place(staged, own.front()));
            }
        }
        return done();
    };
}

Postcondition hasNoDirectory(const BlocksOf& blocks, const std::string& directory) {
    return [=](const Reading& staged) {
        for (const uint32_t section : sectionsOf(staged, blocks)) {
            if (const auto own = directorySections(staged, section, directory); !own.empty()) {
                return notShown("a <Directory> section for " + directory + " is still in effect, by " +
                                place(staged, own.front()) + ": change it there");
            }
        }
        return done();
    };
}

}  // namespace zpweb
