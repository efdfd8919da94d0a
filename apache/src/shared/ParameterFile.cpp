#include "shared/ParameterFile.h"

#include <fcntl.h>

#include <ostream>

#include "conf/Rewrite.h"
#include "host/HeldFile.h"
#include "host/Machine.h"

namespace zp {

using conf::Line;
using conf::LineReader;
using conf::Rewrite;
using host::HeldFile;

namespace {

bool isComplete(const Parameter& parameter) { return !parameter.name.empty() && !parameter.value.empty(); }

bool isOn(const Line& line, const Parameter& parameter) {
    if (!line.begins(parameter.name)) {
        return false;
    }
    // Said for every line with the name: callers look for it in the output.
    host::out() << "delimeter contain spaces\n";
    const std::string_view rest = line.text().substr(parameter.name.size());
    return rest.starts_with(parameter.delimiter) && conf::skipSpace(rest.substr(1)) == parameter.value;
}

bool isComment(const Line& line, char commentMark) { return line.text().starts_with(commentMark); }

}  // namespace

std::optional<bool> hasParameter(const std::string& path, const Parameter& parameter, char commentMark) {
    if (path.empty() || !isComplete(parameter)) {
        return false;
    }
    const HeldFile file(path);
    LineReader reader = file.othersWrite() ? LineReader(file.open(O_RDONLY), conf::bound::Parameter)
                                           : LineReader(path, conf::bound::Parameter);
    for (Line line; reader.read(line);) {
        if (!line.isEmpty() && !isComment(line, commentMark) && isOn(line, parameter)) {
            return true;
        }
    }
    const bool isKnown = reader.isOpen() ? !reader.failed() : file.state() == HeldFile::State::Missing;
    return isKnown ? std::optional(false) : std::nullopt;
}

bool replaceParameter(const std::string& file, const Parameter& parameter, char commentMark,
                      Comments comments, const std::string* replacement) {
    if (!isComplete(parameter)) {
        return false;
    }
    const HeldFile held(file);
    Rewrite rewrite(held, "_zpbackup", conf::bound::Parameter);
    if (!rewrite.open()) {
        return false;
    }
    bool done = false;
    for (Line line; rewrite.read(line);) {
        if (line.isEmpty()) {
            continue;
        }
        if (isComment(line, commentMark)) {
            if (comments == Comments::Kept) {
                rewrite.keep(line);
            }
        } else if (!isOn(line, parameter)) {
            rewrite.keep(line);
        } else {
            if (replacement != nullptr) {
                rewrite.write(*replacement);
            }
            done = true;
        }
    }
    return rewrite.putInPlace() && done;
}

}  // namespace zp
