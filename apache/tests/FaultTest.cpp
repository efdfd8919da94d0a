// Every operation that writes, with every system call that matters failing once in every way: what was
// there is there, or all of what was to come, and the result tells which.
#include <CZPUsers.h>
#include <CZPWebsite.h>
#include <FileHandling.h>
#include <PrivateFolder.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <map>
#include <set>
#include <sstream>

#include "Tracer.h"
#include "support/Editing.h"
#include "support/FileCase.h"
#include "support/Files.h"
#include "support/Sandbox.h"
#include "support/Sites.h"

using namespace zp::test;
namespace fs = std::filesystem;
namespace faults = zp::faults;

namespace {

struct Change {
    std::string name;
    std::map<std::string, std::string> files;  // below a directory of their own
    std::function<int(const std::string& directory)> run;
    int done = 0;
    // An operation of several steps, none of which is taken back and whose tool is not asked how it ended.
    bool inSteps = false;

    friend std::ostream& operator<<(std::ostream& out, const Change& change) { return out << change.name; }
};

// The operation of a manager on the directory's password file, directory or parameter file.
template <class Call>
auto onUsers(Call call) {
    return [=](const std::string& directory) {
        CZPUsers users(nullptr, directory.c_str(), "example.com", "");
        return int{call(users)};
    };
}
template <class Call>
auto onProtection(Call call) {
    return [=](const std::string& directory) {
        PrivateFolder protection(nullptr);
        return call(protection, directory);
    };
}
template <class... Parameters, class... Arguments>
auto onParameters(bool (FileHandling::*operation)(std::string, Parameters...), Arguments... arguments) {
    return [=](const std::string& directory) {
        return int{(FileHandling().*operation)(directory + "/file", arguments...)};
    };
}

std::vector<Change> changes() {
    std::vector<Change> all;
    for (const Editing& editing : editings()) {
        if (editing.name == std::string("addModule")) {
            continue;  // where modules are it asks of the same file; of one that cannot be read, it takes
                       // the usual place
        }
        all.push_back({editing.name,
                       {{"httpd.conf", editedConfiguration()}},
                       [run = editing.run](const std::string& directory) {
                           return run(directory + "/httpd.conf", "");
                       },
                       editing.done});
    }
    using Files = std::map<std::string, std::string>;
    const Files users{{"etc/webusers/passwd.example.com", "ann:1\nbob:2\n"}},
        parameters{{"file", "A B\nC D\n"}};
    const Files protection{
        {".htaccess",
         "AuthUserFile %/.htpasswd\nAuthName \"Restricted Area\"\nAuthType Basic\nrequire valid-user\n"},
        {".htpasswd", "ann:$apr1$x$1\nbob:$apr1$y$2\n"}};
    Files manyUsers = protection;
    for (int line = 0; line < 70; ++line) {
        manyUsers[".htpasswd"] += "#" + std::string(60, '-') + "\n";  // the tool reads 4096 bytes at a time
    }
    manyUsers[".htpasswd"] += "bobby:$apr1$z$3\n";
    const Files beside{{".htaccess", "Options None\n"}, {".htpasswd", "ann:$apr1$x$1\n"}};
    const Change others[] = {
        {"addPrivateFolderBesideOtherLines", beside,
         onProtection([](auto& p, auto& d) { return p.addPrivateFolder(d, "cid", "x"); }), 1602, true},
        {"UserCreate", users, onUsers([](auto& u) { return u.UserCreate("cid", "new"); }), 77},
        {"ChangePasswd", users, onUsers([](auto& u) { return u.ChangePasswd("bob", "new"); }), 76},
        {"UserDelete", users, onUsers([](auto& u) { return u.UserDelete("bob"); }), 79},
        {"addPrivateFolder", protection,
         onProtection([](auto& p, auto& d) { return p.addPrivateFolder(d, "cid", "x"); }), 1602, true},
        {"deletePrivateFolder", manyUsers,
         onProtection([](auto& p, auto& d) { return p.deletePrivateFolder(d, "bob"); }), 1603, true},
        {"editPrivateFolder", protection,
         onProtection([](auto& p, auto& d) { return p.editPrivateFolder(d, d, "bob", "x"); }), 1605, true},
        {"addParamInFile", parameters, onParameters(&FileHandling::addParamInFile, "E F"), 1},
        {"editParamValueInFile", parameters,
         onParameters(&FileHandling::editParamValueInFile, "A", "B", "X", ' ', '#'), 1},
        {"delParamFromFile", parameters, onParameters(&FileHandling::delParamFromFile, "A", "B", ' ', '#'),
         1},
    };
    all.insert(all.end(), std::begin(others), std::end(others));
    return all;
}

constexpr const char* Attribute = "trusted.mark";

// Mode, attribute, owner and text of each file.
using State = std::map<std::string, std::string>;

// A hash is another one each time that it is made.
std::string withoutSalt(const std::string& passwords) {
    constexpr size_t HashLength = 37;
    std::istringstream in(passwords);
    std::string told;
    for (std::string line; std::getline(in, line); told += line + "\n") {
        const size_t colon = line.find(':');
        if (colon != std::string::npos && line.size() - colon - 1 == HashLength) {
            line.replace(colon + 1, HashLength, "hash");
        }
    }
    return told;
}

std::string toldOf(const fs::path& file) {
    const std::string text = readFile(file);
    char mark[2] = {};
    ::getxattr(file.c_str(), Attribute, mark, 1);
    return mode(file) + mark + " " + owner(file) + "\n" +
           (file.filename() == ".htpasswd" ? withoutSalt(text) : text);
}

State stateOf(const std::string& directory) {
    State state;
    for (const auto& entry : fs::recursive_directory_iterator(directory)) {
        if (entry.is_regular_file()) {
            state[fs::relative(entry.path(), directory)] = toldOf(entry.path());
        }
    }
    for (const char* scratch : {"/etc/apactemp", "/etc/apactemp1", "/etc/tempapa1"}) {
        if (fs::exists(scratch)) {
            state[scratch] = readFile(scratch);
        }
    }
    return state;
}

// Without backups, and without the scratch files whose name nobody can know again (the second, or a random
// one): creation leaves one where it cannot read the configuration, a killed run always.
State essential(State state) {
    std::erase_if(state, [](const auto& file) {
        return file.first.find(".zpbackup.") != std::string::npos ||
               file.first.find_first_not_of("0123456789") == std::string::npos ||
               (file.first.starts_with("file") && file.first.size() == 10);
    });
    return state;
}

std::string shown(const State& state) {
    std::string text;
    for (const auto& [name, told] : state) {
        text += "--- " + name + " " + told;
    }
    return text;
}

// Every fault for "ZP_FAULTS=all", otherwise each call that fails once and a fixed sample of the rest.
bool isAskedFor(int call, faults::Kind kind) {
    static const bool all = std::getenv("ZP_FAULTS") != nullptr;
    return all || kind == faults::Kind::Eio || (kind == faults::Kind::Eintr && call % 3 == 0) ||
           (call * 7 + static_cast<int>(kind)) % 23 == 0;
}

}  // namespace

