#include "store/State.h"

#include <array>
#include <cstdio>

#include "sys/File.h"

namespace zpweb {

namespace {

std::string besideOf(const std::string& configuration) { return directoryOf(configuration) + "/.zpweb"; }

}  // namespace

State::State(const std::string& main)
    : directory(main.starts_with("/etc/") ? "/var/lib/zpweb" : besideOf(main)), configuration(main) {}

std::string State::checkpoint(int number) const {
    std::array<char, 16> name{};
    std::snprintf(name.data(), name.size(), "%06d", number);
    return checkpoints() + "/" + name.data();
}

std::string State::before() const { return besideOf(configuration); }

}  // namespace zpweb
