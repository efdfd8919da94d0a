#include "store/Journal.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>

#include "store/JournalText.h"
#include "sys/File.h"
#include "sys/GuardedDirectory.h"

namespace zpweb {

namespace {

// A candidate, or a key or certificate of a setting, which the server's check reads where it will stand.
bool isFilledByChange(const std::string& path) {
    return nameOf(path).starts_with(".zpweb-") ||
           (path.ends_with(".pem") && path.find("/zpweb.d/") != std::string::npos);
}

// Somebody may have filled since what was made empty. False when that could not be done at this moment.
bool removeFrom(int directory, const std::string& path) {
    const std::string name = nameOf(path);
    struct stat status {};
    if (::fstatat(directory, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return errno == ENOENT;
    }
    const bool isDirectory = S_ISDIR(status.st_mode);
    const bool empty = S_ISREG(status.st_mode) && status.st_size == 0;
    const bool goes = isDirectory || empty || isFilledByChange(path);
    return !goes || ::unlinkat(directory, name.c_str(), isDirectory ? AT_REMOVEDIR : 0) == 0 ||
           errno == ENOTEMPTY;
}

bool removeOne(const std::string& path) {
    const auto directory = openGuarded(directoryOf(path));
    return directory.ok() ? removeFrom(directory->number(), path)
                          : directory.outcome().status == Status::NotFound;
}

}  // namespace

std::string Journal::text() const { return jsonOf(*this).dump(); }

std::optional<Journal> Journal::from(const std::string& text) {
    const auto json = parsedObject(text);
    return json ? std::optional(journalOf(*json)) : std::nullopt;
}

void removeMade(const std::vector<std::string>& made) {
    std::for_each(made.rbegin(), made.rend(), [](const std::string& path) {
        if (!removeOne(path)) {
            static_cast<void>(removeOne(path));  // what fails for a moment leaves nothing behind
        }
    });
}

void removeLeftovers(const Journal& journal) {
    std::vector<std::string> left = journal.emptied;
    std::copy_if(journal.made.begin(), journal.made.end(), std::back_inserter(left),
                 [](const std::string& path) { return nameOf(path).starts_with(".zpweb-"); });
    removeMade(left);
}

}  // namespace zpweb
