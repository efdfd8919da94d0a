// What the program shows: data on standard output, messages on standard error.
#pragma once

#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "input/Settings.h"
#include "output/List.h"
#include "output/Progress.h"
#include "output/Statuses.h"
#include "output/Value.h"
#include "sys/Outcome.h"

namespace zpweb {

// What a run has to tell so far, so that another process can tell it.
struct Told {
    std::string messages{};  // notes and warnings
    Pairs fields{};          // names and texts; of lists nothing is known
    std::optional<std::string> results{};
    bool changed = false;
    int checkpoint = 0;
    std::optional<bool> judged{};
};

// The version of what --json prints; see docs/zpweb.md.
inline constexpr int JsonSchema = 2;

class Output {
public:
    // `keeps`: messages are kept to be told later, and nothing is printed.
    Output(const Settings& settings, std::string command, bool keeps = false);

    // A message about the work; not with --quiet.
    void note(std::string_view text);
    void warning(std::string_view text);  // also with --quiet
    void detail(std::string text);        // only with --verbose
    // This text is never shown, as it stands or quoted for a shell.
    void hide(const std::string& secret);
    // What is done now, shown on a terminal once the work has taken more than a second.
    void step(std::string_view what) { progress_.step(what); }

    // The data of the command: fields of one thing, or a list of things.
    void set(std::string_view field, const Value& value);
    List& list(std::string_view field, std::vector<std::string> columns);
    void clear() { fields_.clear(); }
    // The data are what was asked for: shown with --quiet, too.
    void answers() { answers_ = true; }
    // One of several commands has ended: its data so far become its entry among the results.
    void endCommand(std::string_view command, const Outcome& outcome, bool changed);
    void startAgain() {
        fields_.clear();
        diff_.clear();
        impact_.clear();
        results_.reset();
    }
    void addDiff(const std::string& diff) { diff_ += diff; }
    void setChanged(bool changed) { changed_ = changed; }
    bool changed() const { return changed_; }
    // Of a change that stands; 0 for none.
    void setCheckpoint(int number) { checkpoint_ = number; }
    void setConfirmWithin(long seconds) { confirmWithin_ = seconds; }
    // Was the change judged by the server's reading? Of a change that is, JSON has it and the impact
    // always.
    void setJudged(bool judged) { judged_ = judged; }
    // A name that leads elsewhere though nobody asked for it.
    void addImpact(std::string_view name, std::string_view listener, std::string_view from,
                   std::string_view to);

    Told told() const;
    void tellAs(const Told& told);  // as if this run had done it
    void say(std::string_view messages);

    // Prints everything; once, at the end. The outcome of the run: an error when the data could not be
    // written.
    Outcome finish(Outcome outcome);

private:
    struct Field {
        std::string name, text;
        std::optional<List> list;
    };
    Field& field(std::string_view name);
    // The texts that are printed one behind the other; long ones are not copied.
    std::vector<std::string> document(const Outcome& outcome);
    std::string columns() const;
    std::string diff() const;
    std::string coloured(std::string_view text, const char* code) const;

    const Settings& settings_;
    std::string command_;
    std::deque<Field> fields_;
    std::string diff_;
    bool answers_ = false;
    bool changed_ = false;
    std::optional<bool> judged_;
    std::string impact_;                  // JSON, without the brackets
    std::optional<std::string> results_;  // the same
    int checkpoint_ = 0;
    long confirmWithin_ = 0;
    std::optional<std::string> kept_;  // messages, where they are not printed
    bool colours_;
    std::vector<std::string> secrets_;
    Progress progress_;
};

// Writes to standard output; an error where that cannot be. A reader that has gone is none.
Outcome writeOutput(std::string_view text);

}  // namespace zpweb