class Faults : public ::testing::TestWithParam<Change> {
protected:
    void SetUp() override { addSiteAccounts(); }

    // The files as they are before the change.
    void restore() const {
        fs::remove_all(directory);
        fs::remove_all("/var/www/example.com");
        for (const char* scratch : {"/etc/apactemp", "/etc/apactemp1", "/etc/tempapa1"}) {
            fs::remove_all(scratch);
        }
        for (const auto& [name, text] : GetParam().files) {
            writeFile(directory + "/" + name, filled(text));
            fs::permissions(directory + "/" + name, fs::perms(0640));
            ::setxattr((directory + "/" + name).c_str(), Attribute, "1", 1, 0);  // where there are such
        }
    }
    std::string filled(std::string text) const {
        const size_t at = text.find("%/");
        return at == std::string::npos ? text : text.replace(at, 1, directory);
    }

    faults::Run change(const faults::Fault& fault) const {
        return faults::run(fault, [this] {
            std::cout.setstate(std::ios::failbit);
            return GetParam().run(directory) & 0xff;
        });
    }
    bool isDone(const faults::Run& run) const {
        return WIFEXITED(run.status) && WEXITSTATUS(run.status) == (GetParam().done & 0xff);
    }

    // In steps, mode and text may be of different ones.
    bool isOldOrNew(const std::string& told, const std::string& old, const std::string& now) const {
        const auto mode = [](const std::string& all) { return all.substr(0, all.find('\n')); };
        const auto text = [](const std::string& all) { return all.substr(all.find('\n') + 1); };
        return told == old || told == now ||
               (GetParam().inSteps && (mode(told) == mode(old) || mode(told) == mode(now)) &&
                (text(told) == text(old) || text(told) == text(now)));
    }

