#include "output/Output.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>

namespace zpweb {

namespace {

constexpr const char* Red = "\x1b[31m";
constexpr const char* Green = "\x1b[32m";
constexpr const char* Yellow = "\x1b[33m";

bool coloursWanted() {
    const char* no = std::getenv("NO_COLOR");
    return ::isatty(STDOUT_FILENO) == 1 && (no == nullptr || *no == '\0');
}

}  // namespace

const char* nameOf(Status status) {
    switch (status) {
        case Status::Done:
            return "done";
        case Status::Error:
            return "error";
        case Status::Usage:
            return "usage";
        case Status::Refused:
            return "refused";
        case Status::RolledBack:
            return "rolled back";
        case Status::Locked:
            return "locked";
        case Status::NotFound:
            return "not found";
        case Status::Exists:
            return "exists";
        case Status::WouldChange:
            return "would change";
    }
    return "error";
}

Output::Output(const Settings& settings, std::string command)
    : settings_(settings),
      command_(std::move(command)),
      colours_(coloursWanted()),
      progress_(::isatty(STDERR_FILENO) == 1),
      begun_(std::chrono::steady_clock::now()) {}

void Output::note(std::string_view text) {
    if (!settings_.quiet) {
        clearProgress();
        std::cerr << "zpweb: " << text << '\n';
    }
}

void Output::warning(std::string_view text) {
    clearProgress();
    std::cerr << "zpweb: warning: " << text << '\n';
}

void Output::detail(std::string text) {
    if (!settings_.verbose || text.empty()) {
        return;
    }
    for (const std::string& secret : secrets_) {
        for (size_t at = 0; !secret.empty() && (at = text.find(secret, at)) != std::string::npos;) {
            text.replace(at, secret.size(), "(hidden)");
            at += std::string_view("(hidden)").size();
        }
    }
    clearProgress();
    std::cerr << text << (text.back() == '\n' ? "" : "\n");
}

void Output::step(std::string_view what) {
    step_ = what;
    stillWorking();
}

void Output::stillWorking() {
    const auto elapsed = std::chrono::steady_clock::now() - begun_;
    if (!progress_ || settings_.quiet || elapsed < std::chrono::seconds(1)) {
        return;
    }
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(elapsed).count();
    std::cerr << "\r\x1b[K"
              << "zpweb: " << step_ << " (" << seconds << " s)" << std::flush;
    progressShown_ = true;
}

void Output::clearProgress() {
    if (progressShown_) {
        std::cerr << "\r\x1b[K";
        progressShown_ = false;
    }
}

Output::Field& Output::field(std::string_view name) {
    const auto found = std::find_if(fields_.begin(), fields_.end(),
                                    [name](const Field& field) { return field.name == name; });
    return found != fields_.end() ? *found : fields_.emplace_back(Field{std::string(name), {}, {}});
}

void Output::set(std::string_view name, const Value& value) {
    std::string& text = field(name).text;
    text.clear();
    settings_.json ? appendJson(text, value) : static_cast<void>(text = cellOf(value));
}

List& Output::list(std::string_view name, std::vector<std::string> columns) {
    return field(name).list.emplace(std::move(columns), settings_.json);
}

std::string Output::coloured(std::string_view text, const char* code) const {
    return colours_ ? code + std::string(text) + "\x1b[0m" : std::string(text);
}

void Output::printDiff() const {
    for (size_t at = 0; at < diff_.size();) {
        const size_t end = std::min(diff_.find('\n', at), diff_.size());
        const std::string_view line = std::string_view(diff_).substr(at, end - at);
        const char mark = line.empty() ? ' ' : line.front();
        if (mark == '+' || mark == '-' || mark == '@') {
            std::cout << coloured(line, mark == '+' ? Green : mark == '-' ? Red : Yellow) << '\n';
        } else {
            std::cout << line << '\n';
        }
        at = end + 1;
    }
}

void Output::printColumns() const {
    size_t width = 0;
    for (const Field& field : fields_) {
        width = std::max(width, field.name.size());
    }
    for (const Field& field : fields_) {
        if (field.list) {
            field.list->printTable(std::cout);
        } else {
            std::cout << field.name << std::string(width - field.name.size() + 2, ' ') << field.text
                      << '\n';
        }
    }
}

void Output::printDocument(const Outcome& outcome) const {
    std::string text = "{";
    appendMember(text, "schema", JsonSchema, true);
    appendMember(text, "command", command_);
    appendMember(text, "status", nameOf(outcome.status));
    appendMember(text, "changed", changed_);
    if (settings_.dryRun) {
        appendMember(text, "dry_run", true);
    }
    if (!outcome.message.empty()) {
        appendMember(text, "message", outcome.message);
    }
    if (!diff_.empty()) {
        appendMember(text, "diff", diff_);
    }
    std::cout << text;
    for (const Field& field : fields_) {
        std::cout << ",\"" << field.name << "\":";
        field.list ? field.list->printJson(std::cout) : static_cast<void>(std::cout << field.text);
    }
    std::cout << "}\n";
}

void Output::finish(const Outcome& outcome) {
    clearProgress();
    const bool good = outcome.ok() || outcome.status == Status::WouldChange;
    const bool listed = std::any_of(fields_.begin(), fields_.end(),
                                    [](const Field& field) { return field.list.has_value(); });
    if (settings_.json) {
        printDocument(outcome);
    } else {
        if (!settings_.quiet || listed) {
            printColumns();
        }
        printDiff();
    }
    std::cout.flush();
    if (!outcome.message.empty() && (!good || !settings_.quiet)) {
        std::cerr << "zpweb: " << outcome.message << '\n';
    }
}

}  // namespace zpweb
