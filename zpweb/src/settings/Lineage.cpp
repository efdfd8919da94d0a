#include "settings/Lineage.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <climits>
#include <cstdio>
#include <optional>

#include "host/HeldDirectory.h"
#include "settings/Certificate.h"
#include "sys/File.h"
#include "sys/GuardedDirectory.h"

namespace zpweb {

namespace {

// "../../archive/shop.example/fullchain3.pem"
struct Numbered {
    std::string before;  // "../../archive/shop.example/fullchain"
    std::string number, ending;

    std::string with(const std::string& other) const { return before + other + ending; }
};

std::optional<Numbered> numberedFrom(const std::string& target) {
    constexpr const char* Digits = "0123456789";
    const size_t dot = target.rfind('.');
    const size_t last =
        dot == std::string::npos || dot == 0 ? dot : target.find_last_not_of(Digits, dot - 1);
    if (last == std::string::npos || last + 1 == dot || last > dot) {
        return std::nullopt;
    }
    return Numbered{target.substr(0, last + 1), target.substr(last + 1, dot - last - 1),
                    target.substr(dot)};
}

std::string fromDirectory(const std::string& directory, const std::string& target) {
    return target.starts_with('/') ? target : directory + "/" + target;
}

// The number of the file that holds the certificate; empty when none does.
std::string archivedNumber(const std::string& directory, const Numbered& link,
                           const std::string& fingerprint) {
    const std::string archive = directoryOf(fromDirectory(directory, link.before));
    const std::string stem = nameOf(link.before);
    for (const std::string& name : entriesOf(archive)) {
        const auto each = numberedFrom(name);
        if (!each || each->before != stem || each->ending != link.ending) {
            continue;
        }
        if (const auto facts = factsOf(archive + "/" + name);
            facts.ok() && facts->fingerprint == fingerprint) {
            return each->number;
        }
    }
    return {};
}

// A link as it is looked at once: its owner can place another one at any moment.
struct SeenLink {
    std::string name;
    Numbered target;
    uid_t user = 0;
    gid_t group = 0;
};

std::optional<SeenLink> seenIn(const Descriptor& directory, const std::string& name) {
    const Descriptor link(::openat(directory.number(), name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    std::array<char, PATH_MAX> text{};
    struct stat status {};
    const bool isSeen = link.isOpen() && ::fstat(link.number(), &status) == 0;
    const ssize_t length = isSeen ? ::readlinkat(link.number(), "", text.data(), text.size()) : -1;
    const auto target =
        length > 0 ? numberedFrom(std::string(text.data(), static_cast<size_t>(length))) : std::nullopt;
    return target ? std::optional(SeenLink{name, *target, status.st_uid, status.st_gid}) : std::nullopt;
}

// Stays its owner's, as nobody takes one of root's for one that leads astray: it is made where no one else
// can take it away before it is given. The directory is held open: none of its owner's leads a step
// elsewhere.
Outcome relink(const Descriptor& directory, const SeenLink& link, const std::string& number) {
    const int held = directory.number();
    const std::string room = ".zpweb-links." + std::to_string(::getpid());
    const std::string target = link.target.with(number);
    const Descriptor made = zp::host::makeDirectoryIn(held, room);
    const bool led =
        made.isOpen() && ::symlinkat(target.c_str(), made.number(), link.name.c_str()) == 0 &&
        ::fchownat(made.number(), link.name.c_str(), link.user, link.group, AT_SYMLINK_NOFOLLOW) == 0 &&
        ::renameat(made.number(), link.name.c_str(), held, link.name.c_str()) == 0;
    Outcome outcome = led ? done() : failure(systemError(link.name));
    if (made.isOpen()) {
        ::unlinkat(made.number(), link.name.c_str(), 0);
    }
    ::unlinkat(held, room.c_str(), AT_REMOVEDIR);
    return outcome;
}

}  // namespace

bool isNumberedLink(const std::string& certificate) {
    const auto target = linkTarget(certificate);
    return target && numberedFrom(*target);
}

Outcome leadBack(const std::string& certificate, const std::string& fingerprint) {
    const std::string directory = directoryOf(certificate);
    const auto held = openGuarded(directory);
    if (!held.ok()) {
        return held.outcome();
    }
    const auto link = seenIn(*held, nameOf(certificate));
    const std::string number = link ? archivedNumber(directory, link->target, fingerprint) : "";
    if (number.empty()) {
        return failure(certificate +
                       " keeps the new certificate, as the one before it is not at hand: put that back "
                       "before the server starts again");
    }
    for (const std::string& name : entriesOf(pathIn(*held, ""))) {
        const auto each = seenIn(*held, name);
        if (!each || each->target.number != link->target.number ||
            !exists(fromDirectory(directory, each->target.with(number)))) {
            continue;
        }
        if (Outcome led = relink(*held, *each, number); !led.ok()) {
            return led;
        }
    }
    return done();
}

}  // namespace zpweb
