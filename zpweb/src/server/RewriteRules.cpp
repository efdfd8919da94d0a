#include "server/RewriteRules.h"

#include <algorithm>
#include <optional>

#include "server/Expressions.h"
#include "sys/Number.h"

namespace zpweb {

namespace {

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

// What is compared, where it can be told: an ordinary request asks for no other protocol.
std::optional<std::string> subjectOf(const std::string& test, const std::optional<std::string>& path) {
    const std::string name = lowerCase(test);
    if (name == "%{http:upgrade}" || name == "%{http:connection}") {
        return "";
    }
    return name == "%{request_uri}" ? path : std::nullopt;
}

Fit isMet(const std::vector<std::string>& words, const std::optional<std::string>& path) {
    if (words.size() < 2) {
        return Fit::Perhaps;
    }
    const auto subject = subjectOf(words[0], path);
    return byMark(words[1], subject ? meets(withoutMark(words[1]), *subject, lettersBy(Flags(words, 2)))
                                    : Fit::Perhaps);
}

// All must be met; of those that "[OR]" ties together, one.
Fit areMet(const std::vector<std::vector<std::string>>& conditions,
           const std::optional<std::string>& path) {
    Fit all = Fit::Yes, one = Fit::No;
    for (const auto& words : conditions) {
        one = std::max(one, isMet(words, path));
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

// Which rule is looked for: one that may pass requests on, or one that certainly refuses them.
enum class Sought : char { PassedOn, Refused };

// The rules of a section, in their order, for one path.
class Walk {
public:
    Walk(const std::string& path, Sought sought) : path_(path), sought_(sought) {}

    // Null also where the rule does not take the request.
    const Directive* take(const Directive& rule) {
        const std::vector<std::string> words = argumentsIn(rule.arguments);
        const Flags flags(words, 2);
        const Fit reached = nextIsReached();
        const Fit applies = words.size() < 2
                                ? Fit::No
                                : std::min({reached, chained_, fits(words[0], lettersBy(flags)),
                                            areMet(conditions_, path_)});
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
            path_.reset();
        }
        const bool found =
            sought_ == Sought::PassedOn ? flags.has({"p", "proxy"}) : applies == Fit::Yes && refuses(flags);
        return found ? &rule : nullptr;
    }
    void add(const Directive& condition) { conditions_.push_back(argumentsIn(condition.arguments)); }
    bool isOver() const { return over_; }

private:
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
        return byMark(word, path_ ? fit(findsIn(withoutMark(word), *path_, letters)) : Fit::Perhaps);
    }

    std::optional<std::string> path_;  // absent once a rule has made another one of it
    Sought sought_;
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
    const bool server = block == Directive::None;
    const auto end = server ? static_cast<uint32_t>(all.size()) : all[block].end;
    Walk walk(path, sought);
    for (uint32_t i = server ? 0 : block + 1; i < end && !walk.isOver(); i = all[i].end) {
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

}  // namespace zpweb
