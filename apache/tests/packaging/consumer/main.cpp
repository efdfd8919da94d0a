// A program outside the project: a manager without a configuration file refuses to create a website.
#include <CZPWebsite.h>

#include <iostream>

int main() {
    CZPTrackManager tracking;
    CZPWebsite manager(&tracking, "");
    VHostEntry site{};
    const int result = manager.CreateWebsite(&site);
    std::cout << "result " << result << '\n';
    return result == 21 ? 0 : 1;
}
