// The server's program: where it is, and how it is asked about a configuration without a trace on the
// machine.
//
// The control script is not used for that: Debian's makes directories below /run, with modes that the
// server cannot use when it has not run yet.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace zpweb {

class Program {
public:
    // `main` is the main configuration file; a server that is installed several times (/etc/apache2-NAME)
    // has its environment beside it.
    explicit Program(const std::string& main = {});

    bool found() const { return !path_.empty(); }
    const std::string& path() const { return path_; }
    const std::string& environment() const {
        return environment_;
    }  // the file of variables that it starts with
    // The words of a run with its variables and its usual arguments. Run directories that the variables
    // name and that are not there yet are taken for present.
    std::vector<std::string> command(const std::vector<std::string>& arguments) const;
    // The same for a check that prints the reading of a configuration file.
    std::vector<std::string> readingOf(const std::string& file) const;

private:
    std::string infoModule() const;

    std::string path_, environment_, present_;
};

// The variables with which the server of a main configuration file is started, by the file of them beside
// its program; asked once.
const std::map<std::string, std::string, std::less<>>& variablesOfServer(const std::string& main);
// A value that the server was built with: "HTTPD_ROOT", "SERVER_CONFIG_FILE", "DEFAULT_PIDLOG"; empty when
// there is no server to ask.
std::string builtInValue(const std::string& name);
// What it says of its version: "Server version: Apache/2.4.57 (Debian)" and more; asked once.
const std::string& printedVersion();
// Servers before 2.4 must be told which addresses are shared by name, and know no "Require all granted".
bool isBefore24();

}  // namespace zpweb
