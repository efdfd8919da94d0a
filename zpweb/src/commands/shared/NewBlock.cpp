#include "commands/shared/NewBlock.h"

#include "commands/shared/Scopes.h"
#include "conf/Text.h"
#include "sys/File.h"
#include "text/Lines.h"

namespace zpweb {

namespace {

using zp::conf::beginsIgnoringCase;

std::string indentationOf(std::string_view line) {
    return std::string(line.substr(0, line.size() - zp::conf::skipSpace(line).size()));
}

// ErrorLog /home/shop/log/httpd/error_log, with what stands behind the path.
std::string movedLog(std::string_view line, const std::string& logs) {
    const size_t path = line.find('/');
    const std::string_view file = zp::conf::upTo(line.substr(path), " \t");
    return std::string(line.substr(0, path)) + logs + "/" + nameOf(std::string(file)) +
           std::string(line.substr(path + file.size()));
}

std::string fittedLine(std::string_view line, const NewBlock& wanted) {
    const std::string_view text = textOf(line);
    if (beginsIgnoringCase(text, "<VirtualHost") && !wanted.address.empty()) {
        return indentationOf(line) + "<VirtualHost " + wanted.address + ">";
    }
    const bool isLog = beginsIgnoringCase(text, "ErrorLog") || beginsIgnoringCase(text, "CustomLog");
    return isLog && !wanted.logs.empty() && zp::conf::contains(text, "/") ? movedLog(line, wanted.logs)
                                                                          : std::string(line);
}

}  // namespace

std::string fitted(std::string_view text, const NewBlock& wanted) {
    const Lines lines(text);
    size_t documents = lines.size();  // the last <Directory> is the one around the document root
    for (size_t i = 0; wanted.grants && i < lines.size(); ++i) {
        documents = beginsIgnoringCase(textOf(lines[i]), "<Directory") ? i : documents;
    }
    std::string result;
    for (size_t i = 0; i < lines.size(); ++i) {
        if (!wanted.alias && beginsIgnoringCase(textOf(lines[i]), "ServerAlias")) {
            continue;
        }
        const char* end = endsInReturn(lines[i]) ? "\r\n" : "\n";
        result += fittedLine(withoutReturn(lines[i]), wanted) + end;
        if (i == documents) {
            result += indentationOf(lines[i]) + "\tRequire all granted" + end;
        }
    }
    return result;
}

}  // namespace zpweb
