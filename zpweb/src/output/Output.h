// What the program shows: data on standard output, messages on standard error.
#pragma once

#include <chrono>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "change/Settings.h"
#include "sys/Outcome.h"

namespace zpweb {

using Json = nlohmann::ordered_json;

// The version of what --json prints; see docs/zpweb.md.
inline constexpr int JsonSchema = 1;

class Output {
public:
    Output(const Settings& settings, std::string command);

    // A message about the work; not with --quiet.
    void note(std::string_view text);
    void warning(std::string_view text);  // also with --quiet
    void detail(std::string text);        // only with --verbose
    // This text is never shown.
    void hide(const std::string& secret) { secrets_.push_back(secret); }
    // What is done now, shown on a terminal once the work has taken more than a second.
    void step(std::string_view what);
    void stillWorking();

    // The data of the command: fields of one thing, or a list of things.
    void set(const std::string& field, Json value) { data_[field] = std::move(value); }
    void list(const std::string& field, const std::vector<std::string>& columns, Json rows);
    void clear() {
        data_ = Json::object();
        columns_.clear();
    }
    void addDiff(const std::string& diff) { diff_ += diff; }
    void setChanged(bool changed) { changed_ = changed; }
    bool changed() const { return changed_; }

    // Prints everything; once, at the end.
    void finish(const Outcome& outcome);

private:
    void clearProgress();
    void printData() const;
    void printDiff() const;
    std::string coloured(std::string_view text, const char* code) const;

    const Settings& settings_;
    std::string command_;
    Json data_ = Json::object();
    std::vector<std::pair<std::string, std::vector<std::string>>> columns_;  // of each list
    std::string diff_;
    bool changed_ = false;
    bool colours_, progress_, progressShown_ = false;
    std::string step_;
    std::vector<std::string> secrets_;
    std::chrono::steady_clock::time_point begun_;
};

const char* nameOf(Status status);

}  // namespace zpweb
