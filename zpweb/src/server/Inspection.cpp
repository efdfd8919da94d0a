#include "server/Inspection.h"

#include <set>
#include <unordered_map>

#include "sys/File.h"
#include "sys/Process.h"

namespace zpweb {

namespace {

constexpr int NotFound = 127;

// What a control script adds is no help.
std::string withoutChatter(std::string text) {
    for (const char* chatter : {"Action '", "The Apache error log may"}) {
        if (const size_t at = text.find(chatter); at != std::string::npos) {
            text.erase(at, text.find('\n', at) - at + 1);
        }
    }
    return text.substr(0, text.find_last_not_of('\n') + 1);
}

using LiveOf = std::unordered_map<std::string_view, std::string_view>;

// The text with the names of staged files in one directory replaced. A name ends where a line number, a
// quote or the line's end follows.
std::string withLiveNamesIn(const std::string& directory, std::string text, const LiveOf& live) {
    std::string renamed;
    size_t from = 0;
    for (size_t at = 0; (at = text.find(directory, at)) != std::string::npos;) {
        const size_t end = std::min(text.find_first_of(":\"\n", at), text.size());
        const auto name = live.find(std::string_view(text).substr(at, end - at));
        if (name != live.end()) {
            renamed.append(text, from, at - from).append(name->second);
            from = end;
        }
        at = end;
    }
    return from == 0 ? text : renamed.append(text, from);
}

// Staged files stand in the stage, or beside the files whose places they take: in few directories, however
// many they are.
std::string withLiveNames(std::string text, const LiveNames& names) {
    LiveOf live;
    std::set<std::string> directories;
    for (const auto& [staged, name] : names) {
        if (staged != name) {
            live.emplace(staged, name);
            directories.insert(directoryOf(staged) + "/");
        }
    }
    for (const std::string& directory : directories) {
        text = withLiveNamesIn(directory, std::move(text), live);
    }
    return text;
}

void takeVerdict(const Running::Ended& check, Inspected& inspected) {
    inspected.ran = check.status >= 0 && check.status != NotFound;
    inspected.sound = check.status == 0;
    inspected.words = withoutChatter(check.output + check.errors);
}

}  // namespace

Inspected inspect(const Program& program, const std::string& file, const LiveNames& liveNames,
                  const std::function<void()>& waiting) {
    Inspected inspected;
    if (!program.found()) {
        return inspected;
    }
    Running reading(program.readingOf(file));
    Running check(program.command({"-t", "-f", file}));
    takeVerdict(check.end(waiting), inspected);
    Running::Ended printed = reading.end(waiting);
    if (inspected.sound && printed.status == 0) {
        inspected.reading = std::make_shared<const Reading>(
            Reading::parse(withLiveNames(std::move(printed.output), liveNames)));
    }
    return inspected;
}

Inspected checkOnly(const Program& program, const std::string& file, const std::function<void()>& waiting) {
    Inspected inspected;
    if (program.found()) {
        takeVerdict(Running(program.command({"-t", "-f", file})).end(waiting), inspected);
    }
    return inspected;
}

ReadingRun::ReadingRun(const Program& program, const std::string& file) {
    if (program.found()) {
        running_.emplace(program.readingOf(file));
    }
}

std::shared_ptr<const Reading> ReadingRun::end(const std::function<void()>& waiting) {
    Running::Ended printed = running_ ? running_->end(waiting) : Running::Ended{};
    return printed.status == 0 ? std::make_shared<const Reading>(Reading::parse(std::move(printed.output)))
                               : nullptr;
}

}  // namespace zpweb
