#include "text/BlockFinder.h"

#include <algorithm>

#include "conf/Line.h"
#include "text/Prose.h"
#include "text/Restrictions.h"
#include "text/Words.h"

namespace zpweb {

namespace {

namespace keyword = zp::conf::keyword;
using zp::conf::equalIgnoringCase;

constexpr std::string_view SuspendedFile = "/suspended.conf";

bool isTag(std::string_view text, std::string_view tag) {
    return (text.size() <= tag.size() || text[tag.size()] == '>' || zp::conf::isSpace(text[tag.size()])) &&
           zp::conf::beginsIgnoringCase(text, tag);
}

// What stands between a tag's name and the last ">" of its line.
std::string_view tagArguments(std::string_view text, std::string_view tag) {
    const std::string_view line = logicalLine(text);
    std::string_view arguments = zp::conf::trimEnd(
        zp::conf::skipSpace(line.substr(tag.size(), std::min(line.rfind('>'), line.size()) - tag.size())));
    while (arguments.ends_with('\\')) {  // the ">" stands on a line of its own
        arguments = zp::conf::trimEnd(arguments.substr(0, arguments.size() - 1));
    }
    return arguments;
}

// A tag that goes on in the next line names its addresses on several, and any may stand in quotes.
std::string plainAddresses(std::string_view words) {
    std::string line;
    for (const Word& word : writtenWords(words)) {
        line.append(line.empty() ? "" : " ").append(word.value());
    }
    return line;
}

// The text behind one comment mark, on its line.
std::string_view behindMark(std::string_view text) {
    return text.substr(std::min(text.find_first_not_of(" \t\r\v\f", 1), text.size()));
}

// Behind the line and its newline.
const char* endOf(const LineStart& start, std::string_view line) {
    return line.data() + std::min(line.size() + 1, start.raw.size());
}

// The number of the line behind the logical one.
size_t numberBehind(const LineStart& start) {
    const std::string_view line = logicalLine(start.raw);
    return start.number + 1 + static_cast<size_t>(std::count(line.begin(), line.end(), '\n'));
}

std::string_view argumentsOf(std::string_view text, std::string_view name) {
    return text.substr(name.size());
}

}  // namespace

BlockReader::BlockReader(LineStart opening, std::string_view tag, bool stopped, Values& values,
                         std::vector<ConditionalLine>& conditionalLines)
    : values_(values), conditionalLines_(conditionalLines), conditions_(values) {
    block_.text = opening.raw.substr(0, 0);
    block_.lines.first = block_.nameLine = opening.number;
    block_.stopped = stopped;
    const std::string_view arguments = tagArguments(tag, keyword::VirtualHost);
    const bool isPlain = arguments.find_first_of("\n\"'") == arguments.npos;
    block_.addresses = values_.plain(isPlain ? arguments : values_.keep(plainAddresses(arguments)));
    block_.address = values_.first(block_.addresses);
}

void BlockReader::take(std::string_view text, size_t line) {
    if ((text.front() == '<' && takeCondition(text, line)) || conditions_.areUnmet()) {
        return;
    }
    const auto is = [text](std::string_view directive) { return isDirective(text, directive); };
    if (!conditions_.none() && std::any_of(std::begin(WhoMaySee), std::end(WhoMaySee), is)) {
        return note(text, line, false);
    }
    switch (zp::conf::lower(text.front())) {
        case 's':
            if (is(keyword::ServerName)) {
                note(text, line, false);
                takeServerName(argumentsOf(text, keyword::ServerName), line);
            } else if (is(keyword::ServerAlias)) {
                note(text, line, false);
                takeAliases(argumentsOf(text, keyword::ServerAlias));
            } else if (is("SSLEngine")) {
                note(text, line, false);
                block_.tls = equalIgnoringCase(values_.first(argumentsOf(text, "SSLEngine")), "on");
                block_.tlsUndecided = !conditions_.areKnown();
            }
            break;
        case 'd':
            if (is(keyword::DocumentRoot)) {  // the last one counts
                note(text, line, false);
                block_.root = values_.first(argumentsOf(text, keyword::DocumentRoot));
            }
            break;
        case '<':
            if (block_.home.empty() && isTag(text, keyword::Directory)) {
                block_.home = values_.first(tagArguments(text, keyword::Directory));
            }
            break;
        case 'i':
            if (is(keyword::Include)) {
                note(text, line, true);
                takeInclude(argumentsOf(text, keyword::Include));
            } else if (is("IncludeOptional")) {
                note(text, line, true);
                takeInclude(argumentsOf(text, "IncludeOptional"));
            }
            break;
        default:
            break;
    }
}

bool BlockReader::takeCondition(std::string_view text, size_t line) {
    const std::string_view name = zp::conf::upTo(text, " \t\r\n\\>");
    if (!conditions_.take(text, text.starts_with("</") ? "" : tagArguments(text, name))) {
        return false;
    }
    if (conditions_.areUnmet() && !text.starts_with("</")) {
        block_.unmet.push_back(line - block_.lines.first);
    }
    return true;
}

// What the server is to be asked about.
void BlockReader::note(std::string_view text, size_t line, bool included) {
    if (conditions_.none() || (included && !block_.name.empty())) {
        return;
    }
    const std::string_view logical = logicalLine(text);
    const auto more = static_cast<size_t>(std::count(logical.begin(), logical.end(), '\n'));
    conditionalLines_.push_back(
        {conditions_.key(), block_.lines.first, {line, line + more + 1}, block_.stopped, included});
    includesUndecided_ = includesUndecided_ || (included && !conditions_.areKnown());
}

// The last one counts. In a stopped block a continued line has comment marks within.
void BlockReader::takeServerName(std::string_view arguments, size_t line) {
    std::string_view name = hostOf(values_.first(arguments));
    if (block_.stopped && name.starts_with('#')) {
        name = {};
        for (const Word& word : writtenWords(arguments)) {
            const std::string written = word.value();
            const size_t begin = std::min(written.find_first_not_of('#'), written.size());
            name = name.empty() ? hostOf(values_.keep(written.substr(begin))) : name;
        }
    }
    if (!name.empty()) {
        block_.name = name;
        block_.nameLine = line;
        block_.undecided = !conditions_.areKnown();
    }
}

void BlockReader::takeAliases(std::string_view arguments) {
    const std::string_view words = values_.plain(logicalLine(arguments));
    if (block_.aliases.empty()) {
        block_.aliases = words;
        return;
    }
    aliases_.append(aliases_.empty() ? block_.aliases : "").append(" ").append(words);
}

void BlockReader::takeInclude(std::string_view arguments) {
    const std::string_view pattern = values_.first(arguments);
    block_.suspended = block_.suspended || pattern.ends_with(SuspendedFile);
    if (block_.name.empty()) {
        included_.push_back(pattern);
    }
}

Block BlockReader::ended(const char* end, size_t line) {
    block_.text = {block_.text.data(), static_cast<size_t>(end - block_.text.data())};
    block_.lines.end = line;
    if (!aliases_.empty()) {
        block_.aliases = values_.keep(std::move(aliases_));
    }
    if (block_.name.empty()) {
        for (const std::string_view pattern : included_) {
            const std::string_view name = values_.nameIn(pattern);
            block_.name = name.empty() ? block_.name : name;
        }
        block_.namedElsewhere = !block_.name.empty();
        block_.undecided = block_.namedElsewhere && includesUndecided_;
    }
    return block_;
}

void BlockFinder::take(const LineStart& line) {
    if (line.text.front() != '<') {
        if (live_) {
            live_->take(line.text, line.number);
        }
    } else if (isTag(line.text, keyword::VirtualHost)) {
        if (!tagArguments(line.text, keyword::VirtualHost).empty()) {  // else it is prose
            finish(line.raw.data(), line.number, false);               // one that is never closed
            live_.emplace(line, line.text, false, values_, contents_.conditionalLines);
        }
    } else if (live_ && isTag(line.text, keyword::VirtualHostEnd)) {
        finish(endOf(line, logicalLine(line.raw)), numberBehind(line), true);
    } else if (live_) {
        live_->take(line.text, line.number);
    } else {
        takeSection(line);
    }
}

void BlockFinder::takeComment(const LineStart& line) {
    std::string_view text = behindMark(line.text);
    if (text.starts_with('"') || text.starts_with('\'')) {
        text = values_.keep(withPlainName(logicalLine(text)));
    }
    if (isTag(text, keyword::VirtualHost)) {
        const std::string_view tag = zp::conf::trimEnd(zp::conf::upTo(text, "\n"));
        commented_.reset();
        // A tag that goes on in the next line has its addresses there. What stands behind one says nothing.
        if (tag.ends_with('\\') ||
            (tag.find('>') != tag.npos && !tagArguments(tag, keyword::VirtualHost).empty())) {
            inPerl_ = false;
            commented_.emplace(line, tag, true, values_, contents_.conditionalLines);
        }
    } else if (commented_ && isTag(text, keyword::VirtualHostEnd)) {
        Block block = commented_->ended(endOf(line, logicalLine(line.raw)), numberBehind(line));
        commented_.reset();
        if (isServerName(block.name)) {
            block.closed = true;
            block.conditional = inCondition();
            contents_.blocks.push_back(block);
        }
    } else if (commented_) {
        takeWithinComment(text, line.number);
    }
}

// What stands in <Perl> is none of the server's.
void BlockFinder::takeWithinComment(std::string_view text, size_t line) {
    const bool perl = isTag(text, "<Perl");
    if (perl || isTag(text, "</Perl")) {
        inPerl_ = perl;
    } else if (!inPerl_ && isProse(text)) {
        commented_.reset();
    } else if (!inPerl_ && !text.empty()) {
        commented_->take(text, line);
    }
}

void BlockFinder::finish(const char* end, size_t line, bool closed) {
    if (!live_) {
        return;
    }
    Block block = live_->ended(end, line);
    block.closed = closed;
    block.conditional = inCondition();
    block.macro = macro_;
    (inMacro() ? contents_.templates : contents_.blocks).push_back(block);
    live_.reset();
}

// Tags outside of blocks. A closing one closes the innermost section of its name.
void BlockFinder::takeSection(const LineStart& line) {
    const std::string_view text = line.text;
    const bool closes = text.starts_with("</");
    const std::string_view name = zp::conf::upTo(text.substr(closes ? 2 : 1), " \t\r\n>");
    if (!closes) {
        sections_.push_back(name);
        if (equalIgnoringCase(name, "Macro")) {
            ++macros_;
            macro_ = tagArguments(text, "<Macro");
        }
        return;
    }
    const auto same = [name](std::string_view open) { return equalIgnoringCase(open, name); };
    constexpr size_t Deepest = 128;  // as the server has it
    const size_t searched = std::min(sections_.size(), Deepest);
    const auto last = sections_.rbegin() + static_cast<std::ptrdiff_t>(searched);
    const auto found = std::find_if(sections_.rbegin(), last, same);
    const size_t closed = found == last ? 0 : static_cast<size_t>(found - sections_.rbegin()) + 1;
    for (size_t i = 0; i < closed; ++i) {
        macros_ -= equalIgnoringCase(sections_.back(), "Macro") ? 1 : 0;
        sections_.pop_back();
    }
    if (closed > 0 && sections_.empty()) {
        contents_.sectionEnds.push_back(endOf(line, logicalLine(line.raw)));
    }
}

void BlockFinder::end(const char* end, size_t line) { finish(end, line, false); }

}  // namespace zpweb
