#include "support/FileCase.h"

#include "support/Files.h"
#include "support/Told.h"
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

bool isSaidElsewhere(const FileCase& fileCase, const std::string& printed) {
    return !printed.empty() &&
           fileCase.expected.substr(0, fileCase.expected.find('\n')).ends_with(", chatter");
}

}  // namespace

void check(const FileCase& fileCase) {
    const std::string folder = scratch("conf/"), file = folder + Name;
    writeFile(file, fileCase.before);
    std::string told, printed, kept;
    {
        const CapturedOutput output;
        told = std::to_string(fileCase.operation(file));
        printed = output.text();
    }
    for (const std::string& name : namesIn(folder)) {
        const std::string beside = shown(name);
        told += name == Name ? "" : ", " + beside;
        if (beside.starts_with(".zpbackup") && readFile(folder + name) != fileCase.before) {
            kept += "kept:\n" + changes(fileCase.before, readFile(folder + name));
        }
    }
    told += isSaidElsewhere(fileCase, printed) ? ", chatter\n" : "\n" + printedLines(printed);
    expectTold(told + changes(fileCase.before, readFile(file)) + kept, fileCase.expected);
}

}  // namespace zp::test