    // How "mv" and "cp" end is not asked: callers rely on the result.
    static bool isOfTool(const faults::Run& run) {
        return run.program == "mv" || run.program == "cp" || run.program == "sh";
    }

    // What is wrong after a fault; empty: nothing.
    std::string judged(const faults::Run& run, const State& now) const {
        for (const auto& [name, told] : before) {
            if (!now.contains(name) || !isOldOrNew(now.at(name), told, after.at(name))) {
                return name + " is neither the old nor the new one";
            }
        }
        if (!WIFEXITED(run.status) || GetParam().inSteps || isOfTool(run)) {
            return "";
        }
        const std::string result = "told as " + std::to_string(WEXITSTATUS(run.status));
        if (isDone(run)) {
            return essential(now) == after ? "" : result + ", done, but is not";
        }
        return essential(now) == before ? "" : result + ", but something is not as before";
    }

    // The next run of the same change, with no fault.
    std::string next() const {
        if (essential(stateOf(directory)) == after) {
            return "";
        }
        fs::remove_all("/var/www/example.com");  // creation refuses what is there
        const faults::Run again = change({});
        return isDone(again) && essential(stateOf(directory)) == after ? "" : "the next run is not done";
    }

    std::string directory = scratch("files");
    State before, after;
};
INSTANTIATE_TEST_SUITE_P(Changes, Faults, ::testing::ValuesIn(changes()),
                         [](const auto& change) { return change.param.name; });

// What comes into a file's place, and what is written into the file itself, is on the disk before it
// counts.
TEST_P(Faults, SyncWhatTheyWrite) {
    restore();
    const std::string log = scratch("calls");
    const int standardError = ::dup(STDERR_FILENO);
    ASSERT_NE(std::freopen(log.c_str(), "w", stderr), nullptr);
    const faults::Run whole = change({.all = true});
    ::dup2(standardError, STDERR_FILENO);
    ASSERT_TRUE(isDone(whole));
    std::istringstream calls(readFile(log));
    std::set<std::string> written;
    for (std::string line;
         std::getline(calls, line);) {  // "number call file"; tools say other things there
        std::istringstream words(line);
        int number = 0;
        std::string call, file;
        if (!(words >> number >> call) || !std::getline(words >> std::ws, file)) {
            continue;
        }
        if (call.find("write") != std::string::npos || call == "copy_file_range" || call == "sendfile") {
            written.insert(file);
        } else if (call == "fsync" || call == "fdatasync") {
            written.erase(file);
        } else if (call.starts_with("rename")) {
            EXPECT_FALSE(written.contains(file)) << "moved as it was: " << file;
        }
    }
    EXPECT_NE(readFile(log).find("sync"), std::string::npos);
    std::erase_if(written, [](auto& name) {
        return !fs::exists(name) || name.find(".zpbackup") != std::string::npos;
    });
    EXPECT_EQ(written, std::set<std::string>{});
}

