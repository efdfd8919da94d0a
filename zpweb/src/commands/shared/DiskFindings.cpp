#include "commands/shared/DiskFindings.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "commands/shared/TextFindings.h"
#include "store/Lock.h"
#include "sys/File.h"

namespace zpweb {

namespace {

bool looksTemporary(const std::string& name) {
    for (const char* mark : {".zpbackup", "_zpbackup", ".bak", ".orig", ".rej", ".swp", ".tmp", ".dpkg-",
                             ".rpmsave", ".rpmnew", "_temp", ".zpweb"}) {
        if (name.find(mark) != std::string::npos) {
            return true;
        }
    }
    const bool number = name.size() >= 9 &&
                        std::all_of(name.begin(), name.end(), [](char c) { return c >= '0' && c <= '9'; });
    return number || name.ends_with('~') || name.starts_with('#') || name.ends_with(".save");
}

void findDanglingLinksBelow(const std::string& directory, int depth, Findings& findings) {
    constexpr int DeepestDirectory = 4;
    for (const std::string& name :
         depth < DeepestDirectory ? entriesOf(directory) : std::vector<std::string>()) {
        const std::string path = directory + "/" + name;
        struct stat status {};
        const bool link = ::lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
        if (link && ::access(path.c_str(), F_OK) != 0) {
            findings.push_back({"dangling link", path, "what it points at is gone"});
        } else if (S_ISDIR(status.st_mode) && name != ".zpweb") {
            findDanglingLinksBelow(path, depth + 1, findings);
        }
    }
}

}  // namespace

void findTemporaryIncludes(const Configuration& configuration, Findings& findings) {
    for (const auto& file : configuration.files()) {
        for (const IncludeLine& include : file->server().includes) {
            for (const std::string& path : configuration.included(include.pattern)) {
                if (looksTemporary(nameOf(path))) {
                    findings.push_back({"temporary file is included", placeOf(*file, include.line), path});
                }
            }
        }
    }
}

void findDanglingLinks(const Configuration& configuration, Findings& findings) {
    const std::string directory = directoryOf(configuration.main().path());
    findDanglingLinksBelow(directory, 0, findings);
    for (const auto& file : configuration.files()) {
        for (const IncludeLine& include : file->server().includes) {
            for (const std::string& path : configuration.included(include.pattern)) {
                if (!path.starts_with(directory + "/") && exists(path) && !isFile(path)) {
                    findings.push_back(
                        {"dangling link", path, "included at " + placeOf(*file, include.line)});
                }
            }
        }
    }
}

// While somebody holds the lock, what stands there belongs to a run that is still going on.
void findLeftovers(const std::string& main, Findings& findings) {
    const State state(main);
    const bool busy = Lock::isHeld(state);
    for (const std::string& path : {state.journal(), state.stage()}) {
        if (!busy && exists(path)) {
            findings.push_back({"leftover of a run", path, "the next change clears it up"});
        }
    }
    for (const std::string& name : entriesOf(state.directory)) {
        if (name.starts_with("stage.left-")) {
            findings.push_back({"leftover of a run", state.directory + "/" + name,
                                "could not be removed; unmount what is mounted in it, and remove it"});
        }
    }
    for (const std::string& name : entriesOf(directoryOf(main))) {
        const bool scratch = name.size() >= 9 && std::all_of(name.begin(), name.end(),
                                                             [](char c) { return c >= '0' && c <= '9'; });
        if (scratch || name.starts_with(nameOf(main) + "_zpbackup") ||
            name.starts_with(nameOf(main) + "_temp")) {
            findings.push_back(
                {"leftover scratch file", directoryOf(main) + "/" + name, "not used by the server"});
        }
    }
}

// Files of sites beside those that are enabled, as Debian keeps them.
void noteDisabled(const Configuration& configuration, Findings& notes) {
    const std::string directory = directoryOf(configuration.main().path()) + "/sites-available";
    for (const std::string& name :
         isDirectory(directory) ? entriesOf(directory) : std::vector<std::string>()) {
        const auto real = realPathOf(directory + "/" + name);
        if (name.ends_with(".conf") && real.ok() && configuration.file(*real) == nullptr) {
            notes.push_back(
                {"not enabled", directory + "/" + name, "a2ensite " + name.substr(0, name.size() - 5)});
        }
    }
}

}  // namespace zpweb
