// Every fixed path and every external program that the library names.
#pragma once

#include <span>
#include <string_view>

namespace zp::host {

namespace path {
inline constexpr const char* ProductConfiguration = "/etc/ZeplarPanel.conf";
inline constexpr const char* CloudLinuxRelease = "/etc/CloudLinux-release";
inline constexpr const char* PasswordDatabase = "/etc/passwd";
inline constexpr const char* GroupDatabase = "/etc/group";
inline constexpr const char* ApacheEnvironment = "/etc/apache2/envvars";
inline constexpr const char* ServiceScripts = "/etc/init.d";
inline constexpr const char* RunDirectory = "/var/run";
inline constexpr const char* HttpdPidFile = "/var/run/httpd/httpd.pid";
inline constexpr const char* ModulesDirectories[] = {"/usr/lib/httpd/modules", "/usr/lib/apache2/modules",
                                                     "/usr/lib64/httpd/modules",
                                                     "/usr/lib64/apache2/modules"};
// Taken for the server root where the configuration names none: the first that can be entered.
inline constexpr const char* ServerRoots[] = {"/etc/httpd", "/etc/apache2"};
inline constexpr const char* SharedAddressRoots[] = {"/etc/httpd", "/etc/apache"};
inline constexpr const char* ScratchDirectory = "/etc";
inline constexpr const char* VirtualDirectoryScratch = "/etc/apactemp1";
inline constexpr const char* VirtualDirectoryScratchOfInstallation = "/etc/apactemp";
inline constexpr const char* WebUsersDirectory = "/etc/webusers";
inline constexpr const char* WebUsers = "/etc/webusers/passwd.";  // then the domain
inline constexpr const char* PerlScratch = "/etc/tempapa1";
}  // namespace path

// Where suPHP's parts come from and go to.
namespace suphp {
inline constexpr const char* Source = "/usr/local/zeplarpanel/config/suphp";
inline constexpr const char* LogDirectory = "/var/log/suphp";
inline constexpr const char* Directories[] = {LogDirectory, "/usr/local/etc", "/usr/local/sbin"};
inline constexpr const char* Program = "/usr/local/sbin/suphp";
inline constexpr const char* Configuration = "/usr/local/etc/suphp.conf";
inline constexpr const char* ConfigurationCopy =
    "/usr/local/etc/.";  // as the copy command names its target
inline constexpr const char* ConfigurationScratch = "/usr/local/etc/suphp.conf.new";
inline constexpr const char* Template = "/usr/local/zeplarpanel/config/suphp/suphp.conf";
inline constexpr const char* ModuleName = "mod_suphp.so";

struct Build {
    const char *program, *module;
    std::span<const char* const> modulesDirectories;
};
inline constexpr const char* ModulesDirectoriesOf32Bits[] = {"/usr/lib/httpd/modules",
                                                             "/usr/lib/apache2/modules"};
inline constexpr Build Of32Bits{"/usr/local/zeplarpanel/config/suphp/suphp_i386",
                                "/usr/local/zeplarpanel/config/suphp/mod_suphp_i386.so",
                                ModulesDirectoriesOf32Bits};
// The directories without "64" in their name get the 64-bit module too: some distributions use only those.
inline constexpr const char* ModulesDirectoriesOf64Bits[] = {
    "/usr/lib64/httpd/modules", "/usr/lib64/apache2/modules", "/usr/lib/apache2/modules",
    "/usr/lib/httpd/modules"};
inline constexpr Build Of64Bits{"/usr/local/zeplarpanel/config/suphp/suphp_x64",
                                "/usr/local/zeplarpanel/config/suphp/mod_suphp_x64.so",
                                ModulesDirectoriesOf64Bits};
// By what the kernel tells of itself.
inline const Build& buildFor(std::string_view kernel) {
    return kernel.find("x86_64") != std::string_view::npos ? Of64Bits : Of32Bits;
}
}  // namespace suphp

namespace program {
inline constexpr const char* Move = "mv";
inline constexpr const char* Copy = "cp";
inline constexpr const char* Archive = "tar";
inline constexpr const char* Remove = "/bin/rm";
inline constexpr const char* PasswordTool = "htpasswd";
inline constexpr const char* Kernel = "/bin/uname -a";
inline constexpr const char* KernelRelease = "uname -r";
inline constexpr const char* ServerRootQuery = "apachectl -V | grep HTTPD_ROOT";
// In the order in which they are asked.
inline constexpr const char* VersionQueries[] = {"apachectl -v", "httpd -v", "apache2 -v"};
}  // namespace program

// The group of the panel's service accounts.
inline constexpr const char* PanelGroup = "zp7group";

}  // namespace zp::host
