#include "output/Output.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <iostream>
#include <utility>

#include "host/Shell.h"
#include "host/WriteAll.h"
#include "output/Terminal.h"
#include "sys/File.h"
#include "sys/Printable.h"

namespace zpweb {

namespace {

constexpr const char* Red = "\x1b[31m";
constexpr const char* Green = "\x1b[32m";
constexpr const char* Yellow = "\x1b[33m";

constexpr std::string_view Hidden = "(hidden)";

void replaceAll(std::string& text, const std::string& part) {
    for (size_t at = 0; !part.empty() && (at = text.find(part, at)) != std::string::npos;) {
        text.replace(at, part.size(), Hidden);
        at += Hidden.size();
    }
}

}  // namespace

Outcome writeOutput(std::string_view text) {
    return zp::host::writeAll(STDOUT_FILENO, text) || errno == EPIPE
               ? done()
               : failure(systemError("standard output"));
}

Output::Output(const Settings& settings, std::string command, bool keeps)
    : settings_(settings),
      command_(std::move(command)),
      kept_(keeps ? std::optional<std::string>("") : std::nullopt),
      colours_(::isatty(STDOUT_FILENO) == 1 && wantsColours()),
      progress_(!settings.quiet && !keeps) {}

void Output::hide(const std::string& secret) {
    const std::string quoted = zp::host::commandLine({secret});
    secrets_.push_back(quoted);
    secrets_.push_back(quoted.starts_with('\'') ? quoted.substr(1, quoted.size() - 2) : secret);
    secrets_.push_back(secret);
}

void Output::note(std::string_view text) {
    if (!settings_.quiet) {
        say("zpweb: " + printableLines(text));
    }
}

void Output::warning(std::string_view text) { say("zpweb: warning: " + printableLines(text)); }

void Output::say(std::string_view messages) {
    if (kept_) {
        kept_->append(messages).append(messages.empty() || messages.ends_with('\n') ? "" : "\n");
    } else if (!messages.empty()) {
        progress_.print(messages);
    }
}

void Output::detail(std::string text) {
    if (settings_.verbose && !text.empty()) {
        for (const std::string& secret : secrets_) {
            replaceAll(text, secret);
        }
        say(printableLines(text));
    }
}

Told Output::told() const {
    Told told{kept_.value_or(""), {}, results_, changed_, checkpoint_, judged_};
    for (const Field& field : fields_) {
        told.fields.emplace_back(field.name, field.text);
    }
    return told;
}

void Output::tellAs(const Told& told) {
    say(told.messages);
    fields_.clear();
    for (const auto& [name, text] : told.fields) {
        field(name).text = text;
    }
    results_ = told.results;
    changed_ = told.changed;
    checkpoint_ = told.checkpoint;
    judged_ = told.judged;
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

void Output::endCommand(std::string_view command, const Outcome& outcome, bool changed) {
    if (settings_.json) {
        std::string& text = results_ ? results_->append(results_->empty() ? "" : ",") : results_.emplace();
        text += '{';
        appendMember(text, "command", command, true);
        appendMember(text, "status", nameOf(outcome.status));
        appendMember(text, "changed", changed);
        if (!outcome.ok()) {
            appendMember(text, "message", outcome.message);
        }
        for (const Field& field : fields_) {
            if (!field.list) {
                text += ",\"" + field.name + "\":" + field.text;
            }
        }
        text += '}';
    }
    fields_.clear();
}

void Output::addImpact(std::string_view name, std::string_view listener, std::string_view from,
                       std::string_view to) {
    impact_ += impact_.empty() ? "{" : ",{";
    appendMember(impact_, "name", name, true);
    appendMember(impact_, "listener", listener);
    appendMember(impact_, "from", from);
    appendMember(impact_, "to", to);
    impact_ += '}';
}

std::string Output::coloured(std::string_view text, const char* code) const {
    return colours_ ? code + std::string(text) + "\x1b[0m" : std::string(text);
}

std::string Output::diff() const {
    std::string text;
    for (size_t at = 0; at < diff_.size();) {
        const size_t end = std::min(diff_.find('\n', at), diff_.size());
        const std::string line = printable(std::string_view(diff_).substr(at, end - at));
        const char mark = line.empty() ? ' ' : line.front();
        if (mark == '+' || mark == '-' || mark == '@') {
            text += coloured(line, mark == '+' ? Green : mark == '-' ? Red : Yellow);
        } else {
            text += line;
        }
        text += '\n';
        at = end + 1;
    }
    return text;
}

std::string Output::columns() const {
    std::string text;
    size_t width = 0;
    for (const Field& field : fields_) {
        width = std::max(width, field.name.size());
    }
    for (const Field& field : fields_) {
        if (field.list) {
            field.list->appendTable(text);
        } else {
            text.append(field.name).append(width - field.name.size() + 2, ' ').append(field.text) += '\n';
        }
    }
    return text;
}

std::vector<std::string> Output::document(const Outcome& outcome) {
    std::vector<std::string> texts;
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
    const bool tellsOwn = std::any_of(fields_.begin(), fields_.end(),
                                      [](const Field& field) { return field.name == "checkpoint"; });
    if (checkpoint_ != 0 && !tellsOwn) {
        appendMember(text, "checkpoint", checkpoint_);
    }
    if (confirmWithin_ != 0) {
        appendMember(text, "confirm_within", confirmWithin_);
    }
    if (results_) {
        text += ",\"results\":[" + *results_ + "]";
    }
    if (judged_) {
        appendMember(text, "judged", *judged_);
        text += ",\"impact\":[" + impact_ + "]";
    }
    for (Field& field : fields_) {
        text += ",\"" + field.name + "\":" + (field.list ? "" : field.text);
        if (field.list) {
            texts.push_back(std::exchange(text, {}));
            texts.push_back(field.list->takeJson());
        }
    }
    texts.push_back(std::move(text) + "}\n");
    return texts;
}

Outcome Output::finish(Outcome outcome) {
    progress_.end();
    const bool good = outcome.ok() || outcome.status == Status::WouldChange;
    const bool listed = std::any_of(fields_.begin(), fields_.end(),
                                    [](const Field& field) { return field.list.has_value(); });
    const auto shown = [&] { return !settings_.quiet || listed || answers_ ? columns() : std::string(); };
    const std::vector<std::string> texts =
        settings_.json ? document(outcome) : std::vector<std::string>{shown(), diff()};
    if (!outcome.message.empty() && (!good || !settings_.quiet)) {
        std::cerr << "zpweb: " << printableLines(outcome.message) << '\n';
    }
    Outcome written;
    for (const std::string& text : texts) {
        written = written.ok() ? writeOutput(text) : written;
    }
    if (!written.ok()) {
        std::cerr << "zpweb: " << written.message
                  << (changed_ && outcome.ok() ? "; the change is made" : "") << '\n';
        return good ? written : outcome;
    }
    return outcome;
}

}  // namespace zpweb
