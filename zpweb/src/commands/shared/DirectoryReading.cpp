#include "commands/shared/DirectoryReading.h"

#include <algorithm>
#include <set>

#include "commands/shared/DirectoryBlock.h"
#include "conf/Text.h"
#include "text/Marks.h"
#include "text/Statements.h"
#include "text/View.h"

namespace zpweb {

namespace {

using Texts = std::vector<std::string>;
using zp::conf::equalIgnoringCase;

bool stands(const Texts& words, std::string_view name) {
    return std::any_of(words.begin(), words.end(),
                       [&](const std::string& word) { return equalIgnoringCase(word, name); });
}

// A line without signs tells all of them.
Texts switchesOf(const Statement& options) {
    Texts words;
    for (const Word& word : options.words()) {
        words.push_back(word.value());
    }
    const bool signs = !words.empty() && words.front().find_first_of("+-") == 0;
    const bool all = stands(words, "All");
    Texts switches;
    for (const DirectoryOption& each : DirectoryOptions) {
        const std::string name(each.name);
        const bool on =
            signs ? stands(words, "+" + name) : stands(words, name) || (all && name != "MultiViews");
        if (on || !signs || stands(words, "-" + name)) {
            switches.push_back((on ? "+" : "-") + name);
        }
    }
    return switches;
}

bool tellsWho(const Statement& statement) {
    return statement.kind == Statement::Kind::Directive &&
           (statement.is("Require") || statement.is("Order") || statement.is("Allow") ||
            statement.is("Deny"));
}

SettingEntry entryOf(const Statements& statements, size_t opening, const std::string& path) {
    SettingEntry entry{{"path", {path}}};
    for (size_t i = opening + 1; i < statements[opening].end; ++i) {
        if (statements[i].is("Options") && statements[i].scope == opening) {
            entry["options"] = switchesOf(statements[i]);
        } else if (tellsWho(statements[i])) {
            entry["who"].push_back(canonical(statements[i]));
        }
    }
    return plain(*settingModel("directories"), std::move(entry));
}

}  // namespace

SettingEntries directoriesOf(const Block& block) {
    const std::string text = block.stopped ? withoutMarks(block.text) : std::string(block.text);
    const Statements statements(text);
    SettingEntries entries;
    std::set<std::string> paths;
    for (size_t i = 0; i < statements.size(); ++i) {
        const Statement& each = statements[i];
        const auto path = each.opens("Directory") && each.scope == 0 && each.end != None
                              ? typedValue(Kind::Path, "path", each.argument(0), "")
                              : Expected<std::string>(failure(""));
        if (path.ok() && paths.insert(*path).second) {
            entries.push_back(entryOf(statements, i, *path));
        }
    }
    return entries;
}

}  // namespace zpweb
