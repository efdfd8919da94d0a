#include "support/FakeTools.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>

#include "host/Fields.h"
#include "support/Files.h"

namespace zp::test {

namespace {

constexpr const char* NoteCall = R"({
    printf '%s' "${0##*/}"
    for word; do
        case $word in
            '' | *[!A-Za-z0-9_@%+=:,./-]*) printf ' [%s]' "$word" ;;
            *) printf ' %s' "$word" ;;
        esac
    done
    echo
} >>"${0%/*}/../calls"
)";

}  // namespace

FakeTools::FakeTools() : folder_(scratch("tools/bin")), realPath_(zp::host::textOf(std::getenv("PATH"))) {
    std::filesystem::create_directories(folder_);
    ::setenv("PATH", (folder_ + ":" + realPath_).c_str(), 1);
}

FakeTools::~FakeTools() { ::setenv("PATH", realPath_.c_str(), 1); }

void FakeTools::watch(const std::string& program, const std::string& before) const {
    replace(program, before + "\nPATH='" + realPath_ + "' exec " + program + " \"$@\"");
}

void FakeTools::answer(const std::string& program, const std::string& text) const {
    writeFile(folder_ + "/../" + program + ".answer", text);
    replace(program, "exec cat \"${0%/*}/../" + program + ".answer\"");
}

void FakeTools::replace(const std::string& program, const std::string& commands) const {
    const std::string path = folder_ + "/" + program;
    writeFile(path, std::string("#!/bin/sh\n") + NoteCall + commands + "\n");
    std::filesystem::permissions(path, std::filesystem::perms(0755));
}

std::vector<std::string> FakeTools::calls() const {
    std::vector<std::string> calls;
    std::ifstream log(folder_ + "/../calls");
    const std::regex openFile("/proc/[0-9]+/fd/[0-9]+");
    for (std::string call; std::getline(log, call);) {
        calls.push_back(std::regex_replace(call, openFile, "(open file)"));
    }
    return calls;
}

std::string movedFromAnotherFileSystem(const std::string& file) {
    const size_t name = file.rfind('/') + 1;
    return "mv " + file.substr(0, name) + "." + file.substr(name) + ".zpnew " + file;
}

}  // namespace zp::test
