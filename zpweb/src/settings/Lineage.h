// Certificates as ACME clients keep them: links that lead to the newest of numbered files.
//
//     live/shop.example/fullchain.pem -> ../../archive/shop.example/fullchain3.pem
//     live/shop.example/privkey.pem   -> ../../archive/shop.example/privkey3.pem
#pragma once

#include <string>

#include "sys/Outcome.h"

namespace zpweb {

// Is the certificate such a link?
bool isNumberedLink(const std::string& certificate);
// Leads all links beside the certificate to the files of the number whose certificate has this fingerprint.
// A failure, and nothing is changed, when it is no such link or the numbered files are gone.
[[nodiscard]] Outcome leadBack(const std::string& certificate, const std::string& fingerprint);

}  // namespace zpweb
