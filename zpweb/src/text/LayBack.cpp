#include "text/LayBack.h"

#include <algorithm>

#include "conf/Text.h"

namespace zpweb {

namespace {

using LineKind = ViewLine::Kind;
using zp::conf::equalIgnoringCase;

std::string withoutIndent(std::string_view line) {
    return std::string(zp::conf::trimEnd(zp::conf::skipSpace(withoutReturn(line))));
}

std::string_view argumentsOf(std::string_view line) {
    const std::string_view rest = line.substr(keywordOf(line).size());
    return line.starts_with('<') ? rest.substr(0, rest.rfind('>')) : rest;
}

bool holds(const std::vector<std::string>& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

std::vector<std::string> namesOn(std::string_view line) {
    std::vector<std::string> names;
    for (const Word& word : writtenWords(argumentsOf(line))) {
        names.push_back(word.value());
    }
    return names;
}

std::vector<std::string> without(const std::vector<std::string>& names,
                                 const std::vector<std::string>& others) {
    std::vector<std::string> rest;
    std::copy_if(names.begin(), names.end(), std::back_inserter(rest),
                 [&](const std::string& name) { return !holds(others, name); });
    return rest;
}

// A word in the place of another: in quotes where that one is, or where it needs them.
std::string inPlaceOf(const Word& old, const Word& word) {
    if (old.isQuoted() == word.isQuoted()) {
        return std::string(word.written);
    }
    if (old.isQuoted()) {
        return '"' + std::string(word.written) + '"';
    }
    const std::string value = word.value();
    return asWord(value) == value ? value : std::string(word.written);
}

}  // namespace

LayBack::LayBack(const View& view, std::string_view result)
    : view_(view), statements_(view.statements()), shown_(view.lines()), replacements_(view.written()) {
    bool inBlock = false;  // what an operation writes outside of the block is none of the block's
    for (const std::string_view line : Lines(result).all) {
        std::string text = withoutIndent(line);
        inBlock = inBlock || zp::conf::beginsIgnoringCase(text, "<VirtualHost");
        const bool last = zp::conf::beginsIgnoringCase(text, "</VirtualHost");
        if (inBlock && !text.empty()) {
            made_.push_back(std::move(text));
        }
        inBlock = inBlock && !last;
    }
    size_t depth = 0;
    for (const std::string& line : made_) {
        depth -= isClosing(line) && depth > 0 ? 1 : 0;
        depths_.push_back(depth);
        depth += isOpening(line) ? 1 : 0;
    }
    std::vector<std::string> shown;
    for (const ViewLine& line : shown_) {
        shown.push_back(withoutIndent(line.text));
    }
    fates_ = fatesOf(shown, made_);
}

std::string LayBack::text() {
    for (size_t i = 0; i < shown_.size(); ++i) {
        if (fates_.shown[i] == None && !shown_[i].isProvided()) {
            removeShown(i);
        }
    }
    if (view_.dropsEmptySections()) {
        removeEmptySections();
    }
    for (size_t j = 0; j < made_.size(); ++j) {
        lay(j);
    }
    return replacements_.made();
}

void LayBack::lay(size_t made) {
    const std::string& line = made_[made];
    const size_t shown = fates_.made[made];
    const ViewLine* of = shown == None ? nullptr : &shown_[shown];
    const bool provided = of != nullptr && of->isProvided();
    if (provided && of->kind == LineKind::SectionOpens) {
        holds_ = true;
        filled_ = false;
        held_ = {line, std::string(ProvidedSection)};
    } else if (provided && of->kind == LineKind::SectionCloses) {
        holds_ = false;
        held_.push_back(line);
        for (size_t i = 0; filled_ && i < held_.size(); ++i) {
            add(made, held_[i], depths_[made] + (i == 0 || i + 1 == held_.size() ? 0 : 1));
        }
    } else if (of == nullptr && holds_) {
        held_.push_back(line);
        filled_ = true;
    } else if (of == nullptr) {
        add(made, line, depths_[made]);
    } else if (withoutIndent(of->text) != line) {
        change(shown, line);
    }
}

void LayBack::removeShown(size_t shown) {
    const ViewLine& line = shown_[shown];
    for (const size_t i : line.statements) {
        const Statement& statement = statements_[i];
        if (line.kind == LineKind::SectionOpens && statement.end != None) {
            replacements_.remove({statement.written.data(),
                                  static_cast<size_t>(behind(statement.end) - statement.written.data())});
        } else if (line.kind == LineKind::Names) {
            takeAway(statement, namesOn(withoutIndent(line.text)));
        } else {
            removeStatement(statement);
        }
    }
}

// Those that were provided, of which the view has shown lines, and of which none is left.
void LayBack::removeEmptySections() {
    for (size_t i = 0; i + 2 < shown_.size(); ++i) {
        const bool section = shown_[i].kind == LineKind::SectionOpens && !shown_[i].isProvided();
        const size_t opening = section ? shown_[i].statements.front() : 0;
        const size_t end = section ? statements_[opening].end : 0;
        size_t gone = 0;
        while (section && shown_[i + gone + 1].kind == LineKind::Directive &&
               fates_.shown[i + gone + 1] == None) {
            ++gone;
        }
        size_t marks = 0;
        for (size_t statement = opening + 1; gone > 0 && statement < end; ++statement) {
            marks += withoutIndent(statements_[statement].written) == ProvidedSection ? 1 : 0;
        }
        if (marks > 0 && opening + gone + marks + 1 == end) {
            const char* const begin = statements_[opening].written.data();
            replacements_.remove({begin, static_cast<size_t>(behind(end) - begin)});
        }
    }
}

void LayBack::removeStatement(const Statement& statement) {
    const auto number = static_cast<size_t>(&statement - &statements_[0]);
    const char* const begin = statement.written.data();
    replacements_.remove({begin, static_cast<size_t>(behind(number) - begin)});
}

void LayBack::change(size_t shown, const std::string& to) {
    const ViewLine& line = shown_[shown];
    if (line.kind == LineKind::Opening) {
        changeAddress(to);
    } else if (line.kind == LineKind::Names) {
        changeNames(line, to);
    } else if (line.kind == LineKind::Directive || line.kind == LineKind::SectionOpens) {
        changeWords(line, to);
    }
}

void LayBack::changeAddress(const std::string& to) {
    const std::vector<Word> words = statements_[0].words();
    std::string address = writtenWords(argumentsOf(to)).front().value();
    const Word& old = words[view_.shownAddress()];
    if (view_.keepsPort()) {
        const std::string before = old.value();
        const size_t length = address.size() - (portOf(address).empty() ? 0 : portOf(address).size() + 1);
        address =
            address.substr(0, length) + (portOf(before).empty() ? "" : ":" + std::string(portOf(before)));
    }
    replacements_.replace(old.written, inPlaceOf(old, Word{address}));
}

void LayBack::changeNames(const ViewLine& line, const std::string& to) {
    const std::vector<std::string> before = namesOn(withoutIndent(line.text));
    const std::vector<std::string> after = namesOn(to);
    std::string added;
    for (const std::string& name : without(after, before)) {
        added += " " + name;
    }
    const std::vector<std::string> gone = without(before, after);
    const Statement* target = nullptr;  // the last line that counts under no condition, and stays
    for (const size_t i : line.statements) {
        const Statement& statement = statements_[i];
        takeAway(statement, gone);
        const auto words = statement.words();
        const bool stays = std::any_of(words.begin(), words.end(),
                                       [&](const Word& word) { return !holds(gone, word.value()); });
        target = stays && statement.section == view_.level() ? &statement : target;
    }
    if (added.empty()) {
        return;
    }
    if (target != nullptr) {
        const std::string_view last = target->words().back().written;
        replacements_.insert(last.data() + last.size(), added);
    } else {
        addBehind(line.behind, std::string(keywordOf(to)) + added);
    }
}

// Each of the names with the white space before it, or behind the first one.
void LayBack::takeAway(const Statement& statement, const std::vector<std::string>& names) {
    const std::vector<Word> words = statement.words();
    const auto goes = [&](const Word& word) { return holds(names, word.value()); };
    if (words.empty() || std::all_of(words.begin(), words.end(), goes)) {
        removeStatement(statement);
        return;
    }
    const char* kept = nullptr;  // the end of the last word that stays
    for (size_t i = 0; i < words.size(); ++i) {
        const std::string_view word = words[i].written;
        if (!goes(words[i])) {
            kept = word.data() + word.size();
        } else if (kept != nullptr) {
            const char* const begin = words[i - 1].written.data() + words[i - 1].written.size();
            replacements_.remove({begin, static_cast<size_t>(word.data() + word.size() - begin)});
        } else {
            replacements_.remove(
                {word.data(), static_cast<size_t>(words[i + 1].written.data() - word.data())});
        }
    }
}

// The words that a line shows are the last ones of its statement.
void LayBack::changeWords(const ViewLine& line, const std::string& to) {
    const Statement& statement = statements_[line.statements.front()];
    const std::vector<Word> words = statement.words();
    const std::string before = withoutIndent(line.text);
    const std::vector<Word> shown = writtenWords(argumentsOf(before));
    const std::string_view arguments = argumentsOf(to);
    const std::vector<Word> wanted = writtenWords(arguments);
    if (words.empty()) {
        replacements_.insert(statement.arguments.data(), std::string(arguments));
        return;
    }
    const size_t skipped = words.size() - std::min(shown.size(), words.size());
    if (wanted.size() == shown.size() && shown.size() <= words.size()) {
        for (size_t i = 0; i < wanted.size(); ++i) {
            if (wanted[i].value() != shown[i].value()) {
                const Word& old = words[skipped + i];
                replacements_.replace(old.written, view_.takesQuotes() ? std::string(wanted[i].written)
                                                                       : inPlaceOf(old, wanted[i]));
            }
        }
        return;
    }
    const char* const begin = words[std::min(skipped, words.size() - 1)].written.data();
    const char* const end = words.back().written.data() + words.back().written.size();
    replacements_.replace({begin, static_cast<size_t>(end - begin)},
                          std::string(zp::conf::trimEnd(zp::conf::skipSpace(arguments))));
}

}  // namespace zpweb
