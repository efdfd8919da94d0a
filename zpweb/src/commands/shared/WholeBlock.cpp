#include "commands/shared/WholeBlock.h"

#include "text/Marks.h"

namespace zpweb {

namespace {

// The block, with the blank line before it when there is another behind it, or nothing.
std::string_view withBlankLine(const ConfigurationFile& file, std::string_view block) {
    const std::string_view text = file.content().text();
    const auto begin = static_cast<size_t>(block.data() - text.data());
    const std::string_view before = text.substr(0, begin);
    const std::string_view rest = text.substr(begin + block.size());
    const std::string_view behind = rest.empty() ? file.behind() : rest;
    const bool blankBehind = behind.empty() || behind.starts_with('\n') || behind.starts_with("\r\n");
    const size_t length = before.ends_with("\r\n\r\n") || before == "\r\n" ? 2
                          : before.ends_with("\n\n") || before == "\n"     ? 1
                                                                           : 0;
    return blankBehind ? text.substr(begin - length, block.size() + length) : block;
}

Excerpt excerptOf(const ConfigurationFile& file, const Block& block, const WholeBlock& operation) {
    const std::string_view of = operation.takesBlankLine ? withBlankLine(file, block.text) : block.text;
    const std::string seen = View(block).text();
    return {of, operation.commented ? withMarks(seen) : seen,
            [&operation, of](std::string_view made) {
                return operation.took(made) ? operation.become(of) : std::string(of);
            },
            block.lines.first};
}

Outcome editOne(Transaction& change, const BlockAt& at, const WholeBlock& operation) {
    const std::string domain = domainOf(at.in(change.configuration()));
    Edit edit;
    edit.file = at.file;
    edit.part = &at.holder(change.configuration());
    edit.bound = operation.bound;
    edit.excerpt = [&](const ConfigurationFile& file) {
        return excerptOf(file, file.blocks()[at.number], operation);
    };
    edit.operation = [&](const std::string& staged) { return operation.run(staged, domain); };
    edit.meaning = operation.meaning;
    edit.look = [&](std::string_view made) {
        return change.settings().exact || operation.took(made)
                   ? done()
                   : failure(at.place(change.configuration()) + ": the block of " + domain +
                             " could not be changed");
    };
    return change.edit(edit);
}

}  // namespace

Outcome editWhole(Transaction& change, const std::vector<BlockAt>& blocks, const WholeBlock& operation) {
    std::string file;
    for (const BlockAt& at : blocks) {
        if (change.settings().exact && at.file == file) {
            continue;  // the operation has worked on all of it
        }
        file = at.file;
        if (Outcome edited = editOne(change, at, operation); !edited.ok()) {
            return edited;
        }
    }
    return done();
}

}  // namespace zpweb
