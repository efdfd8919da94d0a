#include "settings/Lineage.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <optional>

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

// In the directory that is held open: one of its owner's leads no step elsewhere.
Outcome relink(const Descriptor& directory, const std::string& name, const std::string& target) {
    const std::string fresh = name + ".zpweb";
    const int held = directory.number();
    ::unlinkat(held, fresh.c_str(), 0);
    return ::symlinkat(target.c_str(), held, fresh.c_str()) == 0 &&
                   ::renameat(held, fresh.c_str(), held, name.c_str()) == 0
               ? done()
               : failure(systemError(name));
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
    const auto target = linkTarget(pathIn(*held, nameOf(certificate)));
    const auto link = target ? numberedFrom(*target) : std::nullopt;
    const std::string number = link ? archivedNumber(directory, *link, fingerprint) : "";
    if (number.empty()) {
        return failure(certificate +
                       " keeps the new certificate, as the one before it is not at hand: put that back "
                       "before the server starts again");
    }
    for (const std::string& name : entriesOf(pathIn(*held, ""))) {
        const auto its = linkTarget(pathIn(*held, name));
        const auto each = its ? numberedFrom(*its) : std::nullopt;
        if (!each || each->number != link->number ||
            !exists(fromDirectory(directory, each->with(number)))) {
            continue;
        }
        if (Outcome led = relink(*held, name, each->with(number)); !led.ok()) {
            return led;
        }
    }
    return done();
}

}  // namespace zpweb
