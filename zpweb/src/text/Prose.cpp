#include "text/Prose.h"

#include <algorithm>

#include "conf/Text.h"

namespace zpweb {

namespace {

constexpr std::string_view EndsOfPhrases = ".,:;!?)]";

// No directive of any module is called so.
constexpr std::string_view NoDirectives[] = {
    "a",   "all",  "also", "an",    "and",   "any",  "are",   "as",      "at",   "be",   "but",
    "by",  "each", "etc",  "for",   "from",  "here", "if",    "in",      "is",   "it",   "its",
    "may", "must", "not",  "now",   "of",    "on",   "one",   "only",    "or",   "our",  "should",
    "so",  "some", "than", "that",  "the",   "then", "there", "these",   "they", "this", "those",
    "to",  "we",   "when", "where", "which", "will", "with",  "without", "you",  "your"};

bool canBeginDirective(char c) {
    return zp::conf::isLetter(c) || c == '$' || c == '"' || c == '\'' || c == '<' || c == '#';
}

}  // namespace

bool isProse(std::string_view text) {
    const std::string_view word = zp::conf::upTo(text, " \t\r\n");
    if (word.empty() || word.front() == '#' || word.front() == '<') {
        return false;
    }
    return !canBeginDirective(word.front()) || EndsOfPhrases.find(word.back()) != word.npos ||
           std::any_of(std::begin(NoDirectives), std::end(NoDirectives),
                       [word](std::string_view each) { return zp::conf::equalIgnoringCase(word, each); });
}

}  // namespace zpweb
