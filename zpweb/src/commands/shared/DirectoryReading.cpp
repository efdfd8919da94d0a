#include "commands/shared/DirectoryReading.h"

#include <algorithm>
#include <set>

#include "commands/shared/DirectoryBlock.h"
#include "conf/Text.h"
#include "text/Marks.h"
#include "text/Restrictions.h"
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

// Who may see it, where the section says so in the terms that "vdir set" writes.
void takeRestriction(SettingEntry& entry, const std::vector<std::string>& terms) {
    const auto restriction = restrictionOf(terms);
    if (!restriction) {
        return;
    }
    const auto take = [&entry](const char* field, const std::string& hosts) {
        for (size_t at = 0; at < hosts.size();) {
            const size_t end = std::min(hosts.find(',', at), hosts.size());
            entry[field].push_back(hosts.substr(at, end - at));
            at = end + 1;
        }
    };
    take("allow", restriction->allow);
    take("deny", restriction->deny);
    if (restriction->users) {
        entry["protect"] = {};
    }
}

SettingEntry entryOf(const Statements& statements, size_t opening, const std::string& path) {
    SettingEntry entry{{"path", {path}}};
    std::vector<std::string> terms;
    for (size_t i = opening + 1; i < statements[opening].end; ++i) {
        if (statements[i].is("Options") && statements[i].scope == opening) {
            entry["options"] = switchesOf(statements[i]);
        } else if (tellsWho(statements[i])) {
            entry["who"].push_back(canonical(statements[i]));
        }
        // A section such as <Limit> stays as it is among them, so that they are not taken for all.
        const bool isTag =
            statements[i].kind == Statement::Kind::Opens || statements[i].kind == Statement::Kind::Closes;
        if (isTag || tellsWho(statements[i])) {
            terms.push_back(canonical(statements[i]));
        }
    }
    takeRestriction(entry, terms);
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
