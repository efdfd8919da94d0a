// The server's own check of the staged files, before any of them is in its place.
#include <map>

#include "change/Transaction.h"
#include "conf/Line.h"
#include "sys/File.h"
#include "sys/Number.h"

namespace zpweb {

namespace {

constexpr int DeepestInclude = 16;
constexpr const char* LineMark = "on line ";

size_t numberAt(const std::string& text, size_t at) {
    return static_cast<size_t>(std::max(0, leadingNumber(std::string_view(text).substr(at))));
}

}  // namespace

bool Transaction::serverChanged() const {
    return std::any_of(files_.begin(), files_.end(),
                       [](const auto& entry) { return entry.second.ofServer && entry.second.changed(); });
}

// Is the file, or one that it includes, changed?
bool Transaction::leadsToChange(const std::string& path, int depth) const {
    const auto changed = files_.find(path);
    if (changed != files_.end() && changed->second.changed()) {
        return true;
    }
    const ConfigurationFile* file = configuration_->file(path);
    if (file == nullptr || depth > DeepestInclude) {
        return false;
    }
    for (const IncludeLine& include : file->server().includes) {
        for (const std::string& name : configuration_->included(include.pattern)) {
            if (const auto real = realPathOf(name); real.ok() && leadsToChange(*real, depth + 1)) {
                return true;
            }
        }
    }
    return false;
}

// The path under which the server's check is to read a file: the file itself, its candidate, or a copy
// whose Include lines lead to candidates. A line of the copy has the number of the line that it stands for.
Expected<std::string> Transaction::checkable(const std::string& path,
                                             std::map<std::string, std::string>& liveNames) {
    const ConfigurationFile& file = *configuration_->file(path);
    const auto entry = files_.find(path);
    const std::string candidate = entry != files_.end() ? entry->second.staged : std::string();
    const std::string own = candidate.empty() ? path : candidate;
    liveNames[own] = path;
    std::map<size_t, std::string> rewritten;
    for (const IncludeLine& include : file.server().includes) {
        std::string includes;
        bool leads = false;
        for (const std::string& name : configuration_->included(include.pattern)) {
            const auto real = realPathOf(name);
            std::string used = name;
            if (real.ok() && configuration_->file(*real) != nullptr && leadsToChange(*real, 0)) {
                auto below = checkable(*real, liveNames);
                if (!below.ok()) {
                    return below;
                }
                used = *below;
                leads = true;
            }
            includes += "Include \"" + used + "\"\n";
        }
        if (leads) {
            const std::string list = state_->stage() + "/include-" + std::to_string(liveNames.size());
            liveNames[list] = path;
            if (Outcome written = writeNewFile(list, includes, 0600); !written.ok()) {
                return written;
            }
            rewritten[include.line] = "Include \"" + list + "\"";
        }
    }
    if (rewritten.empty()) {
        return own;
    }
    std::string text;
    for (size_t i = 0; i < file.lines().size(); ++i) {
        const auto other = rewritten.find(i);
        text += other == rewritten.end() ? file.lines()[i] : std::string_view(other->second);
        text += '\n';
    }
    const std::string copy = state_->stage() + "/check-" + std::to_string(liveNames.size());
    liveNames[copy] = path;
    if (Outcome written = writeNewFile(copy, text, 0600); !written.ok()) {
        return written;
    }
    return copy;
}

// The server's words with the live files' names and, where it names a line, the site that the line is in.
std::string Transaction::described(const std::string& serverOutput,
                                   const std::map<std::string, std::string>& liveNames) const {
    std::string text = serverOutput;
    for (const auto& [staged, live] : liveNames) {
        for (size_t at = 0; (at = text.find(staged, at)) != std::string::npos; at += live.size()) {
            const size_t mark = text.rfind(LineMark, at);
            const size_t line = mark != std::string::npos && text.find('\n', mark) > at
                                    ? numberAt(text, mark + std::string_view(LineMark).size())
                                    : 0;
            std::string place = live;
            const Block* block = line > 0 ? configuration_->file(live)->blockAt(line - 1) : nullptr;
            if (line > 0) {
                place += ":" + std::to_string(line);
            }
            if (block != nullptr && !block->name.empty()) {
                place += " (site " + std::string(block->name) + ")";
            }
            text.replace(at, staged.size(), place);
            at += place.size() - live.size();
        }
    }
    return text;
}

Outcome Transaction::check() {
    output_.step("checking the configuration");
    std::map<std::string, std::string> liveNames;
    const auto path = checkable(configuration_->main().path(), liveNames);
    if (!path.ok()) {
        return path.outcome();
    }
    const Server::Verdict verdict = server_->check(*path);
    if (!verdict.ran) {
        return failure("the server's check cannot be run (apachectl -t); --no-check goes without it");
    }
    if (!verdict.passed) {
        return failure(Status::Refused, "refused by the server's check, nothing is changed:\n" +
                                            described(verdict.output, liveNames));
    }
    output_.detail(verdict.output);
    return done();
}

}  // namespace zpweb
