// The front end's text functions on any text: an operation that changes nothing gives the text back byte
// for byte, a patch leads from one text to the other, and every block lies within the text.
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

void lookAt(const std::string& text) {
    const Lines lines(text);
    demand(joined(lines) == text, "the lines are not the text");
    const Contents contents = contentsOf(text);
    for (const Block& block : contents.blocks) {
        demand(block.lines.first < block.lines.end && block.lines.end <= lines.size(),
               "a block lies outside of the text");
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
