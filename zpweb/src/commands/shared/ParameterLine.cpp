#include "commands/shared/ParameterLine.h"

#include "FileHandling.h"
#include "commands/shared/Operation.h"
#include "input/Quoted.h"
#include "sys/File.h"

namespace zpweb {

namespace {

// A file of the server's configuration is no parameter file; a long line would be cut.
Outcome mayBeEdited(const Transaction& change, const std::string& file) {
    if (change.configuration().file(file) != nullptr) {
        return failure(Status::Usage, file + " belongs to the server's configuration: see directive");
    }
    return holdsNoLongLine(file, Lines(change.contentOf(file).text()), bound::Parameter);
}

OtherEdit editOf(const ParameterLine& line, const ParameterEdit& edit) {
    OtherEdit other;
    other.files = {line.file};
    other.mode = 0644;
    other.operation = [&](const std::string& directory) {
        return edit(line, directory + "/" + nameOf(line.file));
    };
    return other;
}

}  // namespace

ParameterLine::ParameterLine(const Arguments& given)
    : file(given[ParameterFile]),
      name(given[ParameterName]),
      value(given[ParameterValue]),
      delimiter(given[Delimiter].value_or("blank") == "blank" ? ' ' : '=') {}

Outcome ParameterLine::missing() const {
    return failure(Status::NotFound, file + ": no line " + inQuotes(text()));
}

bool ParameterLine::isIn(const std::string& path) const {
    return FileHandling().isParamValueExistsInFile(path, name, value, delimiter, ParameterComment);
}

Outcome editLine(Transaction& change, const ParameterLine& line, const ParameterEdit& edit) {
    if (Outcome may = mayBeEdited(change, line.file); !may.ok()) {
        return may;
    }
    if (!change.contentOf(line.file)) {
        return failure(Status::NotFound, line.file + ": no such file");
    }
    const ParameterEdit present = [&](const ParameterLine& wanted, const std::string& staged) {
        return wanted.isIn(staged) ? edit(wanted, staged) : wanted.missing();
    };
    return change.edit(editOf(line, present));
}

Outcome editAnyFile(Transaction& change, const ParameterLine& line, const ParameterEdit& edit) {
    if (Outcome may = mayBeEdited(change, line.file); !may.ok()) {
        return may;
    }
    if (const std::string directory = directoryOf(line.file); !isDirectory(directory)) {
        return failure(Status::NotFound, directory + ": no such directory");
    }
    OtherEdit other = editOf(line, edit);
    other.createEmpty = true;
    return change.edit(other);
}

}  // namespace zpweb
