// site suspend: lets all blocks of a site answer 503 with a page.
#include <sys/stat.h>

#include "ApacheHelper.h"
#include "commands/Commands.h"
#include "commands/shared/BlockEdit.h"
#include "commands/shared/Merge.h"
#include "commands/shared/Suspended.h"
#include "conf/Bounds.h"
#include "input/HostName.h"
#include "sys/OwnersFile.h"
#include "text/Suspension.h"

namespace zpweb {

namespace {

constexpr auto Page =
    option("--page", Kind::InputFile, "FILE", "The page to answer with (default: one of zpweb's)");
constexpr auto Message =
    flag("--message", "In the panel's way instead: the document root becomes message.htm");

Expected<std::string> pageFrom(const Arguments& given) {
    const auto file = given[Page];
    if (!file) {
        return std::string(defaultPage());
    }
    auto text = readNamedFile(*file, ReadBy::All);
    if (!text.ok()) {
        return text.outcome();
    }
    const std::string fault = pageFault(*text);
    return fault.empty() ? text : failure(Status::Usage, "page " + *file + ": " + fault);
}

// The block's end takes the line by the library's operation; what has to come first is put there beside it.
Outcome includeIn(Transaction& change, const BlockAt& at, const std::string& line) {
    const std::string domain = domainOf(at.in(change.configuration()));
    Edit edit;
    edit.file = at.file;
    edit.part = &at.holder(change.configuration());
    edit.bound = zp::conf::bound::AddDirective;
    edit.excerpt = [&](const ConfigurationFile& file) {
        const Block& block = file.blocks()[at.number];
        const auto view = std::make_shared<View>(block);
        return Excerpt{
            block.text, view->text(),
            [view, line](std::string_view made) { return withEarlyLine(view->laidBack(made), line); },
            block.lines.first};
    };
    edit.operation = [&](const std::string& staged) {
        StringVector lines{line};
        return ApacheHelper().Apache_AddDirectivesInVH(staged, domain, lines);
    };
    edit.meaning = expecting("Apache_AddDirectivesInVH", {0});
    return change.edit(edit);
}

// The panel's way back leads to HOME/www/html, whatever the document root was.
Outcome comesBack(const Configuration& configuration, const Site& site,
                  const std::vector<BlockAt>& blocks) {
    std::string home(site.first().block->home);
    home.erase(home.find_last_not_of('/') + 1);
    for (const BlockAt& at : blocks) {
        const std::string root(at.in(configuration).root);
        if (!root.empty() && root != home + "/www/html" && root != "message.htm") {
            return failure(Status::Refused, at.place(configuration) + ": \"site resume\" would make " +
                                                home + "/www/html of the document root " + root +
                                                "; suspend it without --message");
        }
    }
    return done();
}

Outcome suspend(Transaction& change, const Site& site, const Arguments& given) {
    change.output().set("site", site.name());
    change.output().set("state", "suspended");
    const auto blocks = runningBlocks(change.configuration(), site, given);
    if (!blocks.ok()) {
        return blocks.outcome();
    }
    if (given[Message]) {
        const Outcome back =
            change.settings().exact ? done() : comesBack(change.configuration(), site, *blocks);
        return !back.ok() ? back
                          : changeRoot(change, *blocks, "message.htm", "EnableMessage",
                                       [](CZPWebsite& website, UpdateVHost& record) {
                                           return website.EnableMessage(&record);
                                       });
    }
    const auto page = pageFrom(given);
    if (!page.ok()) {
        return page.outcome();
    }
    const std::string file = suspensionFile(change, site);
    Outcome outcome = writeSuspension(change, file, site.name(), suspensionFor(*page));
    for (const BlockAt& at : *blocks) {
        if (outcome.ok() && !at.in(change.configuration()).suspended) {
            outcome = includeIn(change, at, "Include \"" + file + "\"");
        }
    }
    return outcome;
}

}  // namespace

Command siteSuspend() {
    return {
        .words = "site suspend",
        .summary = "Let a website answer 503 with a page",
        .action = suspend,
        .parameters = {SiteName, Page, Message, OnPort},
        .operations = {"ApacheHelper::Apache_AddDirectivesInVH", "CZPWebsite::EnableMessage"},
        .more =
            "On all its listeners, also where it redirects or is passed on to a proxy. The page is put "
            "into one "
            "line.",
        .examples = {"site suspend shop.example",
                     "site suspend shop.example --page /etc/zpweb/unpaid.html"},
    };
}

}  // namespace zpweb
