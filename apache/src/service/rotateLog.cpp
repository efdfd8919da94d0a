// Rotation of a site's access log.
#include <fcntl.h>
#include <sys/stat.h>

#include <ctime>
#include <ostream>

#include "ApacheHelper.h"
#include "CZPWebsite.h"
#include "Results.h"
#include "conf/Text.h"
#include "host/Access.h"
#include "host/FileSystem.h"
#include "host/HeldFile.h"
#include "host/Paths.h"
#include "host/Shell.h"

namespace conf = zp::conf;
namespace host = zp::host;
namespace result = zp::result;

namespace {

constexpr long Megabyte = 1'048'576;
constexpr mode_t Plain = 0666;

// A directory of its own beside the log, where no one but this process's account can place anything.
class Workroom {
public:
    explicit Workroom(int beside) : beside_(beside), room_(host::makeDirectoryIn(beside, name_)) {}
    ~Workroom() { ::unlinkat(beside_, name_.c_str(), AT_REMOVEDIR); }
    Workroom(const Workroom&) = delete;
    Workroom& operator=(const Workroom&) = delete;

    bool takeIn(const std::string& name) const {
        return room_.isOpen() && ::renameat(beside_, name.c_str(), room_.number(), name.c_str()) == 0;
    }
    // In an owner's directory another thing may have borne the log's name by then: a pipe would be waited
    // for.
    bool holdsLog(const std::string& name) const {
        struct stat status {};
        return ::fstatat(room_.number(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
               S_ISREG(status.st_mode) && status.st_nlink == 1;
    }
    void giveOut(const std::string& name) const {
        static_cast<void>(::renameat(room_.number(), name.c_str(), beside_, name.c_str()));
    }
    void remove(const std::string& name) const { ::unlinkat(room_.number(), name.c_str(), 0); }
    bool enter() const { return ::fchdir(room_.number()) == 0; }
    // Who was kept from the one is kept from the other, also where the owner of the directory has moved a
    // file of root's to the place of the log.
    void close(const std::string& archive, const std::string& log) const {
        constexpr int Itself = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
        const host::Descriptor packed(::openat(room_.number(), archive.c_str(), Itself));
        const host::Descriptor from(::openat(room_.number(), log.c_str(), Itself));
        struct stat status {};
        const bool taken = packed.isOpen() && from.isOpen() &&
                           host::takeOverAccess(from.number(), packed.number()) &&
                           ::fstat(from.number(), &status) == 0;
        ::fchmod(packed.number(), taken ? status.st_mode & Plain : S_IRUSR | S_IWUSR);
    }

private:
    int beside_;
    std::string name_ = ".zprotate." + std::to_string(::getpid());
    host::Descriptor room_;
};

// Packs the log in its own directory, which becomes the working directory, and removes it. Whether the
// packing worked is not examined. Log and archive meet in a room that the directory's owner cannot enter:
// neither can be led elsewhere, and an old archive stays until the new one is whole.
bool packAndRemove(const host::HeldFile& log) {
    const int directory = log.directory()->descriptor();
    const Workroom room(directory);
    if (::fchdir(directory) != 0 || !room.takeIn(log.name())) {
        return false;
    }
    if (log.othersWrite() && !room.holdsLog(log.name())) {
        room.giveOut(log.name());
        return false;
    }
    // The same archive for every log of the directory and for the whole hour.
    const std::string archive = "access_log-" + currentTimeStamp() + ".tar.gz";
    // A name with a dash before it would be an option of the command.
    const std::string name = (log.name().starts_with('-') ? "./" : "") + log.name();
    const std::vector<std::string> command{host::program::Archive, "-cvzf", archive, name};
    host::out() << host::commandLine(command) << '\n';
    if (room.enter()) {
        host::run(command);
        room.close(archive, log.name());
        room.giveOut(archive);
    }
    room.remove(log.name());
    return ::fchdir(directory) == 0;
}

}  // namespace

int CZPWebsite::rotateLog(std::string szHttpdConfFile, std::string szDomainName,
                          std::string szThresholdSize, std::string szOption) {
    std::string value;
    if (ApacheHelper().Apache_getDirectiveInVH(szHttpdConfFile, szDomainName, "CustomLog", value, false) !=
            0 ||
        szThresholdSize.empty()) {
        return result::log::NotRotated;
    }
    // The format's name stands behind the log's.
    const host::HeldFile log(std::string(conf::splitAtBlank(value).keyword), host::HeldFile::Size::Any);
    const auto size = log.othersWrite() ? log.size() : host::sizeOfFile(log.path());
    if (!size) {
        host::out() << "Unable to get File Size\n";
        return result::log::NotRotated;
    }
    if (*size / Megabyte < conf::leadingNumber(szThresholdSize)) {
        host::out() << *size << '\n';
        return result::log::Rotated;
    }
    if (conf::equalIgnoringCase(szOption, "DEL")) {
        host::out() << "Remove the file\n";
        return log.remove() ? result::log::Rotated : result::log::NotRotated;
    }
    if (conf::equalIgnoringCase(szOption, "ZIPandDEL")) {
        host::out() << "Zip and remove the file\n";
        return packAndRemove(log) ? result::log::Rotated : result::log::NotRotated;
    }
    return result::log::NotRotated;
}

std::string currentTimeStamp() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    const auto text = [](int number) { return std::to_string(number); };
    return text(local.tm_mday) + "-" + text(local.tm_mon + 1) + "-" + text(local.tm_year + 1900) + "-" +
           text(local.tm_hour);
}
