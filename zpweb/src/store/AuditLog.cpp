#include "store/AuditLog.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

#include "output/Output.h"
#include "store/Clock.h"
#include "sys/File.h"

namespace zpweb {

namespace {

std::string userName() {
    const passwd* entry = ::getpwuid(::getuid());
    return entry != nullptr ? entry->pw_name : std::to_string(::getuid());
}

std::string filesOf(const Journal& journal, bool inPlace) {
    std::string files;
    for (const ChangedFile& file : journal.files) {
        files += files.empty() ? "{" : ",{";
        appendMember(files, "file", file.path, true);
        appendMember(files, "before", file.before);
        appendMember(files, "after", inPlace ? file.after : file.before);
        files += '}';
    }
    return "[" + files + "]";
}

}  // namespace

std::string loginName() {
    const char* login = std::getenv("SUDO_USER");
    return login != nullptr ? login : "";
}

Outcome record(const State& state, const Journal& journal, const Outcome& result, bool inPlace) {
    std::string line = "{";
    appendMember(line, "time", timeNow(), true);
    appendMember(line, "user", userName());
    if (!journal.login.empty()) {
        appendMember(line, "login", journal.login);
    }
    appendMember(line, "command", journal.words);
    if (!journal.label.empty()) {
        appendMember(line, "label", journal.label);
    }
    appendMember(line, "result", nameOf(result.status));
    appendMember(line, "exit", static_cast<int>(result.status));
    appendMember(line, "changed", inPlace);
    appendMember(line, "files", JsonText{filesOf(journal, inPlace)});
    appendMember(line, "checkpoint", journal.checkpoint == 0 ? Value() : Value(journal.checkpoint));
    if (!journal.undoes.empty()) {
        appendMember(line, "undoes", journal.undoes.front());
    }
    if (!result.message.empty()) {
        appendMember(line, "message", result.message);
    }
    return appendLine(state.audit(), line + "}", 0600);
}

}  // namespace zpweb
