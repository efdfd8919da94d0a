// The front end's text functions on any text: an operation that changes nothing gives the text back byte
// for byte, as does a name that is added and removed; a patch leads from one text to the other, and every
// block lies within the text.
#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>

#include "text/Difference.h"
#include "text/Keep.h"
#include "text/Lines.h"
#include "text/Patch.h"
#include "text/Scope.h"
#include "text/Sites.h"
#include "text/View.h"

using namespace zpweb;

namespace {

void demand(bool holds, const char* what) {
    if (!holds) {
        std::cerr << what << "\n";
        std::abort();
    }
}

std::string joined(const Lines& lines) {
    std::string text;
    for (size_t i = 0; i < lines.size(); ++i) {
        text += std::string(lines[i]) + (i + 1 < lines.size() || lines.finalNewline ? "\n" : "");
    }
    return text;
}

constexpr const char* Aliases = "\n\tServerAlias";
constexpr const char* Added = " added.example";

bool isAdded(const std::string& name) { return name == Added + 1; }
bool isAny(const std::string&) { return true; }

std::string withName(std::string shown) {
    const size_t line = shown.find(Aliases) + 1;
    return shown.insert(shown.find('\n', line), Added);
}

std::string withoutName(std::string shown) {
    const size_t name = shown.find(Added);
    return name == shown.npos ? shown : shown.erase(name, std::string(Added).size());
}

bool isOpen(const Word& word) {
    return word.isQuoted() && (word.written.size() < 2 || word.written.back() != word.written.front());
}

// What no server takes: a directive without a name cannot be shown, and an alias line without one goes with
// the name that it was given. And a quote that is not closed swallows what comes behind; the server's check
// tells.
bool isNonsense(const Statement& each) {
    const bool named =
        !each.name.empty() && std::isalpha(static_cast<unsigned char>(each.name.front())) != 0;
    const std::vector<Word> words = each.is("ServerAlias") ? each.words() : std::vector<Word>();
    return (each.kind == Statement::Kind::Directive && !named) ||
           (each.is("ServerAlias") && (words.empty() || isOpen(words.back())));
}

void lookThrough(const Block& block) {
    View all(block);
    if (std::any_of(all.statements().begin(), all.statements().end(), isNonsense)) {
        return;
    }
    all.show([](const Statement& each) { return !each.is("ServerName") && !each.is("ServerAlias"); });
    all.showNames("ServerAlias", isAny);
    all.showSections([](const Statement& each) { return !isCondition(each.name); });
    demand(all.laidBack(all.text()) == block.text, "what is shown and not changed does not come back");
    if (block.text.find(Added + 1) != block.text.npos) {
        return;  // it has the name already
    }
    View names(block);
    names.showNames("ServerAlias", isAny);
    const std::string changed = names.laidBack(withName(names.text()));
    const Contents after = contentsOf(changed);
    demand(after.blocks.size() == 1 && after.blocks[0].text == changed,
           "a name that was added breaks the block");
    const std::vector<std::string> aliases = aliasesOf(after.blocks[0]);
    demand(std::any_of(aliases.begin(), aliases.end(), isAdded),
           "a name that was added is none of the block's");
    View added(after.blocks[0]);
    added.showNames("ServerAlias", isAdded);
    demand(added.laidBack(withoutName(added.text())) == block.text,
           "a name that was added and removed leaves something");
}

void lookAt(const std::string& text) {
    const Lines lines(text);
    demand(joined(lines) == text, "the lines are not the text");
    const Contents contents = contentsOf(text);
    for (const Block& block : contents.blocks) {
        demand(block.lines.first < block.lines.end && block.lines.end <= lines.size(),
               "a block lies outside of the text");
        if (block.closed && !block.stopped) {
            lookThrough(block);
        }
    }
    Scope scope = Scope::ofBlocks(text, contents.blocks);
    for (const Block& block : contents.blocks) {
        scope.hideComments(block);
    }
    demand(merged(scope, scope.partText()) == scope.text, "what is not changed does not come back");
    const Scope additions = Scope::additions(text);
    demand(merged(additions, additions.partText()) == text, "what nothing is added to does not come back");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string whole(reinterpret_cast<const char*>(data), size);
    const size_t cut = size == 0 ? 0 : data[0] % size;
    const std::string before = whole.substr(0, cut), after = whole.substr(cut);
    lookAt(whole);
    const auto patched = zpweb::patched(before, patchOf(Content(before), Content(after)).text());
    demand(patched && *patched == after, "the patch leads to another text");
    demand(unifiedDiff("f", before, after).empty() == (before == after),
           "the difference of equal texts, or none of others");
    return 0;
}
