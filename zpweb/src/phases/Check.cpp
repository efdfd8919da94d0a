#include "phases/Check.h"

#include <algorithm>

#include "sys/File.h"
#include "sys/Number.h"
#include "text/Words.h"

namespace zpweb {

namespace {

constexpr int DeepestInclude = 16;
constexpr const char* LineMark = "on line ";

class Staging {
public:
    Staging(const Configuration& configuration, const std::map<std::string, StagedFile>& files,
            const std::string& stage)
        : configuration_(configuration), files_(files), stage_(stage) {}

    // The path under which the server is to read a file: the file itself, its candidate, or a copy whose
    // Include lines lead to candidates.
    Expected<std::string> checkable(const std::string& path) {
        const ConfigurationFile& file = *configuration_.file(path);
        const auto entry = files_.find(path);
        const std::string own =
            entry != files_.end() && entry->second.changed() ? entry->second.candidate : path;
        liveNames_[own] = path;
        std::map<size_t, std::string> rewritten;
        for (const IncludeLine& include : file.server().includes) {
            auto line = includeLine(path, include);
            if (!line.ok()) {
                return line;
            }
            if (!line->empty()) {
                rewritten[include.line] = std::move(*line);
            }
        }
        return rewritten.empty() ? Expected(own) : copyOf(file, rewritten);
    }
    std::map<std::string, std::string> liveNames() { return std::move(liveNames_); }

private:
    // Is the file, or one that it includes, changed?
    bool leadsToChange(const std::string& path, int depth) {
        const auto known = leading_.find(path);
        return known != leading_.end() ? known->second
                                       : leading_.emplace(path, looksChanged(path, depth)).first->second;
    }

    bool looksChanged(const std::string& path, int depth) {
        const auto changed = files_.find(path);
        if (changed != files_.end() && changed->second.changed()) {
            return true;
        }
        const ConfigurationFile* file = configuration_.file(path);
        if (file == nullptr || depth > DeepestInclude) {
            return false;
        }
        return std::any_of(file->server().includes.begin(), file->server().includes.end(),
                           [&](const IncludeLine& include) { return leads(include, depth + 1); });
    }

    bool leads(const IncludeLine& include, int depth) {
        const auto names = configuration_.included(include.pattern);
        return configuration_.changesNames(include.pattern) ||
               std::any_of(names.begin(), names.end(), [&](const std::string& name) {
                   const auto real = configuration_.realOf(name);
                   return real.ok() && leadsToChange(*real, depth);
               });
    }

    // The line that takes the place of an Include line; empty where that leads to nothing that changes.
    Expected<std::string> includeLine(const std::string& path, const IncludeLine& include) {
        if (!leads(include, 0)) {
            return std::string();
        }
        std::string includes;
        for (const std::string& name : configuration_.included(include.pattern)) {
            const auto real = configuration_.realOf(name);
            std::string used = name;
            if (real.ok() && configuration_.file(*real) != nullptr && leadsToChange(*real, 0)) {
                auto below = checkable(*real);
                if (!below.ok()) {
                    return below;
                }
                used = *below;
            } else if (real.ok()) {
                used = *real;
            } else if (include.optional) {
                continue;  // the server passes a dangling link over
            }
            includes += "Include \"" + used + "\"\n";
        }
        const std::string list = stage_ + "/include-" + std::to_string(liveNames_.size());
        liveNames_[list] = path;
        Outcome written = writeNewFile(list, includes, 0600);
        return written.ok() ? Expected("Include \"" + list + "\"") : Expected<std::string>(written);
    }

    // What follows keeps its number, also behind a line that goes on in the next one.
    Expected<std::string> copyOf(const ConfigurationFile& file,
                                 const std::map<size_t, std::string>& rewritten) {
        std::string text;
        bool isReplaced = false;
        for (size_t i = 0; i < file.lines().size(); ++i) {
            const bool goesOn = isReplaced && isContinued(file.lines()[i - 1]);
            const auto other = rewritten.find(i);
            isReplaced = goesOn || other != rewritten.end();
            if (!goesOn) {
                text += isReplaced ? std::string_view(other->second) : file.lines()[i];
            }
            text += '\n';
        }
        const std::string copy = stage_ + "/check-" + std::to_string(liveNames_.size());
        liveNames_[copy] = file.path();
        Outcome written = writeNewFile(copy, text, 0600);
        return written.ok() ? Expected(copy) : Expected<std::string>(written);
    }

    const Configuration& configuration_;
    const std::map<std::string, StagedFile>& files_;
    const std::string& stage_;
    std::map<std::string, std::string> liveNames_;
    std::map<std::string, bool> leading_;  // what leadsToChange has found
};

size_t numberAt(const std::string& text, size_t at) {
    return static_cast<size_t>(std::max(0, leadingNumber(std::string_view(text).substr(at))));
}

// "FILE:LINE (site NAME)"
std::string placeIn(const Configuration& configuration, const std::string& live, size_t line) {
    if (line == 0) {
        return live;
    }
    const ConfigurationFile* file = configuration.file(live);
    const Block* block = file != nullptr ? file->blockAt(line - 1) : nullptr;
    const std::string place = live + ":" + std::to_string(line);
    return block == nullptr || block->name.empty() ? place
                                                   : place + " (site " + std::string(block->name) + ")";
}

}  // namespace

Expected<StagedConfiguration> stagedConfiguration(const Configuration& configuration,
                                                  const std::map<std::string, StagedFile>& files,
                                                  const std::string& stage) {
    if (!configuration.obstacle().ok()) {
        return configuration.obstacle();
    }
    Staging staging(configuration, files, stage);
    auto main = staging.checkable(configuration.main().path());
    return main.ok() ? Expected(StagedConfiguration{*main, staging.liveNames()})
                     : Expected<StagedConfiguration>(main.outcome());
}

std::string described(const std::string& serverOutput, const StagedConfiguration& staged,
                      const Configuration& configuration) {
    std::string text = serverOutput;
    for (const auto& [name, live] : staged.liveNames) {
        for (size_t at = 0; (at = text.find(name, at)) != std::string::npos;) {
            const size_t mark = text.rfind(LineMark, at);
            const bool marked = mark != std::string::npos && text.find('\n', mark) > at;
            const size_t line = marked ? numberAt(text, mark + std::string_view(LineMark).size()) : 0;
            const std::string place = (line > 0 ? "at " : "") + placeIn(configuration, live, line);
            const size_t begin = line > 0 ? mark : at;
            text.replace(begin, at + name.size() - begin, place);
            at = begin + place.size();
        }
    }
    return text;
}

}  // namespace zpweb
