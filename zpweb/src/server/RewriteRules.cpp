#include "server/RewriteRules.h"

#include <fnmatch.h>

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "conf/Text.h"
#include "server/Expressions.h"
#include "sys/Number.h"

namespace zpweb {

namespace {

namespace conf = zp::conf;

enum class Fit : char { No, Perhaps, Yes };

Fit fit(bool is) { return is ? Fit::Yes : Fit::No; }
Fit inverse(Fit of) { return of == Fit::Perhaps ? of : fit(of == Fit::No); }

// "[NC,R=301]"
class Flags {
public:
    Flags(const std::vector<std::string>& words, size_t at) {
        const std::string text = words.size() > at ? lowerCase(words[at]) : "";
        for (size_t i = 1, end = 0; i < text.size(); i = end + 1) {
            end = std::min(text.find_first_of(",]", i), text.size());
            const size_t nameEnd = std::min(text.find('=', i), end);
            each_.emplace_back(text.substr(i, nameEnd - i), text.substr(nameEnd, end - nameEnd));
        }
    }
    bool has(std::initializer_list<std::string_view> names) const { return find(names) != nullptr; }
    size_t number(std::initializer_list<std::string_view> names) const {
        const auto* found = find(names);
        const int number = found == nullptr || found->empty() ? 0 : leadingNumber(found->substr(1));
        return static_cast<size_t>(std::max(number, 0));
    }

private:
    const std::string* find(std::initializer_list<std::string_view> names) const {
        const auto found = std::find_if(each_.begin(), each_.end(), [&](const auto& flag) {
            return std::find(names.begin(), names.end(), flag.first) != names.end();
        });
        return found == each_.end() ? nullptr : &found->second;
    }

    std::vector<std::pair<std::string, std::string>> each_{};  // a name, and "=VALUE" or nothing
};

Letters lettersBy(const Flags& flags) {
    return flags.has({"nc", "nocase"}) ? Letters::OfAnyCase : Letters::AsWritten;
}

bool isSameText(std::string_view one, std::string_view other, Letters letters) {
    return letters == Letters::OfAnyCase ? lowerCase(one) == lowerCase(other) : one == other;
}

// An expression, or "=TEXT". Tests of another kind ("-f", "<TEXT") are not made here.
Fit meets(const std::string& pattern, const std::string& text, Letters letters) {
    if (pattern.starts_with('=')) {
        return fit(isSameText(text, pattern == "=\"\"" ? "" : pattern.substr(1), letters));
    }
    const bool isOther =
        !pattern.empty() && std::string_view("-<>").find(pattern.front()) != std::string::npos;
    return isOther ? Fit::Perhaps : fit(findsIn(pattern, text, letters));
}

// "!PATTERN" is the opposite of PATTERN.
std::string withoutMark(const std::string& word) { return word.substr(word.starts_with('!') ? 1 : 0); }
Fit byMark(const std::string& word, Fit of) { return word.starts_with('!') ? inverse(of) : of; }

// A request as far as it is known.
struct Known {
    std::optional<std::string> path;  // absent once a rule has made another one of it
    std::string host;                 // empty: any
};

// What is compared, where it can be told: an ordinary request asks for no other protocol.
std::optional<std::string> subjectOf(const std::string& test, const Known& known) {
    const std::string name = lowerCase(test);
    if ((name == "%{http_host}" || name == "%{server_name}") && !known.host.empty()) {
        return known.host;
    }
    if (name == "%{http:upgrade}" || name == "%{http:connection}") {
        return "";
    }
    return name == "%{request_uri}" ? known.path : std::nullopt;
}

Fit isMet(const std::vector<std::string>& words, const Known& known) {
    if (words.size() < 2) {
        return Fit::Perhaps;
    }
    const auto subject = subjectOf(words[0], known);
    return byMark(words[1], subject ? meets(withoutMark(words[1]), *subject, lettersBy(Flags(words, 2)))
                                    : Fit::Perhaps);
}

// All must be met; of those that "[OR]" ties together, one.
Fit areMet(const std::vector<std::vector<std::string>>& conditions, const Known& known) {
    Fit all = Fit::Yes, one = Fit::No;
    for (const auto& words : conditions) {
        one = std::max(one, isMet(words, known));
        if (!Flags(words, 2).has({"or", "ornext"})) {
            all = std::min(all, one);
            one = Fit::No;
        }
    }
    return all;
}

// "[F]", "[G]", "[R=404]"
bool refuses(const Flags& flags) {
    constexpr size_t FirstError = 400;
    return flags.has({"f", "forbidden", "g", "gone"}) || flags.number({"r", "redirect"}) >= FirstError;
}

// Does the rule answer with an address of a host that is none of the site's? One that the request tells is.
bool leadsAway(const std::string& target, const Flags& flags, const std::vector<std::string>& own) {
    const size_t scheme = target.find("://");
    if (!target.starts_with("http") || scheme == std::string::npos || flags.has({"p", "proxy"})) {
        return false;
    }
    const std::string_view behind = std::string_view(target).substr(scheme + 3);
    const std::string host = lowerCase(conf::upTo(behind, "/:?%$"));
    const bool isWhole = host.size() == conf::upTo(behind, "/:?").size();
    return std::none_of(own.begin(), own.end(), [&](const std::string& name) {
        const bool isPattern = name.find_first_of("*?") != std::string::npos;
        return isWhole ? ::fnmatch(name.c_str(), host.c_str(), FNM_CASEFOLD) == 0
                       : isPattern || name.starts_with(host);
    });
}

// The block's own name, or an empty one, and then those that its ServerAlias lines say.
std::vector<std::string> hostNamesOf(const Reading& reading, uint32_t block) {
    std::vector<std::string> names{hostNameIn(reading.valueIn(block, "ServerName"))};
    for (const Directive* line : reading.inSection(block, "ServerAlias")) {
        for (const std::string& name : argumentsIn(line->arguments)) {
            names.push_back(lowerCase(name));
        }
    }
    return names;
}

// Which rule is looked for: one that may pass requests on, one that certainly refuses them, or one that
// certainly leads those for the site's own name to another host.
enum class Sought : char { PassedOn, Refused, LedAway };

// The rules of a section, in their order, for one path.
class Walk {
public:
    // The names are the site's, the first one that of the requests; without any they are for any host.
    Walk(const std::string& path, Sought sought, std::vector<std::string> names)
        : known_{path, names.empty() ? "" : names.front()}, sought_(sought), own_(std::move(names)) {}

