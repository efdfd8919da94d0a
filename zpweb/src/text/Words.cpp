#include "text/Words.h"

#include "conf/Text.h"

namespace zpweb {

namespace {

using zp::conf::isSpace;

// The first character behind white space and continued line ends; the line's end ends it.
size_t behindSpace(std::string_view text, size_t at) {
    while (at < text.size() && text[at] != '\n') {
        if (const size_t length = continuationAt(text, at); length > 0) {
            at += length;
        } else if (isSpace(text[at])) {
            ++at;
        } else {
            break;
        }
    }
    return at;
}

// The end of the word in quotes that begins here, behind its closing quote where it has one.
size_t endOfQuoted(std::string_view text, size_t at) {
    const char quote = text[at++];
    while (at < text.size() && text[at] != quote) {
        if (const size_t length = continuationAt(text, at); length > 0) {
            at += length;
        } else if (text[at] == '\n') {
            return at;
        } else {
            at += text[at] == '\\' && at + 1 < text.size() && text[at + 1] != '\n' ? 2 : 1;
        }
    }
    return at < text.size() ? at + 1 : text.size();
}

size_t endOfPlain(std::string_view text, size_t at) {
    while (at < text.size() && !isSpace(text[at])) {
        const size_t length = continuationAt(text, at);
        if (length > 0 && (at + length == text.size() || isSpace(text[at + length]))) {
            break;
        }
        at += length > 0 ? length : 1;
    }
    return at;
}

}  // namespace

size_t continuationAt(std::string_view text, size_t at) {
    if (text[at] != '\\') {
        return 0;
    }
    const std::string_view next = text.substr(at + 1, 2);
    return next.starts_with('\n') ? 2 : next == "\r\n" ? 3 : 0;
}

std::string_view logicalLine(std::string_view text) {
    size_t end = text.find('\n');
    while (end != text.npos && end + 1 < text.size()) {  // no line begins behind the text's last newline
        const size_t before = end > 0 && text[end - 1] == '\r' ? end - 1 : end;
        if (before == 0 || text[before - 1] != '\\') {
            break;
        }
        end = text.find('\n', end + 1);
    }
    return text.substr(0, end);
}

std::string Word::value() const {
    const bool quoted = isQuoted();
    const bool closed = quoted && written.size() > 1 && written.back() == written.front();
    const std::string_view inside =
        written.substr(quoted ? 1 : 0, written.size() - (quoted ? 1 : 0) - (closed ? 1 : 0));
    if (inside.find('\\') == inside.npos) {
        return std::string(inside);
    }
    std::string text;
    for (size_t i = 0; i < inside.size(); ++i) {
        if (const size_t length = continuationAt(inside, i); length > 0) {
            i += length - 1;
        } else if (quoted && inside[i] == '\\' && i + 1 < inside.size() &&
                   (inside[i + 1] == written.front() || inside[i + 1] == '\\')) {
            text += inside[++i];
        } else {
            text += inside[i];
        }
    }
    return text;
}

std::optional<Word> nextWord(std::string_view& rest) {
    const size_t begin = behindSpace(rest, 0);
    if (begin >= rest.size() || rest[begin] == '\n') {
        rest = rest.substr(rest.size());
        return std::nullopt;
    }
    const bool quoted = rest[begin] == '"' || rest[begin] == '\'';
    const size_t end = quoted ? endOfQuoted(rest, begin) : endOfPlain(rest, begin);
    const Word word{rest.substr(begin, end - begin)};
    rest = rest.substr(end);
    return word;
}

std::vector<Word> writtenWords(std::string_view text) {
    std::vector<Word> words;
    while (const auto word = nextWord(text)) {
        words.push_back(*word);
    }
    return words;
}

std::string withPlainName(std::string_view logical) {
    const auto name = nextWord(logical);
    return (name ? name->value() : "").append(logical);
}

bool isDirective(std::string_view text, std::string_view keyword) {
    text = zp::conf::skipSpace(text);
    // Most other directives have another length, which is seen at once.
    return (text.size() <= keyword.size() || isSpace(text[keyword.size()])) &&
           zp::conf::beginsIgnoringCase(text, keyword);
}

std::string joinedWords(const std::vector<std::string>& words, char between) {
    std::string text;
    for (const std::string& word : words) {
        if (!text.empty()) {
            text += between;
        }
        text += word;
    }
    return text;
}

std::string asWord(std::string_view value) {
    if (!value.empty() && value.find_first_of(" \t\"'\\") == value.npos) {
        return std::string(value);
    }
    std::string quoted = "\"";
    for (const char c : value) {
        quoted += c == '"' ? "\\\"" : std::string(1, c);
    }
    return quoted + "\"";
}

}  // namespace zpweb
