#include "change/State.h"

#include <array>
#include <cstdio>

#include "sys/File.h"

namespace zpweb {

State::State(const std::string& configuration) : folder(folderOf(configuration) + "/.zpweb") {}

std::string State::checkpoint(int number) const {
    std::array<char, 16> name{};
    std::snprintf(name.data(), name.size(), "%06d", number);
    return checkpoints() + "/" + name.data();
}

}  // namespace zpweb
