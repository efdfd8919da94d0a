// Where a new site listens.
#pragma once

#include <string>

#include "server/Configuration.h"
#include "sys/Outcome.h"

namespace zpweb {

struct Listening {
    std::string address;  // without brackets; "*" is any
    std::string port;

    std::string text() const;        // *:80, [2001:db8::7]:80
    std::string listenLine() const;  // Listen 80, Listen [2001:db8::7]:80
};

// The address that most of the running blocks at this port use; "*" when there is none.
std::string usualAddress(const Configuration& configuration, const std::string& port);

// Has the host this address? Every host has "*".
Outcome isOfThisHost(const std::string& address);

// Does a Listen line, perhaps on a condition, open the port to the address?
bool isListening(const Configuration& configuration, const Listening& wanted);

// The port that the panel, where there is one, has its sites on; else 80.
std::string usualPort();

}  // namespace zpweb
