#include <CZPWebsite.h>

int main() {
    CZPTrackManager tracking;  // keeps a record of every call
    CZPWebsite manager(&tracking, "/etc/apache2/apache2.conf");
    VHostEntry site = {.IPAddress = "127.0.0.1",
                       .DName = "shop.example",
                       .PunyCode = "shop.example",
                       .UserName = "anna",
                       .ServerAdmin = "webmaster",
                       .Port = "80",
                       .Path = "/var/www/",
                       .IPSwitch = '1',
                       .AdminPasswd = ""};
    if (manager.CreateWebsite(&site) != 94) {
        return 1;
    }
    return manager.CmdApchRestart("/var/run/apache2/apache2.pid");
}
