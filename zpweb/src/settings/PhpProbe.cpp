#include "settings/PhpProbe.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <random>

#include "settings/Proof.h"
#include "sys/File.h"
#include "sys/GuardedDirectory.h"

namespace zpweb {

namespace {

std::string randomWord() {
    std::random_device random;
    std::string word;
    while (word.size() < 12) {
        word += static_cast<char>('a' + random() % 26);
    }
    return word;
}

// In a directory that its owner may be changing at this moment.
Outcome makeIn(const Descriptor& root, const std::string& name, const std::string& text) {
    const Descriptor file(
        ::openat(root.number(), name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0644));
    const bool made = file.isOpen() && ::fchmod(file.number(), 0644) == 0 &&
                      ::write(file.number(), text.data(), text.size()) == static_cast<ssize_t>(text.size());
    return made ? done() : failure("the probe script could not be made: " + systemError(name));
}

}  // namespace

PhpProbe::PhpProbe(std::string root)
    : root_(std::move(root)), token_(randomWord()), name_("zpweb-" + randomWord() + ".php") {}

Outcome PhpProbe::canBeMade() const {
    const auto root = openGuarded(root_);
    const bool can = root.ok() && ::faccessat(root->number(), ".", W_OK, AT_EACCESS) == 0;
    return can ? done() : root.ok() ? failure(systemError(root_)) : root.outcome();
}

// What its source does not hold, and only a run of it shows.
Outcome PhpProbe::shows(const Request& request, std::string& version) const {
    const auto reply = ask(request);
    if (!reply.ok()) {
        return failure(described(request) + ": " + reply.outcome().message);
    }
    const std::string wanted = std::string(token_.rbegin(), token_.rend()) + " ";
    const size_t at = reply->body.find(wanted);
    if (reply->status >= 300 && reply->status < 400) {
        return done();  // led elsewhere, where it is asked for, too
    }
    if (at == std::string::npos && (reply->status == 401 || reply->status == 403) &&
        isKeptFromUs(request)) {
        return done();
    }
    if (at == std::string::npos) {
        return failure(described(request) + " answers " + std::to_string(reply->status) +
                       ", but PHP does not run there" +
                       (reply->body.find(token_) != std::string::npos ? ": its source is shown" : ""));
    }
    version = reply->body.substr(at + wanted.size());
    version.resize(std::min(version.size(), version.find_first_not_of("0123456789.")));
    return done();
}

// The site does not let this host in, whatever is asked for.
bool PhpProbe::isKeptFromUs(Request request) const {
    request.path += ".txt";
    const auto reply = ask(request);
    return reply.ok() && (reply->status == 401 || reply->status == 403);
}

Outcome PhpProbe::run(std::vector<Request> places, std::string& version) const {
    if (places.empty()) {
        return done();
    }
    const auto root = openGuarded(root_);
    if (!root.ok()) {
        return root.outcome();
    }
    const std::string script = "<?php header('Content-Type: text/plain'); echo strrev('" + token_ +
                               "'), ' ', PHP_VERSION, \"\\n\";\n";
    Outcome outcome = makeIn(*root, name_, script);
    outcome = outcome.ok() ? makeIn(*root, name_ + ".txt", "") : outcome;
    for (Request& request : places) {
        request.path = "/" + name_;
        outcome = outcome.ok() ? shownInTime([&] { return shows(request, version); }) : outcome;
    }
    for (const std::string& name : {name_, name_ + ".txt"}) {
        ::unlinkat(root->number(), name.c_str(), 0);
    }
    return outcome;
}

}  // namespace zpweb
