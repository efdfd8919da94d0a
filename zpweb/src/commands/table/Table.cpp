#include "commands/table/Table.h"

#include <algorithm>

#include "commands/Commands.h"
#include "commands/SettingsCommands.h"

namespace zpweb {

namespace {

using Maker = Command (*)();

// In the order of the manual; what serves the panel alone stands last.
constexpr Maker Makers[] = {
    siteCreate,      siteDelete,      siteStart,        siteStop,       siteStatus,     siteEnable,
    siteDisable,     siteMove,        siteRename,       siteList,       siteShow,       siteSet,
    siteSuspend,     siteResume,      sitePort,         hostAdd,        hostRemove,     addressList,
    addressOwn,      addressShared,   vdirCreate,       vdirDelete,     vdirSet,        vdirShow,
    vdirList,        vdirFind,        userAdd,          userPasswd,     userDelete,     userList,
    protectAdd,      protectRemove,   protectEdit,      perlOn,         perlOff,        basedirOn,
    basedirOff,      tlsOn,           tlsOff,           tlsList,        tlsRenewed,     phpSet,
    phpOff,          phpList,         proxySet,         proxyRemove,    proxyList,      accessSet,
    accessOff,       accessShow,      redirectSet,      redirectRemove, redirectList,   siteCanonical,
    logRotate,       logPolicy,       logShow,          directiveGet,   directiveAdd,   directiveSet,
    directiveDelete, directiveInsert, folderAdd,        folderSet,      folderMove,     folderDelete,
    folderLine,      paramTest,       paramAdd,         paramEdit,      paramDelete,    moduleShow,
    moduleLoad,      moduleUnblock,   serverInfo,       serverReload,   serverCatchAll, exportOfSites,
    planSites,       applyCommands,   historyOfChanges, undoChange,     confirmChange,  doctorFindings,
    sitePause,       siteContinue,    railsOn,          railsOff,       suphpInstall,   suphpOn,
    suphpOff,        limitsOn,        serverPanelPort,
};

Command made(Maker maker) {
    Command command = maker();
    if (command.needsSecret) {
        command.parameters.push_back(PasswordFile);
    }
    return command;
}

}  // namespace

const std::vector<Command>& commandTable() {
    static const std::vector<Command> table = [] {
        std::vector<Command> all;
        std::transform(std::begin(Makers), std::end(Makers), std::back_inserter(all), made);
        return all;
    }();
    return table;
}

const Command* findCommand(std::string_view words) {
    const auto& table = commandTable();
    const auto found = std::find_if(table.begin(), table.end(),
                                    [&](const Command& command) { return command.words == words; });
    return found == table.end() ? nullptr : &*found;
}

const std::vector<Parameter>& commonOptions() {
    static const std::vector<Parameter> options = {
        {"--conf", Kind::Text, "FILE",
         "The server's main configuration file; without it, the installed server's"},
        {"--json", Kind::Flag, "", "Print one JSON document instead of columns"},
        {"--dry-run", Kind::Flag, "", "Do everything but the last step: nothing is changed"},
        {"--detailed-exitcode", Kind::Flag, "", "With --dry-run, exit with 8 when something would change"},
        {"--diff", Kind::Flag, "", "Print what changes as a unified diff"},
        {"--ensure", Kind::Flag, "", "What exists, or is gone, already counts as done"},
        {"--no-check", Kind::Flag, "", "Do not ask the server to check the configuration"},
        {"--allow-impact", Kind::Flag, "", "Go on though names that nobody asked for would lead elsewhere"},
        {"--allow-log-links", Kind::Flag, "",
         "Reload though a link of a site's owner leads the log that root writes elsewhere"},
        {"--no-reload", Kind::Flag, "", "Do not reload the server"},
        {"--strict", Kind::Flag, "", "Roll back when a site's answer got worse after the reload"},
        {"--exact", Kind::Flag, "", "Take the library's own result, with its side effects on the text"},
        {"--lock-timeout", Kind::Number, "SECONDS", "Wait this long for another run to end (30)"},
        {"--label", Kind::Text, "TEXT",
         "Name the change, so that \"undo --label\" takes all of that name back"},
        {"--confirm-within", Kind::Text, "DURATION",
         "Take the change back by itself unless \"confirm\" comes within this time, such as 10m"},
        {"--quiet", Kind::Flag, "", "Print data and errors only"},
        {"--verbose", Kind::Flag, "", "Also print what the operations and the server say"},
    };
    return options;
}

}  // namespace zpweb
