#include "settings/Lineage.h"

#include <unistd.h>

#include <cstdio>
#include <optional>

#include "settings/Certificate.h"
#include "sys/File.h"

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
std::string numberOf(const std::string& directory, const Numbered& link, const std::string& fingerprint) {
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

Outcome relink(const std::string& link, const std::string& target) {
    const std::string fresh = link + ".zpweb";
    ::unlink(fresh.c_str());
    return ::symlink(target.c_str(), fresh.c_str()) == 0 && ::rename(fresh.c_str(), link.c_str()) == 0
               ? done()
               : failure(systemError(link));
}

}  // namespace

bool isNumberedLink(const std::string& certificate) {
    const auto target = linkTarget(certificate);
    return target && numberedFrom(*target);
}

Outcome leadBack(const std::string& certificate, const std::string& fingerprint) {
    const std::string directory = directoryOf(certificate);
    const auto target = linkTarget(certificate);
    const auto link = target ? numberedFrom(*target) : std::nullopt;
    const std::string number = link ? numberOf(directory, *link, fingerprint) : "";
    if (number.empty()) {
        return failure(certificate +
                       " keeps the new certificate, as the one before it is not at hand: put that back "
                       "before the server starts again");
    }
    for (const std::string& name : entriesOf(directory)) {
        const std::string path = directory + "/" + name;
        const auto its = linkTarget(path);
        const auto each = its ? numberedFrom(*its) : std::nullopt;
        if (!each || each->number != link->number ||
            !exists(fromDirectory(directory, each->with(number)))) {
            continue;
        }
        if (Outcome led = relink(path, each->with(number)); !led.ok()) {
            return led;
        }
    }
    return done();
}

}  // namespace zpweb
