// The processes of this host.
#pragma once

#include <sys/types.h>

#include <set>
#include <string>
#include <vector>

namespace zpweb {

bool isAlive(pid_t pid);
std::vector<pid_t> childrenOf(pid_t parent);
std::vector<std::string> wordsOfProcess(pid_t pid);  // its command line
std::string executableOf(pid_t pid);                 // its path; empty when that cannot be told
bool isOurs(pid_t pid);                              // it runs as root, or as the user of this program
std::set<int> portsOf(pid_t pid);                    // on which it listens
bool hasOpen(pid_t pid, const std::string& path);    // the file that is there now

}  // namespace zpweb