    // Null also where the rule does not take the request.
    const Directive* take(const Directive& rule) {
        const std::vector<std::string> words = argumentsIn(rule.arguments);
        const Flags flags(words, 2);
        const Fit reached = nextIsReached();
        const Fit applies = words.size() < 2
                                ? Fit::No
                                : std::min({reached, chained_, fits(words[0], lettersBy(flags)),
                                            areMet(conditions_, known_)});
        conditions_.clear();
        // A rule that is skipped breaks no chain.
        const Fit onward = reached == Fit::Yes ? applies : inverse(reached);
        chained_ = flags.has({"c", "chain"}) ? onward : Fit::Yes;
        if (applies == Fit::No) {
            return nullptr;
        }
        skip(applies, flags.number({"s", "skip"}));
        over_ = applies == Fit::Yes &&
                flags.has({"l", "last", "end", "r", "redirect", "f", "forbidden", "g", "gone"});
        if (words[1] != "-") {
            known_.path.reset();
        }
        return isSought(applies, words[1], flags) ? &rule : nullptr;
    }
    void add(const Directive& condition) { conditions_.push_back(argumentsIn(condition.arguments)); }
    bool isOver() const { return over_; }

private:
    bool isSought(Fit applies, const std::string& target, const Flags& flags) const {
        switch (sought_) {
            case Sought::PassedOn:
                return flags.has({"p", "proxy"});
            case Sought::Refused:
                return applies == Fit::Yes && refuses(flags);
            case Sought::LedAway:
                return applies == Fit::Yes && leadsAway(target, flags, own_);
        }
        return false;
    }
    void skip(Fit applies, size_t rules) {
        size_t& count = applies == Fit::Yes ? skipped_ : perhapsSkipped_;
        count = std::max(count, rules);
    }
    Fit nextIsReached() {
        const Fit reached = skipped_ > 0 ? Fit::No : perhapsSkipped_ > 0 ? Fit::Perhaps : Fit::Yes;
        for (size_t* count : {&skipped_, &perhapsSkipped_}) {
            *count -= *count > 0 ? 1 : 0;
        }
        return reached;
    }
    // A rule's own pattern is always an expression.
    Fit fits(const std::string& word, Letters letters) const {
        return byMark(word,
                      known_.path ? fit(findsIn(withoutMark(word), *known_.path, letters)) : Fit::Perhaps);
    }

    Known known_;
    Sought sought_;
    std::vector<std::string> own_;
    std::vector<std::vector<std::string>> conditions_{};
    Fit chained_ = Fit::Yes;                   // does the next rule's chain hold so far?
    size_t skipped_ = 0, perhapsSkipped_ = 0;  // of the rules to come, by "[S=2]"
    bool over_ = false;
};

const Directive* firstRule(const Reading& reading, uint32_t block, const std::string& path, Sought sought) {
    if (lowerCase(reading.valueIn(block, "RewriteEngine")) != "on") {
        return nullptr;
    }
    const auto& all = reading.directives();
    Walk walk(path, sought,
              sought == Sought::LedAway ? hostNamesOf(reading, block) : std::vector<std::string>());
    for (const uint32_t i : reading.childrenOf(block)) {
        if (walk.isOver()) {
            break;
        }
        if (all[i].is("RewriteCond")) {
            walk.add(all[i]);
        } else if (const auto* taken = all[i].is("RewriteRule") ? walk.take(all[i]) : nullptr) {
            return taken;
        }
    }
    return nullptr;
}

}  // namespace

const Directive* passedOnByRule(const Reading& reading, uint32_t block, const std::string& path) {
    return firstRule(reading, block, path, Sought::PassedOn);
}

const Directive* refusedByRule(const Reading& reading, uint32_t block, const std::string& path) {
    return firstRule(reading, block, path, Sought::Refused);
}

const Directive* ledAwayByRule(const Reading& reading, uint32_t block, const std::string& path) {
    return firstRule(reading, block, path, Sought::LedAway);
}

}  // namespace zpweb
