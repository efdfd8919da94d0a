// site create: a new website, where the server keeps its sites.
#include <sys/stat.h>

#include <algorithm>
#include <utility>

#include "CZPWebsite.h"
#include "Results.h"
#include "commands/Commands.h"
#include "commands/shared/AddressBlock.h"
#include "commands/shared/FreeName.h"
#include "commands/shared/LayoutChoice.h"
#include "commands/shared/Listening.h"
#include "commands/shared/NewBlock.h"
#include "commands/shared/Operation.h"
#include "commands/shared/Scopes.h"
#include "commands/shared/SiteFiles.h"
#include "commands/shared/SiteHome.h"
#include "commands/shared/SiteLogs.h"
#include "conf/Bounds.h"
#include "conf/Text.h"
#include "input/HostName.h"
#include "input/Quoted.h"
#include "server/Layout.h"
#include "server/Program.h"
#include "sys/File.h"

namespace zpweb {

namespace {

namespace result = zp::result::website;

constexpr auto Name = needed("NAME", Kind::HostName, "The new site's name");
constexpr auto Address =
    option("--address", Kind::Listener, "IP",
           "The address that it listens on, or * (default: the one that most sites use)");
constexpr auto Port =
    option("--port", Kind::Port, "PORT", "The port that it listens on (80, or the panel's)");
constexpr auto Listen = flag("--listen", "Let the server listen on that port when it does not");
constexpr auto Owner =
    neededOption("--owner", Kind::Account, "ACCOUNT", "The account that owns its directories");
constexpr auto Parent =
    option("--path", Kind::Path, "FOLDER", "The parent of its home (default: the owner's home)");
constexpr auto Traverse =
    flag("--traverse", "Let everybody pass the directories above its home (chmod o+x)");
constexpr auto Admin =
    option("--admin", Kind::Account, "ACCOUNT", "Its administrator (default: the owner)");
constexpr auto Mode = option("--mode", Kind::Choice, "shared|own|plain",
                             "The address is shared by name, the site's own, or taken as it is (shared)");
constexpr auto Logs = option("--logs", Kind::Choice, "system|home",
                             "Where its logs lie: in /var/log/websites/NAME, or in its home");

// How the address is used, as the record says it.
constexpr char Plain = '0';
constexpr char SharedAddress = '1';
constexpr char Own = '2';

char switchOf(std::string_view mode) {
    constexpr std::pair<std::string_view, char> Modes[] = {
        {"plain", Plain}, {"shared", SharedAddress}, {"own", Own}};
    const auto* found = std::find_if(std::begin(Modes), std::end(Modes),
                                     [mode](const auto& each) { return each.first == mode; });
    return found == std::end(Modes) ? SharedAddress : found->second;
}

// A new site as it was asked for, and as the server needs it.
struct CreationPlan {
    std::string name, home;
    std::string file;          // that its block goes into
    std::string link, target;  // to the file, where the server wants one
    std::string logs;          // the directory of its logs; empty: in its home
    Listening listening;
    VHostEntry entry{};
    bool shared = true;   // the address
    bool listens = true;  // the server does, without a line of this site's
    bool before24 = false;
};

char switchFor(const CreationPlan& plan, const std::string& mode) {
    // Without the line that announces the address, which only old servers need, the block is the same.
    return plan.shared && !plan.before24 ? Plain : switchOf(mode);
}

VHostEntry entryFor(const CreationPlan& plan, const Arguments& given) {
    const std::string owner = given[Owner];
    VHostEntry entry{};
    setField(entry.IPAddress, plan.listening.address);
    setField(entry.DName, plan.name);
    setField(entry.PunyCode, plan.name);
    setField(entry.UserName, owner);
    setField(entry.ServerAdmin, given[Admin].value_or(owner));
    setField(entry.Port, plan.listening.port);
    setField(entry.Path, directoryOf(plan.home) + "/");
    entry.IPSwitch = switchFor(plan, given[Mode].value_or("shared"));
    return entry;
}

Outcome choosePlace(const Configuration& configuration, const Arguments& given, CreationPlan& plan) {
    if (given[Mode] == "own") {
        plan.file = fileOfAddress(configuration, plan.listening.address);
        return canTakeBlock(*configuration.file(plan.file), plan.listening.address);
    }
    const auto layout = chosenLayout(configuration, given[LayoutWord]);
    if (!layout.ok()) {
        return layout.outcome();
    }
    plan.file = layout->keepsFiles() ? layout->fileOf(plan.name) : configuration.main().path();
    plan.link = layout->hasLinks() ? layout->linkOf(plan.name) : "";
    plan.target = layout->targetOf(plan.file);
    return done();
}

// An account may have any home, or none.
Expected<std::string> parentFor(const Arguments& given) {
    if (const auto parent = given[Parent]) {
        return *parent;
    }
    const auto home = typedValue(Kind::Path, "--path", homeOf(given[Owner]), "");
    return home.ok() ? home
                     : failure(Status::Usage, "the home of account " + inQuotes(given[Owner]) +
                                                  " cannot be a site's: " + home.outcome().message +
                                                  "; name a directory with --path");
}

CreationPlan creationPlan(const Configuration& configuration, const Arguments& given,
                          const std::string& parent) {
    CreationPlan plan;
    plan.name = given[Name];
    plan.home = parent + "/" + plan.name;
    plan.shared = given[Mode].value_or("shared") == "shared";
    plan.before24 = isBefore24();
    const std::string port = given[Port].value_or(usualPort());
    const auto address = given[Address];
    plan.listening = {address ? *address : usualAddress(configuration, port), port};
    plan.listens = !given[Listen] || isListening(configuration, plan.listening);
    plan.logs = given[Logs].value_or(usualLogs()) == "system" ? systemLogs(plan.name) : "";
    plan.entry = entryFor(plan, given);
    return plan;
}

Outcome isFree(Transaction& change, const CreationPlan& plan) {
    const Configuration& configuration = change.configuration();
    const std::string readable = inQuotes(readableHostName(plan.name));
    if (const auto places = configuration.find(plan.name); !places.empty()) {
        change.output().set("site", plan.name);
        change.output().set("place", places.front().text());
        return existsAlready("site " + readable + ": exists already, at " + places.front().text());
    }
    if (const std::string holder = holderOf(change, plan.name); !holder.empty()) {
        return failure(Status::Exists, "name " + readable + ": another site has it, at " + holder +
                                           "; take it from that site first (host remove)");
    }
    for (const std::string& path : {plan.file, plan.link}) {
        if (!path.empty() && configuration.file(plan.file) == nullptr && exists(path)) {
            const bool isDisabled = !disabledSites(configuration, plan.name).empty();
            return failure(
                Status::Exists,
                path + ": exists already; a site's file is made new" +
                    (isDisabled ? " (site enable " + plan.name + " lets the server read it again)" : ""));
        }
    }
    return done();
}

Outcome canListen(const Configuration& configuration, const CreationPlan& plan, bool listen) {
    if (Outcome ours = isOfThisHost(plan.listening.address); !ours.ok()) {
        return ours;
    }
    if (listen || isListening(configuration, plan.listening)) {
        return done();
    }
    return failure(Status::Refused, "the server does not listen on " + plan.listening.text() +
                                        ", so nobody could reach the site; --listen lets it");
}

// What creation changes besides what it adds: in "own" mode, the address's own block.
Scope creationScope(const ConfigurationFile& file, const VHostEntry& entry) {
    Scope scope = additionsScope(file);
    for (const Block& block : file.blocks()) {
        if (entry.IPSwitch == Own && !block.stopped &&
            zp::conf::equalIgnoringCase(bareAddress(block.address), entry.IPAddress)) {
            scope.allow(block.lines);
            break;
        }
    }
    return scope;
}

Outcome meaningFor(const CreationPlan& plan, int result) {
    if (result == result::AlreadyThere) {
        return failure(Status::Exists, "the name, or the block of the address, is taken by another site");
    }
    return result == result::DirectoryNotMade
               ? failure("a directory of the site could not be made in " + plan.home)
               : resultOf("CreateWebsite", result, {result::Created});
}

// The library's block, in the file that it is for.
Outcome stageBlock(Transaction& change, CreationPlan& plan) {
    Edit edit;
    edit.file = plan.file;
    edit.bound = zp::conf::bound::Creation;
    edit.appends = plan.entry.IPSwitch != Own;
    edit.scope = [&](const ConfigurationFile& file) { return creationScope(file, plan.entry); };
    edit.operation = [&](const std::string& staged) {
        return CZPWebsite(nullptr, staged.c_str()).CreateWebsite(&plan.entry);
    };
    edit.meaning = [&](int result) { return meaningFor(plan, result); };
    if (Outcome edited = change.edit(edit); !edited.ok()) {
        return edited;
    }
    return !change.configuration().find(plan.name).empty()
               ? done()
               : failure(Status::NotFound, "address " + inQuotes(plan.listening.address) +
                                               ": it has no block of its own that the site could take");
}

// The same file, with the block fitted to the server.
Outcome fitBlock(Transaction& change, const CreationPlan& plan) {
    NewBlock wanted;
    wanted.address = plan.entry.IPSwitch != Own ? plan.listening.text() : "";
    wanted.logs = plan.logs;
    wanted.grants = !plan.before24;
    wanted.alias = holderOf(change, "www." + plan.name, plan.name).empty();
    const Place place = change.configuration().find(plan.name).front();
    const std::string text(place.file->content().text());
    const size_t at = text.find(place.block->text);
    const std::string listen = plan.listens ? "" : plan.listening.listenLine() + "\n";
    if (!plan.listens) {
        change.asked().serverDirectives.insert("listen");
    }
    const bool begins = plan.file != change.configuration().main().path() && plan.entry.IPSwitch != Own &&
                        zp::conf::skipSpace(text.substr(0, at)).empty();
    const std::string before = begins ? "" : text.substr(0, at);
    return change.rewrite(*place.file,
                          (plan.before24 ? before : withoutAnnouncement(before, plan.listening.address)) +
                              listen + fitted(place.block->text, wanted) +
                              text.substr(at + place.block->text.size()));
}

// A file of its own, where the site gets one.
Outcome beginFile(Transaction& change, const CreationPlan& plan) {
    if (change.configuration().file(plan.file) != nullptr) {
        return done();
    }
    Outcome outcome = change.replace(plan.file, "");
    return outcome.ok() && !plan.link.empty() ? change.link(plan.link, plan.target) : outcome;
}

void report(Transaction& change, const CreationPlan& plan) {
    const Place made = change.configuration().find(plan.name).front();
    Output& output = change.output();
    output.set("site", plan.name);
    if (const std::string readable = readableHostName(plan.name); readable != plan.name) {
        output.set("entered", readable);
    }
    output.set("address", made.block->address);
    output.set("home", plan.home);
    output.set("place", made.text());
}

Outcome create(Transaction& change, const Arguments& given) {
    const Configuration& configuration = change.configuration();
    const auto parent = parentFor(given);
    if (!parent.ok()) {
        return parent.outcome();
    }
    CreationPlan plan = creationPlan(configuration, given, *parent);
    Outcome outcome = choosePlace(configuration, given, plan);
    if (given[Mode] == "own") {
        askForBlock(change, plan.listening.address);
    }
    outcome = outcome.ok() ? isFree(change, plan) : outcome;
    outcome = outcome.ok() ? canListen(configuration, plan, given[Listen]) : outcome;
    outcome = outcome.ok() ? makeReachable(change, plan.home, given[Traverse]) : outcome;
    outcome = outcome.ok() ? makeHome(change, plan.home, given[Owner]) : outcome;
    outcome = outcome.ok() && !plan.logs.empty() ? makeLogs(change, plan.logs, given[Owner]) : outcome;
    outcome = outcome.ok() ? beginFile(change, plan) : outcome;
    outcome = outcome.ok() ? stageBlock(change, plan) : outcome;
    outcome = outcome.ok() ? fitBlock(change, plan) : outcome;
    if (outcome.ok()) {
        report(change, plan);
    }
    return outcome;
}

}  // namespace

Command siteCreate() {
    return {
        .words = "site create",
        .summary = "Create a website: its block, and its directories",
        .action = create,
        .parameters = {Name, Address, Port, Listen, Owner, Parent, Traverse, Admin, Mode, LayoutWord, Logs},
        .operations = {"CZPWebsite::CreateWebsite"},
        .more =
            "The home PATH/NAME is made when it is missing, and in it www, www/html, www/cgi-bin, log, "
            "log/httpd, db and special. The block goes into a file of its own where the server keeps its "
            "sites in files. Logs in a home are files that root writes where the site's owner may place "
            "links; /var/log/websites is root's, and the owner reads them there.",
        .examples =
            {"site create shop.example --owner anna --traverse",
             "site create shop.example --address 192.0.2.7 --owner anna --path /var/www --dry-run --diff"},
    };
}

}  // namespace zpweb
