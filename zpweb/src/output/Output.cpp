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

// A terminal is never handed what an input could use to steer it.
std::string printable(std::string_view text) {
    std::string result;
    for (const char c : text) {
        const bool control = (static_cast<unsigned char>(c) < ' ' && c != '\t') || c == '\x7f';
        result += control ? '?' : c;
    }
    return result;
}

std::string cell(const Json& value) {
    if (value.is_null()) {
        return "-";
    }
    if (value.is_array()) {
        std::string text;
        for (const Json& entry : value) {
            text += (text.empty() ? "" : " ") + cell(entry);
        }
        return text.empty() ? "-" : text;
    }
    if (value.is_object()) {
        std::string text;
        for (const auto& [key, entry] : value.items()) {
            text += (text.empty() ? "" : ", ") + key + " " + cell(entry);
        }
        return text.empty() ? "-" : text;
    }
    const std::string text = value.is_string() ? value.get<std::string>() : value.dump();
    return text.empty() ? "-" : printable(text);
}

// The columns that a character string takes on a terminal, wide characters left aside.
size_t widthOf(const std::string& text) {
    return static_cast<size_t>(std::count_if(
        text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xc0) != 0x80; }));
}

std::string lineOf(const std::vector<std::string>& cells, const std::vector<size_t>& widths) {
    std::string line;
    for (size_t i = 0; i < cells.size(); ++i) {
        line += cells[i];
        if (i + 1 < cells.size()) {
            line.append(widths[i] - widthOf(cells[i]) + 2, ' ');
        }
    }
    return line + "\n";
}

void printTable(const std::vector<std::string>& columns, const Json& rows) {
    std::vector<std::vector<std::string>> cells;
    std::vector<size_t> widths;
    cells.emplace_back();
    for (const std::string& column : columns) {
        std::string title = column;
        std::transform(title.begin(), title.end(), title.begin(),
                       [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
        widths.push_back(title.size());
        cells.back().push_back(std::move(title));
    }
    for (const Json& row : rows) {
        cells.emplace_back();
        for (size_t i = 0; i < columns.size(); ++i) {
            const auto field = row.find(columns[i]);
            cells.back().push_back(field == row.end() ? "-" : cell(*field));
            widths[i] = std::max(widths[i], widthOf(cells.back().back()));
        }
    }
    std::string text;
    for (const auto& line : cells) {
        text += lineOf(line, widths);
    }
    std::cout << text;
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

void Output::list(const std::string& field, const std::vector<std::string>& columns, Json rows) {
    columns_.emplace_back(field, columns);
    data_[field] = std::move(rows);
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

void Output::printData() const {
    size_t width = 0;
    for (const auto& [field, value] : data_.items()) {
        width = std::max(width, field.size());
    }
    for (const auto& [field, value] : data_.items()) {
        const auto list = std::find_if(columns_.begin(), columns_.end(),
                                       [&name = field](const auto& entry) { return entry.first == name; });
        if (list != columns_.end()) {
            printTable(list->second, value);
        } else {
            std::cout << field << std::string(width - field.size() + 2, ' ') << cell(value) << '\n';
        }
    }
}

void Output::finish(const Outcome& outcome) {
    clearProgress();
    const bool good = outcome.ok() || outcome.status == Status::WouldChange;
    if (settings_.json) {
        Json document = {{"schema", JsonSchema},
                         {"command", command_},
                         {"status", nameOf(outcome.status)},
                         {"changed", changed_}};
        if (settings_.dryRun) {
            document["dry_run"] = true;
        }
        if (!outcome.message.empty()) {
            document["message"] = outcome.message;
        }
        if (!diff_.empty()) {
            document["diff"] = diff_;
        }
        document.update(data_);
        std::cout << document.dump(-1, ' ', false, Json::error_handler_t::replace) << '\n';
    } else {
        if (!settings_.quiet || !columns_.empty()) {
            printData();
        }
        printDiff();
    }
    std::cout.flush();
    if (!outcome.message.empty() && (!good || !settings_.quiet)) {
        std::cerr << "zpweb: " << outcome.message << '\n';
    }
}

}  // namespace zpweb
