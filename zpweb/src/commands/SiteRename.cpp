// site rename: another name for a site.
#include <algorithm>

#include "commands/Commands.h"
#include "commands/shared/FreeName.h"
#include "commands/shared/SiteFiles.h"
#include "conf/Text.h"
#include "input/HostName.h"
#include "input/Quoted.h"
#include "server/Postconditions.h"
#include "settings/LogPolicyChange.h"
#include "settings/Redirects.h"
#include "settings/SettingFile.h"
#include "settings/SiteSettings.h"
#include "sys/File.h"
#include "text/Marks.h"
#include "text/Mentions.h"
#include "text/Statements.h"

namespace zpweb {

namespace {

constexpr auto NewName = needed("NEW", Kind::HostName, "The new name");

struct Names {
    std::string from, to;
};

// Puts `to` in the place of `from`, in any letter case, when the word says nothing else but a scheme, a
// port or quotes.
std::string renamed(std::string_view word, const std::string& from, const std::string& to) {
    const auto at =
        std::search(word.begin(), word.end(), from.begin(), from.end(),
                    [](char one, char other) { return zp::conf::lower(one) == zp::conf::lower(other); });
    const auto begin = static_cast<size_t>(at - word.begin());
    const std::string_view host = hostOf(unquoted(word));
    if (at == word.end() || !zp::conf::equalIgnoringCase(host, from)) {
        return std::string(word);
    }
    return std::string(word.substr(0, begin)) + to + std::string(word.substr(begin + from.size()));
}

// The name itself where it has that already.
std::string withWww(const std::string& name) {
    return zp::conf::beginsIgnoringCase(name, "www.") ? name : "www." + name;
}

std::string renamedWord(const Statement& statement, std::string_view word, const Names& names) {
    if (statement.is("ServerName") || statement.is("ServerAlias")) {
        const std::string plain = renamed(word, names.from, names.to);
        return plain != word ? plain : renamed(word, "www." + names.from, withWww(names.to));
    }
    const std::string settings = "/zpweb.d/" + names.from + "/";
    const size_t at = word.find(settings);
    return at == word.npos || !zp::conf::beginsIgnoringCase(statement.name, "Include")
               ? std::string(word)
               : std::string(word).replace(at, settings.size(), "/zpweb.d/" + names.to + "/");
}

// A block under the new name. Its settings are included from the directory of the new name. What a stopped
// one has behind its marks is read as if it ran.
std::string renamedBlock(const Block& of, const Names& names) {
    const std::string_view block = of.text;
    const std::string read = of.stopped ? withBlankMarks(block) : std::string(block);
    std::string text;
    size_t copied = 0;
    const Statements statements(read);
    for (const Statement& statement : statements) {
        for (const Word& word : statement.words()) {
            const auto at = static_cast<size_t>(word.written.data() - read.data());
            text += std::string(block.substr(copied, at - copied)) +
                    renamedWord(statement, word.written, names);
            copied = at + word.written.size();
        }
    }
    return text + std::string(block.substr(copied));
}

// Lines of a block that go on about the old name, such as a redirection to it.
void tellWhatStays(Transaction& change, const Place& place, const std::string& file, const Names& names) {
    const std::string read =
        place.block->stopped ? withBlankMarks(place.block->text) : std::string(place.block->text);
    const Statements statements(read);
    for (const Statement& statement : statements) {
        const bool says =
            statement.kind == Statement::Kind::Directive || statement.kind == Statement::Kind::Opens;
        if (says && !statement.is("ServerName") && !statement.is("ServerAlias") &&
            !statement.opens("VirtualHost") && mentions(statement.arguments, names.from)) {
            const size_t line =
                place.file->firstLine() + place.block->lines.first + statement.lines.first + 1;
            change.output().note(file + ":" + std::to_string(line) + " still names " + names.from + ": " +
                                 std::string(zp::conf::skipSpace(statement.written)));
        }
    }
}

bool isNewName(const Contents& made, const std::string& name) {
    return made.blocks.size() == 1 && SameHost(name)(made.blocks.front().name);
}

Outcome canRename(const Transaction& change, const Place& place, const Names& names) {
    const std::string made = renamedBlock(*place.block, names);
    return made != place.block->text && isNewName(change.configuration().contentsOf(made), names.to)
               ? done()
               : failure(Status::Refused,
                         place.text() +
                             ": the name comes from a variable or an included file; change it there");
}

Outcome renameIn(Transaction& change, const Site& site, const ConfigurationFile& file, const Names& names) {
    const std::string& before = file.content().text();
    std::string text;
    size_t copied = 0;
    for (const Place& place : site.places) {
        if (place.file == &file) {
            const auto at = static_cast<size_t>(place.block->text.data() - before.data());
            text += before.substr(copied, at - copied) + renamedBlock(*place.block, names);
            copied = at + place.block->text.size();
        }
    }
    return change.rewrite(file, text + before.substr(copied));
}

// Each file, or part of one, goes with its edit; the others stay.
Outcome renameBlocks(Transaction& change, const Site& site, const Names& names) {
    std::vector<const ConfigurationFile*> holders;
    for (const Place& place : site.places) {
        if (Outcome can = canRename(change, place, names); !can.ok()) {
            return can;
        }
        if (std::find(holders.begin(), holders.end(), place.file) == holders.end()) {
            holders.push_back(place.file);
        }
    }
    for (const ConfigurationFile* holder : holders) {
        if (Outcome renamed = renameIn(change, site, *holder, names); !renamed.ok()) {
            return renamed;
        }
    }
    return done();
}

// A file that has the old name gets the new one, and its link, too.
std::string renamedFile(const Layout& layout, const std::string& file, const Names& names) {
    const bool hasOldName = directoryOf(file) == layout.directory && nameOf(file) == names.from + ".conf";
    return hasOldName ? layout.fileOf(names.to) : file;
}

Outcome renameFile(Transaction& change, const Layout& layout, const std::string& file, const Names& names) {
    const std::string renamed = renamedFile(layout, file, names);
    if (renamed == file) {
        return done();
    }
    if (exists(renamed)) {
        return failure(Status::Exists, renamed + ": exists already and is no file of this site");
    }
    const std::vector<std::string> links = linksTo(change, layout, file);
    Outcome outcome = change.replace(renamed, std::string(change.contentOf(file).text()), file);
    outcome = outcome.ok() ? change.unlink(file) : outcome;
    for (size_t i = 0; outcome.ok() && i < links.size(); ++i) {
        outcome = change.unlink(links[i]);
    }
    return outcome.ok() && !links.empty() ? change.link(layout.linkOf(names.to), layout.targetOf(renamed))
                                          : outcome;
}

// Of the two names that lead to each other, the one to which they lead is renamed, too.
SettingText renamedText(Setting setting, const SettingText& text, const Names& names) {
    auto redirects = setting == Setting::Redirect ? redirectsFrom(text.asked) : std::nullopt;
    if (!redirects || redirects->canonical.empty()) {
        return text;
    }
    const std::string plain = renamed(redirects->canonical, names.from, names.to);
    redirects->canonical =
        plain != redirects->canonical ? plain : renamed(plain, "www." + names.from, withWww(names.to));
    return {askedOf(*redirects), directivesOf(*redirects)};
}

Outcome renameSettings(Transaction& change, const Names& names) {
    const std::string main = change.configuration().main().path();
    for (const Setting setting : AllSettings) {
        const std::string before = settingPath(main, names.from, setting);
        const Content content = change.contentOf(before);
        const auto text = content ? settingFrom(content.text()) : std::nullopt;
        if (!text) {
            continue;
        }
        Outcome outcome = change.replace(
            settingPath(main, names.to, setting),
            text->edited ? std::string(content.text())
                         : settingText(names.to, setting, renamedText(setting, *text, names)),
            before);
        outcome = outcome.ok() ? removeSettingFile(change, before) : outcome;
        if (!outcome.ok()) {
            return outcome;
        }
    }
    return movePolicy(change, names.from, names.to);
}

Outcome rename(Transaction& change, const Site& site, const Arguments& given) {
    if (Outcome named = site.hasName(); !named.ok()) {
        return named;
    }
    const Names names{site.name(), given[NewName]};
    const std::string holder = holderOf(change, names.to, names.from);
    if (!holder.empty()) {
        return failure(Status::Exists, "name " + inQuotes(readableHostName(names.to)) +
                                           ": another site has it, at " + holder);
    }
    change.output().set("site", names.to);
    change.output().set("was", names.from);
    if (names.to == names.from) {
        return done();
    }
    change.asked().sites.insert(names.to);
    change.expect(names.to, "renamed", leadsToSiteIfServed({names.to}));
    const Layout layout = layoutOf(change.configuration());
    const std::vector<std::string> files = site.files();
    for (const Place& place : site.places) {
        tellWhatStays(change, place, renamedFile(layout, place.file->path(), names), names);
    }
    Outcome outcome = renameBlocks(change, site, names);
    outcome = outcome.ok() ? renameSettings(change, names) : outcome;
    for (size_t i = 0; outcome.ok() && i < files.size(); ++i) {
        outcome = renameFile(change, layout, files[i], names);
    }
    return outcome;
}

}  // namespace

Command siteRename() {
    return {
        .words = "site rename",
        .summary = "Give a website another name",
        .action = rename,
        .parameters = {SiteName, NewName},
        .more =
            "Its ServerName, its name with \"www.\" before it, its file and its settings get the new name. "
            "Its home, its logs and its web users stay where they are. Lines of its blocks that go on "
            "about the old name, such as a redirection to it, are told.",
        .examples = {"site rename shop.example store.example"},
        .onStopped = true,
    };
}

}  // namespace zpweb
