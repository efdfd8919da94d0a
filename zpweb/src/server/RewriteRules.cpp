#include "server/RewriteRules.h"

#include <algorithm>
#include <optional>

#include "server/Expressions.h"

namespace zpweb {

namespace {

enum class Fit : char { No, Perhaps, Yes };

Fit fit(bool is) { return is ? Fit::Yes : Fit::No; }
Fit inverse(Fit of) { return of == Fit::Perhaps ? of : fit(of == Fit::No); }

// The names of "[NC,R=301]", in lower case.
std::vector<std::string> flagsIn(const std::vector<std::string>& words, size_t at) {
    std::vector<std::string> flags;
    const std::string text = words.size() > at ? lowerCase(words[at]) : "";
    for (size_t i = 1; i < text.size(); i = std::min(text.find_first_of(",]", i), text.size()) + 1) {
        const size_t end = text.find_first_of("=,]", i);
        flags.push_back(text.substr(i, end == std::string::npos ? end : end - i));
    }
    return flags;
}

bool has(const std::vector<std::string>& flags, std::initializer_list<const char*> names) {
    return std::any_of(names.begin(), names.end(), [&](const char* name) {
        return std::find(flags.begin(), flags.end(), name) != flags.end();
    });
}

Letters lettersBy(const std::vector<std::string>& flags) {
    return has(flags, {"nc", "nocase"}) ? Letters::OfAnyCase : Letters::AsWritten;
}

bool isSame(std::string_view one, std::string_view other, Letters letters) {
    return letters == Letters::OfAnyCase ? lowerCase(one) == lowerCase(other) : one == other;
}

// An expression, or "=TEXT". Tests of another kind ("-f", "<TEXT") are not made here.
Fit meets(const std::string& pattern, const std::string& text, Letters letters) {
    if (pattern.starts_with('=')) {
        return fit(isSame(text, pattern == "=\"\"" ? "" : pattern.substr(1), letters));
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
    return byMark(words[1], subject ? meets(withoutMark(words[1]), *subject, lettersBy(flagsIn(words, 2)))
                                    : Fit::Perhaps);
}

// All must be met; of those that "[OR]" ties together, one.
Fit areMet(const std::vector<std::vector<std::string>>& conditions,
           const std::optional<std::string>& path) {
    Fit all = Fit::Yes, one = Fit::No;
    for (const auto& words : conditions) {
        one = std::max(one, isMet(words, path));
        if (!has(flagsIn(words, 2), {"or", "ornext"})) {
            all = std::min(all, one);
            one = Fit::No;
        }
    }
    return all;
}

// The rules of a section, in their order, for one path.
class Walk {
public:
    explicit Walk(const std::string& path) : path_(path) {}

    // Null also where the rule does not take the request.
    const Directive* take(const Directive& rule) {
        const std::vector<std::string> words = argumentsIn(rule.arguments);
        const auto flags = flagsIn(words, 2);
        const Fit applies = words.size() < 2 || chainBroken_
                                ? Fit::No
                                : std::min(fits(words[0], lettersBy(flags)), areMet(conditions_, path_));
        conditions_.clear();
        chainBroken_ = applies == Fit::No && has(flags, {"c", "chain"});
        if (applies != Fit::No && has(flags, {"p", "proxy"})) {
            return &rule;
        }
        if (applies == Fit::Yes) {
            over_ = has(flags, {"l", "last", "end", "r", "redirect", "f", "forbidden", "g", "gone"});
        }
        if (applies != Fit::No && words[1] != "-") {
            path_.reset();
        }
        return nullptr;
    }
    void add(const Directive& condition) { conditions_.push_back(argumentsIn(condition.arguments)); }
    bool isOver() const { return over_; }

private:
    // A rule's own pattern is always an expression.
    Fit fits(const std::string& word, Letters letters) const {
        return byMark(word, path_ ? fit(findsIn(withoutMark(word), *path_, letters)) : Fit::Perhaps);
    }

    std::optional<std::string> path_;  // absent once a rule has made another one of it
    std::vector<std::vector<std::string>> conditions_{};
    bool chainBroken_ = false, over_ = false;
};

}  // namespace

const Directive* passedOnByRule(const Reading& reading, uint32_t block, const std::string& path) {
    if (lowerCase(reading.valueIn(block, "RewriteEngine")) != "on") {
        return nullptr;
    }
    const auto& all = reading.directives();
    const bool server = block == Directive::None;
    const auto end = server ? static_cast<uint32_t>(all.size()) : all[block].end;
    Walk walk(path);
    for (uint32_t i = server ? 0 : block + 1; i < end && !walk.isOver(); i = all[i].end) {
        if (all[i].is("RewriteCond")) {
            walk.add(all[i]);
        } else if (const auto* taken = all[i].is("RewriteRule") ? walk.take(all[i]) : nullptr) {
            return taken;
        }
    }
    return nullptr;
}

}  // namespace zpweb
