// Is PHP running? A script that says so, made in a site's document root and removed again.
#pragma once

#include <string>
#include <vector>

#include "server/Request.h"
#include "sys/Outcome.h"

namespace zpweb {

class PhpProbe {
public:
    explicit PhpProbe(std::string root);  // a document root

    const std::string& root() const { return root_; }
    std::string path() const { return root_ + "/" + name_; }
    std::string plainPath() const { return path() + ".txt"; }  // beside it, to tell who may see the root
    Outcome canBeMade() const;                                 // as far as can be told without making it
    // Makes the script, asks for it at each place, and removes it; nothing without a place. `version`
    // becomes PHP's own.
    Outcome run(std::vector<Request> places, std::string& version) const;

private:
    Outcome shows(const Request& request, std::string& version) const;
    bool isKeptFromUs(Request request) const;

    std::string root_, token_, name_;
};

}  // namespace zpweb
