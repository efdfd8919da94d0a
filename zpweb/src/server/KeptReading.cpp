#include "server/KeptReading.h"

#include <unistd.h>

#include <cstdio>
#include <set>

#include "conf/Text.h"
#include "sys/File.h"
#include "sys/Hash.h"

namespace zpweb {

namespace {

constexpr std::string_view Title = "zpweb reading 2\n";
constexpr std::string_view End = "\n# end\n";  // a file that was cut does not have it
}  // namespace

std::string KeptReading::hashOf(const std::string& path) const {
    const auto real = realPathOf(path);
    return real.ok() ? basis_.fingerprint(*real) : "";
}

std::shared_ptr<const Reading> KeptReading::load() const {
    auto text = readFile(file_);
    if (!text.ok() || !text->starts_with(Title) || !text->ends_with(End)) {
        return nullptr;
    }
    std::string_view rest = std::string_view(*text).substr(Title.size());
    for (bool included = true; !rest.empty() && rest.front() != '\n'; included = false) {
        const std::string_view line = zp::conf::upTo(rest, "\n");
        rest = zp::conf::stepOver(rest, line.size() + 1);
        const auto [hash, path] = zp::conf::splitAtBlank(line);
        if (hash != (included ? basis_.included : hashOf(std::string(path)))) {
            return nullptr;
        }
    }
    return std::make_shared<const Reading>(Reading::parse(std::string(zp::conf::stepOver(rest, 1))));
}

void KeptReading::save(const Reading& reading) const {
    if (basis_.included.empty() || reading.included().empty()) {
        return drop(file_);
    }
    std::string text(Title);
    text += basis_.included + " \n";
    std::set<std::string> files(reading.included().begin(), reading.included().end());
    files.insert({program_.path(), program_.environment(), "/etc/sysconfig/httpd"});
    for (const std::string& path : files) {
        if (!zp::conf::isOneLine(path)) {
            return drop(file_);
        }
        text += hashOf(path) + " " + path + "\n";
    }
    text += "\n" + reading.printed();
    text += End;
    // Lost or cut by a fault of the machine it is only made again: not worth waiting for the disk.
    const std::string fresh = file_ + ".new";
    ::unlink(fresh.c_str());
    if (!writeNewFile(fresh, text, 0600).ok() || ::rename(fresh.c_str(), file_.c_str()) != 0) {
        ::unlink(fresh.c_str());
        drop(file_);
    }
}

void KeptReading::drop(const std::string& file) { ::unlink(file.c_str()); }

}  // namespace zpweb
