// Installation of suPHP: its program, its configuration and its server module.
#include <fcntl.h>

#include <vector>

#include "CZPWebsite.h"
#include "conf/ScratchFile.h"
#include "conf/Text.h"
#include "host/Descriptor.h"
#include "host/FileSystem.h"
#include "host/Install.h"
#include "host/Paths.h"
#include "host/ReadAll.h"
#include "host/Shell.h"

namespace conf = zp::conf;
namespace host = zp::host;
namespace suphp = zp::host::suphp;

namespace {

constexpr mode_t DirectoryMode = 0755;
constexpr mode_t ModuleMode = 0755;
constexpr mode_t ProgramMode = 04755;
constexpr size_t KernelLimit = 2000;

struct Placeholder {
    std::string_view name;
    std::string value;
};

std::optional<std::string> contentOf(const char* path) {
    const host::Descriptor file(::open(path, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    return file.isOpen() ? host::readAll(file.number()) : std::nullopt;
}

// The template with its placeholders filled in; absent when it cannot be read, or a value would begin a
// line of its own.
std::optional<std::string> configurationText(const std::vector<Placeholder>& placeholders) {
    auto text = contentOf(suphp::Template);
    for (const auto& [name, value] : placeholders) {
        if (!text || !conf::isOneLine(value)) {
            return std::nullopt;
        }
        text = conf::replaceAll(*text, name, value);
    }
    return text;
}

void writeConfiguration(const std::vector<Placeholder>& placeholders) {
    const auto text = configurationText(placeholders);
    if (!text) {
        return;
    }
    conf::ScratchFile scratch(suphp::ConfigurationScratch);
    scratch.copyText(*text);
    const host::Descriptor old(::open(suphp::Configuration, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    if (!old.isOpen() && host::exists(suphp::Configuration)) {
        scratch.remove();
        return;
    }
    static_cast<void>(scratch.renameTo(suphp::Configuration, old.number()));
}

void installProgram(const suphp::Build& build) {
    if (!host::exists(suphp::Program)) {
        host::installFile(build.program, suphp::Program, ProgramMode);
    }
}

void installModule(const suphp::Build& build) {
    for (const std::string directory : build.modulesDirectories) {
        if (host::isDirectory(directory)) {
            host::installFile(build.module, directory + "/" + suphp::ModuleName, ModuleMode);
        }
    }
}

}  // namespace

int CZPWebsite::ConfigureSuPhp(std::string httpdConfFile, std::string webspacePath, std::string phpCGIPath,
                               std::string) {
    const bool is64Bit = conf::contains(host::firstLine(host::program::Kernel, KernelLimit), "x86_64");
    const suphp::Build& build = is64Bit ? suphp::Of64Bits : suphp::Of32Bits;
    for (const char* directory : suphp::Directories) {
        host::makeMissingDirectory(directory, DirectoryMode);
    }
    installProgram(build);
    if (!host::exists(suphp::Configuration)) {
        host::run({host::program::Copy, suphp::Template, suphp::ConfigurationCopy});
    }
    std::string user;
    std::string group;
    getApacheUserGroup(httpdConfFile, user, group);
    std::vector<Placeholder> placeholders;
    if (!user.empty()) {
        placeholders.push_back({"{APACHE_USER}", user});
    }
    placeholders.push_back({"{WEBSPACE_PATH}", webspacePath});
    placeholders.push_back({"{PHP-CGI_PATH}", "php:" + phpCGIPath});
    placeholders.push_back({"{PHP5-CGI_PATH}", "php:" + phpCGIPath});
    writeConfiguration(placeholders);
    installModule(build);
    return 0;
}
