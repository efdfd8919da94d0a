// Operations of the library on any text with any argument: every call ends, what reads changes nothing, no
// argument becomes a line of its own, what is told as failed has changed nothing, and starting undoes
// stopping.
#include <ApacheHelper.h>
#include <CZPVirtualDirectory.h>
#include <CZPWebsite.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>

#include "host/Machine.h"
#include "support/Editing.h"
#include "support/Files.h"

namespace fs = std::filesystem;
using namespace zp::test;

namespace {

constexpr const char* Second = "ZpSecondLine on";

// Nothing leaves the directory of the run.
zp::host::Machine quietMachine(const std::string& directory) {
    static std::ostringstream unseen;
    zp::host::Machine machine;
    const auto rename = [](const std::string& from, const std::string& to) {
        std::error_code none;
        fs::rename(from, to, none);
        return !none;
    };
    machine.run = [](const auto&) {};
    machine.runUnseen = [](const auto&) { return zp::host::Ran::Done; };
    machine.firstLine = [](const auto&, size_t) { return std::string(); };
    machine.move = rename;
    machine.copy = [](const std::string& from, const std::string& to) {
        std::error_code none;
        fs::copy_file(from, to, fs::copy_options::overwrite_existing, none);
    };
    machine.scratch = [directory](const std::string& path) {
        return directory + "/" + fs::path(path).filename().string();
    };
    machine.effect = [](const auto&) { return true; };
    machine.out = []() -> std::ostream& {
        unseen.str("");
        return unseen;
    };
    return machine;
}

const std::string& directory() {
    static const std::string made = [] {
        std::string name = "/tmp/zpfuzz.XXXXXX";
        return std::string(::mkdtemp(name.data()));
    }();
    return made;
}

void demand(bool holds, const char* what, const std::string& operation, const std::string& after) {
    if (!holds) {
        std::cerr << what << ": " << operation << "\n" << after << "\n";
        std::abort();
    }
}

void read(const std::string& file) {
    std::string value, address;
    bool there = false;
    StringVector names, contents;
    ApacheHelper helper;
    static_cast<void>(helper.Apache_getDirectiveValue(file, "Listen", value, false));
    static_cast<void>(helper.Apache_getDirectiveInVH(file, "old.example", "ErrorLog", value, true));
    static_cast<void>(helper.Apache_checkModule(file, "m", there));
    static_cast<void>(helper.Apache_isDirectiveWithValueExists(file, "Listen", "80", false));
    static_cast<void>(helper.Apache_isModuleExistsInVH(file, "old.example", "m"));
    CZPWebsite website(nullptr, file.c_str());
    static_cast<void>(website.GetWebsiteStatus("old.example"));
    static_cast<void>(website.LookupDomainInConfFile("old.example", file, address));
    static_cast<void>(website.ISIPLessDomain("old.example", file, address));
    static_cast<void>(website.GetRootDocPath(file, "old.example"));
    static_cast<void>(website.VHostsInIncFile(file, names));
    static_cast<void>(website.ListOccupiedIPs(&names));
    static_cast<void>(website.ExtractHighestLVEid(file));
    static_cast<void>(website.getApacheServerRoot(file));
    static_cast<void>(CZPVirtualDirectory::GetVDPath(file, "old.example", "x"));
    static_cast<void>(CZPVirtualDirectory(nullptr, file.c_str()).DirectoryRequired("old.example", "/home"));
}

// Absent where a start meets a line of comment marks alone: its documented error.
std::optional<int> resultOf(const Editing& editing, const std::string& file, const std::string& value) {
    try {
        return editing.run(file, value);
    } catch (const std::out_of_range&) {
        demand(std::string(editing.name) == "StartWebsite", "thrown", editing.name, readFile(file));
        return std::nullopt;
    }
}

bool isPlain(const std::string& text) {
    return text.find('#') == std::string::npos && text.find("\n\n") == std::string::npos &&
           text.find('\r') == std::string::npos && text.find('\0') == std::string::npos &&
           text.size() < 20'000 && !text.starts_with('\n') && text.ends_with('\n');
}

void stopAndStart(const std::string& file, const std::string& text) {
    if (isPlain(text)) {
        writeFile(file, text);
        CZPWebsite website(nullptr, file.c_str());
        static_cast<void>(website.StopWebsite("old.example"));
        static_cast<void>(website.StartWebsite("old.example"));
        demand(readFile(file) == text, "starting does not undo stopping", "StopWebsite", readFile(file));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 2) {
        return 0;
    }
    static const zp::host::MachineInUse quiet(quietMachine(directory()));
    const Editing& editing = editings()[data[0] % editings().size()];
    const auto* const bytes = reinterpret_cast<const char*>(data);
    const size_t length = std::min<size_t>(data[1] % 32, size - 2);
    std::string value(bytes + 2, length);
    value += data[1] >= 128 ? "\n" + std::string(Second) : "";
    const std::string text(bytes + 2 + length, size - 2 - length), file = directory() + "/httpd.conf";
    writeFile(file, text);
    const auto result = resultOf(editing, file, value);
    if (!result) {
        demand(readFile(file) == text, "thrown, but changed", editing.name, readFile(file));
        return 0;
    }
    const std::string after = readFile(file);
    demand(text.find(Second) != std::string::npos ||
               after.find("\n" + std::string(Second)) == std::string::npos,
           "an argument became a line", editing.name, after);
    const bool failed =
        (*result == editing.noFile || *result == editing.noScratch) && *result != editing.done;
    demand(!failed || after == text, "told as failed, but changed", editing.name, after);
    read(file);
    demand(readFile(file) == after, "what reads has changed the file", editing.name, readFile(file));
    stopAndStart(file, text);
    return 0;
}
