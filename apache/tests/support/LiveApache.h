// A real Apache on the sandbox's own network.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace zp::test {

// Debian's Apache with Debian's configuration in /etc/apache2, listening on port 80 of every address
// (127.0.0.1, 127.0.0.2, ::1, …). Ends with the case.
class LiveApache {
public:
    struct Answer {
        int status = 0;  // 0: no answer
        std::string body;
    };

    LiveApache();
    ~LiveApache();
    LiveApache(const LiveApache&) = delete;
    LiveApache& operator=(const LiveApache&) = delete;

    static const char* configuration() { return "/etc/apache2/apache2.conf"; }
    static const char* pidFile() { return "/var/run/apache2/apache2.pid"; }

    // What "apachectl -t" says; it ends in "Syntax OK\n" when the configuration is accepted.
    static std::string syntaxCheck();

    void start();
    // Asks for a graceful restart with CmdApchRestart and waits until no process of the old configuration
    // is left.
    void restartGracefully();
    void stop();

    static Answer get(const std::string& host, const std::string& path = "/",
                      const std::string& address = "127.0.0.1", const std::string& port = "80",
                      const std::string& credentials = "");
    // The same as a web user: "name:password".
    static Answer getAs(const std::string& credentials, const std::string& host, const std::string& path) {
        return get(host, path, "127.0.0.1", "80", credentials);
    }

private:
    static pid_t server();  // 0 when none runs
    static std::vector<std::string> workers();
};

}  // namespace zp::test
