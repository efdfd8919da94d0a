#include "server/KeptReading.h"

#include <unistd.h>

#include <set>

#include "conf/Text.h"
#include "sys/File.h"
#include "sys/Hash.h"

namespace zpweb {

namespace {

constexpr std::string_view Title = "zpweb reading 1\n";
constexpr std::string_view Condition = "<IfFile";  // looks at a file that is not part of the configuration

bool dependsOnMore(std::string_view text) {
    for (size_t at = 0; (at = text.find('<', at)) != std::string_view::npos; ++at) {
        if (zp::conf::beginsIgnoringCase(text.substr(at), Condition)) {
            return true;
        }
    }
    return false;
}

}  // namespace

std::string KeptReading::hashOf(const std::string& path) const {
    const ConfigurationFile* file = configuration_.file(path);
    if (file == nullptr) {
        const auto real = realPathOf(path);
        file = real.ok() ? configuration_.file(*real) : nullptr;
    }
    if (file != nullptr) {
        return file->content().hash();
    }
    const auto now = currentHash(path);
    return now.ok() ? *now : "";
}

// Which files the Include lines name; empty when a variable is in one of them.
std::string KeptReading::hashOfIncluded() const {
    Hasher hasher;
    for (const auto& file : configuration_.files()) {
        for (const IncludeLine& include : file->server().includes) {
            if (zp::conf::contains(include.pattern, "${")) {
                return {};
            }
            for (const std::string& path : configuration_.included(include.pattern)) {
                const auto real = realPathOf(path);
                hasher.take(path + "\n" + (real.ok() ? *real : "") + "\n");
            }
        }
    }
    return hasher.digits();
}

std::shared_ptr<const Reading> KeptReading::load() const {
    auto text = readFile(file_);
    if (!text.ok() || !text->starts_with(Title)) {
        return nullptr;
    }
    std::string_view rest = std::string_view(*text).substr(Title.size());
    for (bool included = true; !rest.empty() && rest.front() != '\n'; included = false) {
        const std::string_view line = zp::conf::upTo(rest, "\n");
        rest = zp::conf::stepOver(rest, line.size() + 1);
        const auto [hash, path] = zp::conf::splitAtBlank(line);
        if (hash != (included ? hashOfIncluded() : hashOf(std::string(path)))) {
            return nullptr;
        }
    }
    return std::make_shared<const Reading>(Reading::parse(std::string(zp::conf::stepOver(rest, 1))));
}

void KeptReading::save(const Reading& reading) const {
    const std::string included = hashOfIncluded();
    if (included.empty() || reading.included().empty()) {
        return drop();
    }
    std::string text(Title);
    text += included + " \n";
    std::set<std::string> files(reading.included().begin(), reading.included().end());
    files.insert({program_.path(), program_.environment(), "/etc/sysconfig/httpd"});
    for (const std::string& path : files) {
        const ConfigurationFile* file = configuration_.file(path);
        if (!zp::conf::isOneLine(path) || (file != nullptr && dependsOnMore(file->content().text()))) {
            return drop();
        }
        text += hashOf(path) + " " + path + "\n";
    }
    text += "\n" + reading.printed();
    if (!replaceFile(file_, text, 0600).ok()) {
        drop();
    }
}

void KeptReading::drop() const { ::unlink(file_.c_str()); }

}  // namespace zpweb
