#include "support/FileCase.h"

#include "support/Files.h"
#include "support/Transcript.h"
#include "support/Watching.h"

namespace zp::test {

namespace {

constexpr const char* Name = "httpd.conf";

std::string shown(const std::string& name) {
    if (name.find_first_not_of("0123456789") == std::string::npos) {
        return "#";
    }
    return name.starts_with(Name) ? name.substr(std::string(Name).size()) : name;
}

}  // namespace

void check(const FileCase& fileCase) {
    const std::string folder = scratch("conf/"), file = folder + Name;
    writeFile(file, fileCase.before);
    std::string result, printed, kept;
    {
        const CapturedOutput output;
        result = std::to_string(fileCase.operation(file));
        printed = output.text();
    }
    for (const std::string& name : namesIn(folder)) {
        const std::string beside = shown(name);
        result += name == Name ? "" : ", " + beside;
        if (beside.starts_with(".zpbackup") && readFile(folder + name) != fileCase.before) {
            kept += "kept:\n" + difference(fileCase.before, readFile(folder + name), "-U1");
        }
    }
    expectTold(fileCase.name, result + "\n" + printedLines(printed) +
                                  difference(fileCase.before, readFile(file), "-U1") + kept);
}

}  // namespace zp::test
