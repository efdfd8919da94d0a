// Installation of suPHP: its program, its configuration and its server module.
#include <fcntl.h>

#include <optional>

#include "CZPWebsite.h"
#include "conf/ScratchFile.h"
#include "conf/SuPhpConfiguration.h"
#include "host/Descriptor.h"
#include "host/FileSystem.h"
#include "host/Install.h"
#include "host/Paths.h"
#include "host/Shell.h"

namespace conf = zp::conf;
namespace host = zp::host;
namespace suphp = zp::host::suphp;

namespace {

constexpr mode_t DirectoryMode = 0755;
constexpr mode_t ModuleMode = 0755;
constexpr mode_t ProgramMode = 04755;
constexpr size_t KernelLimit = 2000;

void writeConfiguration(const std::optional<std::string>& text) {
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
    const suphp::Build& build = suphp::buildFor(host::firstLine(host::program::Kernel, KernelLimit));
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
    writeConfiguration(conf::suPhpConfiguration(user, webspacePath, phpCGIPath));
    installModule(build);
    return 0;
}
