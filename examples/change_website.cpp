// Stops, starts, suspends, resumes or deletes the website that create_website made, and asks for a graceful
// restart:  change_website stop|start|suspend|resume|delete
#include <CZPWebsite.h>

#include <string>

int main(int count, char** arguments) {
    const std::string action = count == 2 ? arguments[1] : "";
    CZPTrackManager tracking;
    CZPWebsite manager(&tracking, "/etc/apache2/apache2.conf");
    UpdateVHost site = {};
    site.pDomain = "shop.example";
    site.ServerAlias = {"www.shop.example"};  // a list that is left empty drops its lines
    bool done = false;
    if (action == "stop") {
        done = manager.StopWebsite(site.pDomain) == 30;
    } else if (action == "start") {
        done = manager.StartWebsite(site.pDomain) == 29;
    } else if (action == "suspend") {
        done = manager.EnableMessage(&site) == 96;
    } else if (action == "resume") {
        done = manager.DisableMessage(&site, "/var/www/shop.example") == 96;
    } else if (action == "delete") {
        done = manager.DeleteWebsite(site.pDomain, '0') == 24;
    }
    return done ? manager.CmdApchRestart("/var/run/apache2/apache2.pid") : 1;
}