TEST_P(Faults, LeaveTheOldOrTheNew) {
    restore();
    before = essential(stateOf(directory));
    const faults::Run whole = change({});
    after = essential(stateOf(directory));
    ASSERT_TRUE(isDone(whole)) << WEXITSTATUS(whole.status);
    ASSERT_NE(before, after);
    int injected = 0, violations = 0;
    for (const faults::Kind kind : faults::Kinds) {
        for (int call = 1; call <= whole.calls; ++call) {
            if (!isAskedFor(call, kind)) {
                continue;
            }
            restore();
            const faults::Run run = change({kind, call});
            if (!run.hit) {
                continue;
            }
            ++injected;
            const State now = stateOf(directory);
            std::string wrong = judged(run, now);
            wrong = wrong.empty() ? next() : wrong;
            const bool isData = (run.where.starts_with("read ") || run.where.starts_with("write ")) &&
                                !run.where.ends_with("/etc/passwd");  // which the C library reads
            const bool isOfOthers = isOfTool(run) || run.program == "htpasswd";
            if (kind == faults::Kind::Eintr && isData && !isOfOthers && !isDone(run)) {
                wrong = "a call that was interrupted was not made again";
            }
            if (kind != faults::Kind::Eintr && run.where.starts_with("fsync ") && !isOfOthers &&
                isDone(run)) {
                wrong = "what the disk did not take counts as done";
            }
            violations += !wrong.empty();
            EXPECT_EQ(wrong, "") << faults::nameOf(kind) << " at call " << call << ", " << run.where << "\n"
                                 << shown(now);
        }
    }
    std::cout << "faults: " << GetParam().name << " " << injected << " " << violations << "\n";
}

// A name that is cut where one buffer ends, and whose rest cannot be read, is no answer; a call that was
// interrupted is made again.
TEST(ReadFault, MakesNoPartOfALineAnAnswer) {
    constexpr size_t Buffer = size_t{128} * 1024;
    const std::string name = "<VirtualHost *>\nServerName example.com";
    std::string text;
    while (text.size() < Buffer - name.size()) {
        text += std::string(std::min<size_t>(500, Buffer - name.size() - text.size() - 1), '#') + "\n";
    }
    const std::string file = scratch("httpd.conf");
    writeFile(file, text + name + ".au\n</VirtualHost>\n");
    const std::string folder = scratch();
    writeFile(folder + "/etc/webusers/passwd.example.com", text + std::string(100, '#') + "\ncid:2\n");
    struct Question {
        std::function<int()> ask;
        int answer, withoutOne;
    };
    const Question questions[] = {
        {[&] { return CZPWebsite(nullptr, file.c_str()).WebsiteExists("example.com"); }, 32, 22},
        {[&] {
             std::string address;
             return int{CZPWebsite(nullptr).LookupDomainInConfFile("example.com", file, address)};
         },
         false, true},
        {[&] { return int{CZPUsers(nullptr, folder.c_str(), "example.com", "").UserCreate("cid", "x")}; },
         54, 78},
    };
    for (const Question& question : questions) {
        const auto ask = [&](const faults::Fault& fault) {
            return faults::run(fault, [&] {
                std::cout.setstate(std::ios::failbit);
                return question.ask();
            });
        };
        const faults::Run whole = ask({});
        ASSERT_EQ(WEXITSTATUS(whole.status), question.answer);
        int reads = 0;
        for (int call = 1; call <= whole.calls; ++call) {
            const faults::Run failed = ask({faults::Kind::Eio, call});
            if (failed.hit && failed.where.starts_with("read ")) {
                ++reads;
                EXPECT_EQ(WEXITSTATUS(failed.status), question.withoutOne)
                    << failed.where << " at " << call;
                EXPECT_EQ(WEXITSTATUS(ask({faults::Kind::Eintr, call}).status), question.answer) << call;
            }
        }
        EXPECT_GE(reads, 2);
    }
}
