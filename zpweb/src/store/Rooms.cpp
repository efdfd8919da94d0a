#include "store/Rooms.h"

#include <sys/stat.h>
#include <unistd.h>

#include "sys/File.h"

namespace zpweb {

namespace {

constexpr mode_t OwnerOnly = 0600;

// Empty when it cannot be looked at.
std::string lineOf(const Descriptor& room) {
    struct stat status {};
    return room.isOpen() && ::fstat(room.number(), &status) == 0
               ? std::to_string(status.st_dev) + " " + std::to_string(status.st_ino) + "\n"
               : "";
}

// Where the line begins; npos when it is none of the text.
size_t placeIn(const std::string& text, const std::string& line) {
    const size_t at = ("\n" + text).find("\n" + line);
    return line.empty() ? std::string::npos : at;
}

}  // namespace

Outcome noteRoom(const State& state, const Descriptor& room) {
    const std::string line = lineOf(room);
    return line.empty() ? failure(systemError("a directory to pack a log in"))
                        : appendLine(state.rooms(), line.substr(0, line.size() - 1), OwnerOnly);
}

bool isRoom(const State& state, const Descriptor& room) {
    const auto text = readFile(state.rooms());
    return text.ok() && placeIn(*text, lineOf(room)) != std::string::npos;
}

void forgetRoom(const State& state, const Descriptor& room) {
    auto text = readFile(state.rooms());
    const std::string line = lineOf(room);
    const size_t at = text.ok() ? placeIn(*text, line) : std::string::npos;
    if (at == std::string::npos) {
        return;
    }
    text->erase(at, line.size());
    if (text->empty()) {
        ::unlink(state.rooms().c_str());
    } else {
        static_cast<void>(replaceFile(state.rooms(), *text, OwnerOnly));
    }
}

}  // namespace zpweb
