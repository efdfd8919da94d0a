#include "server/Program.h"

#include <algorithm>

#include "conf/Text.h"
#include "sys/File.h"
#include "sys/Process.h"

namespace zpweb {

namespace {

// $1 the file of variables, $2 a directory that exists; then the program and its arguments.
constexpr const char* Start = R"(OPTIONS=
[ ! -r /etc/sysconfig/httpd ] || . /etc/sysconfig/httpd
[ ! -r "$1" ] || . "$1"
[ -z "$APACHE_RUN_DIR" ] || [ -d "$APACHE_RUN_DIR" ] || export APACHE_RUN_DIR="$2"
[ -z "$APACHE_LOCK_DIR" ] || [ -d "$APACHE_LOCK_DIR" ] || export APACHE_LOCK_DIR="$2"
shift 2
program=$1
shift
exec "$program" $APACHE_ARGUMENTS $OPTIONS "$@")";

// $1 the file of variables.
constexpr const char* Variables = R"([ ! -r "$1" ] || . "$1"; exec env -0)";

}  // namespace

Program::Program(const std::string& main) : present_(main.empty() ? "/" : directoryOf(main)) {
    for (const char* name : {"apache2", "httpd", "apache2ctl", "apachectl"}) {
        if (path_.empty()) {
            path_ = findProgram(name);
        }
    }
    const std::string directory = directoryOf(main);
    environment_ = (directory.starts_with("/etc/apache2-") ? directory : "/etc/apache2") + "/envvars";
    if (!exists(environment_)) {
        environment_ = directoryOf(path_) + "/envvars";
    }
}

std::vector<std::string> Program::command(const std::vector<std::string>& arguments) const {
    std::vector<std::string> words{"/bin/sh", "-c", Start, "sh", environment_, present_, path_};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return words;
}

std::string Program::infoModule() const {
    for (const std::string& directory :
         {builtInValue("HTTPD_ROOT") + "/modules", std::string("/usr/lib/apache2/modules"),
          std::string("/usr/lib64/httpd/modules"), std::string("/usr/lib/httpd/modules"),
          directoryOf(directoryOf(path_)) + "/modules"}) {
        if (isFile(directory + "/mod_info.so")) {
            return directory + "/mod_info.so";
        }
    }
    return {};
}

std::vector<std::string> Program::readingOf(const std::string& file) const {
    std::vector<std::string> arguments{
        "-t", "-D", "DUMP_VHOSTS", "-D", "DUMP_CONFIG", "-D", "DUMP_INCLUDES", "-D", "DUMP_RUN_CFG"};
    if (const std::string module = infoModule(); !module.empty()) {
        arguments.insert(arguments.end(), {"-c", "LoadModule info_module \"" + module + "\""});
    }
    arguments.insert(arguments.end(), {"-f", file});
    return command(arguments);
}

const std::map<std::string, std::string, std::less<>>& variablesOfServer(const std::string& main) {
    static std::map<std::string, std::map<std::string, std::string, std::less<>>> known;
    const auto [place, isFirst] = known.try_emplace(Program(main).environment());
    if (isFirst) {
        const Finished told = runProgram({"/bin/sh", "-c", Variables, "sh", place->first});
        for (std::string_view rest = told.output; !rest.empty();) {
            const std::string_view each = zp::conf::upTo(rest, std::string_view("\0", 1));
            const std::string_view name = zp::conf::upTo(each, "=");
            place->second.emplace(name, each.substr(std::min(name.size() + 1, each.size())));
            rest.remove_prefix(std::min(each.size() + 1, rest.size()));
        }
    }
    return place->second;
}

std::string builtInValue(const std::string& name) {
    static const std::string answer = [] {
        const Program program;
        return program.found() ? runProgram(program.command({"-V"})).output : std::string();
    }();
    const std::string key = "-D " + name + "=\"";
    const size_t at = answer.find(key);
    if (at == std::string::npos) {
        return {};
    }
    const size_t begin = at + key.size();
    return answer.substr(begin, answer.find('"', begin) - begin);
}

const std::string& printedVersion() {
    static const std::string answer = [] {
        const Program program;
        return program.found() ? runProgram({program.path(), "-v"}).output : std::string();
    }();
    return answer;
}

bool isBefore24() {
    return zp::conf::contains(printedVersion(), "Apache/2.2.") ||
           zp::conf::contains(printedVersion(), "Apache/2.0.");
}

}  // namespace zpweb
