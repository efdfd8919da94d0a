// Every fixed path and every external program that the library names.
#pragma once

namespace zp::host {

namespace path {
inline constexpr const char* ProductConfiguration = "/etc/ZeplarPanel.conf";
inline constexpr const char* CloudLinuxRelease = "/etc/CloudLinux-release";
inline constexpr const char* PasswordDatabase = "/etc/passwd";
inline constexpr const char* ApacheEnvironment = "/etc/apache2/envvars";
inline constexpr const char* ServiceScripts = "/etc/init.d";
inline constexpr const char* RunFolder = "/var/run";
inline constexpr const char* HttpdPidFile = "/var/run/httpd/httpd.pid";
inline constexpr const char* ModulesFolders[] = {"/usr/lib/httpd/modules", "/usr/lib/apache2/modules",
                                                 "/usr/lib64/httpd/modules", "/usr/lib64/apache2/modules"};
// Taken for the server root where the configuration names none: the first that can be entered.
inline constexpr const char* ServerRoots[] = {"/etc/httpd", "/etc/apache2"};
inline constexpr const char* SharedAddressRoots[] = {"/etc/httpd", "/etc/apache"};
inline constexpr const char* ScratchFolder = "/etc";
inline constexpr const char* VirtualDirectoryScratch = "/etc/apactemp1";
inline constexpr const char* VirtualDirectoryScratchOfInstallation = "/etc/apactemp";
}  // namespace path

namespace program {
inline constexpr const char* Move = "mv";
inline constexpr const char* Copy = "cp";
inline constexpr const char* ChangeMode = "chmod";
inline constexpr const char* ChangeOwner = "chown";
inline constexpr const char* Archive = "tar";
inline constexpr const char* KernelRelease = "uname -r";
inline constexpr const char* ServerRootQuery = "apachectl -V | grep HTTPD_ROOT";
// In the order in which they are asked.
inline constexpr const char* VersionQueries[] = {"apachectl -v", "httpd -v", "apache2 -v"};
}  // namespace program

// The group of the panel's service accounts.
inline constexpr const char* PanelGroup = "zp7group";

}  // namespace zp::host
