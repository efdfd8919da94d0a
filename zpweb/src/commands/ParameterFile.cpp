// Lines of parameter files.
#include "FileHandling.h"
#include "commands/Groups.h"
#include "commands/Operation.h"
#include "commands/Parameters.h"
#include "input/Quoted.h"
#include "sys/File.h"

namespace zpweb {

namespace {

struct ParameterLine {
    std::string file, name, value;
    char delimiter;

    explicit ParameterLine(const Arguments& arguments)
        : file(arguments.one("FILE")),
          name(arguments.one("NAME")),
          value(arguments.one("VALUE")),
          delimiter(arguments.one("--delimiter", "blank") == "blank" ? ' ' : '=') {}

    std::string text() const { return name + delimiter + value; }
    Outcome missing() const { return failure(Status::NotFound, file + ": no line " + inQuotes(text())); }
    bool isIn(const std::string& path) const {
        return FileHandling().isParamValueExistsInFile(path, name, value, delimiter, Comment);
    }
    bool removeFrom(const std::string& path) const {
        return FileHandling().delParamFromFile(path, name, value, delimiter, Comment);
    }
    bool setIn(const std::string& path, const std::string& fresh) const {
        return FileHandling().editParamValueInFile(path, name, value, fresh, delimiter, Comment);
    }

private:
    static constexpr char Comment = '#';
};

Outcome test(Session& session, const Arguments& arguments) {
    const ParameterLine line(arguments);
    const bool found = quietly(session.output, [&] { return line.isIn(line.file); });
    session.output.set("line", line.text());
    return found ? done() : line.missing();
}

Outcome change(const ParameterLine& line, const Arguments& arguments, const std::string& staged) {
    const bool present = line.isIn(staged);
    if (arguments.verb == "add") {
        return present || FileHandling().addParamInFile(staged, line.text())
                   ? done()
                   : failure("cannot add the line");
    }
    if (!present) {
        return line.missing();
    }
    const bool changed =
        arguments.verb == "edit" ? line.setIn(staged, arguments.one("NEW")) : line.removeFrom(staged);
    return changed ? done() : failure("the line could not be changed");
}

Outcome edit(Transaction& transaction, const Arguments& arguments) {
    const ParameterLine line(arguments);
    if (transaction.configuration().file(line.file) != nullptr) {
        return failure(Status::Usage, line.file + " belongs to the server's configuration: see directive");
    }
    const Content content = transaction.contentOf(line.file);
    const bool add = arguments.verb == "add";
    if (!add && !content) {
        return failure(Status::NotFound, line.file + ": no such file");
    }
    if (Outcome sound = holdsNoLongLine(line.file, Lines(content.text()), bound::Parameter); !sound.ok()) {
        return sound;
    }
    OtherEdit edit;
    edit.files = {line.file};
    edit.mode = 0644;
    edit.createEmpty = add;
    edit.operation = [&](const std::string& folder) {
        return change(line, arguments, folder + "/" + nameOf(line.file));
    };
    return transaction.edit(edit);
}

}  // namespace

std::vector<Command> parameterFileCommands() {
    const std::vector<Parameter> line = {
        needed("FILE", Kind::Path, "A file of lines"),
        needed("NAME", Kind::Word, "The name at the line's beginning"),
        needed("VALUE", Kind::Text, "The value behind it"),
        option("--delimiter", Kind::Choice, "blank|equals", "What stands between the two (blank)")};
    std::vector<Parameter> changed = line;
    changed.insert(changed.begin() + 3, needed("NEW", Kind::Text, "The new value"));
    return {
        {"param test",
         "Tell whether a file has a line of a name and a value",
         test,
         line,
         {"FileHandling::isParamValueExistsInFile"}},
        {"param add", "Add such a line", edit, line, {"FileHandling::addParamInFile"}},
        {"param edit",
         "Change its value",
         edit,
         changed,
         {"FileHandling::editParamValueInFile"},
         "The library drops the comments and empty lines of the file."},
        {"param delete", "Delete it", edit, line, {"FileHandling::delParamFromFile"}},
    };
}

}  // namespace zpweb
