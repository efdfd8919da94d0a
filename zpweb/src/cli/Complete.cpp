#include "cli/Complete.h"

#include <algorithm>
#include <set>
#include <string_view>

#include "cli/Documents.h"
#include "commands/table/Table.h"
#include "input/HostName.h"
#include "sys/File.h"
#include "sys/Number.h"

namespace zpweb {

namespace {

using Offers = std::set<std::string>;

const Parameter* named(const std::vector<Parameter>& parameters, std::string_view name) {
    const auto found = std::find_if(parameters.begin(), parameters.end(),
                                    [&](const Parameter& each) { return each.name == name; });
    return found == parameters.end() ? nullptr : &*found;
}

// The command line up to the word that is completed.
class Typed {
public:
    void take(const std::string& word) {
        if (waiting_ != nullptr) {
            remember(*waiting_, word);
            waiting_ = nullptr;
        } else if (word.starts_with("-") && word != "-") {
            takeOption(word);
        } else if (command_ == nullptr) {
            text_ += (text_.empty() ? "" : " ") + word;
            command_ = findCommand(text_);
        } else {
            ++positionals_;
        }
    }

    const Parameter* option(std::string_view name) const {
        const Parameter* common = named(commonOptions(), name);
        return common != nullptr || command_ == nullptr ? common : named(command_->parameters, name);
    }
    // The one whose value comes next; null when none does.
    const Parameter* waiting() const { return waiting_; }
    const Parameter* positional() const {
        const Parameter* last = nullptr;
        size_t left = positionals_;
        for (const Parameter& each : command_->parameters) {
            if (!each.isOption()) {
                last = &each;
                if (left-- == 0) {
                    return last;
                }
            }
        }
        return last != nullptr && last->many ? last : nullptr;
    }
    const Command* command() const { return command_; }
    const std::string& text() const { return text_; }
    const std::string& configuration() const { return configuration_; }

private:
    void remember(const Parameter& option, const std::string& value) {
        if (option.name == "--conf") {
            configuration_ = value;
        }
    }
    void takeOption(const std::string& word) {
        const size_t sign = word.find('=');
        const Parameter* found = option(std::string_view(word).substr(0, sign));
        if (found == nullptr || found->kind == Kind::Flag) {
            return;
        }
        if (sign == std::string::npos) {
            waiting_ = found;
        } else {
            remember(*found, word.substr(sign + 1));
        }
    }

    std::string text_, configuration_;
    const Command* command_ = nullptr;
    const Parameter* waiting_ = nullptr;
    size_t positionals_ = 0;
};

// Names that are host names: whatever else a file calls a site is not put on a command line.
Offers siteOffers(const std::string& configuration) {
    const auto path = configuration.empty() ? findConfiguration() : Expected(configuration);
    const auto main = path.ok() ? realPathOf(*path) : path;
    if (!main.ok()) {
        return {};
    }
    Offers names;
    if (const auto loaded = Configuration::load(*main); loaded.ok()) {
        for (const auto& file : loaded->files()) {
            for (const Block& block : file->blocks()) {
                if (const auto name = asciiHostName(std::string(block.name)); name.ok()) {
                    names.insert(*name);
                }
            }
        }
    }
    return names;
}

Offers choicesOf(std::string_view choices) {
    Offers words;
    while (!choices.empty()) {
        const std::string_view word = choices.substr(0, choices.find('|'));
        words.emplace(word);
        choices.remove_prefix(std::min(choices.size(), word.size() + 1));
    }
    return words;
}

Offers valuesOf(const Parameter& parameter, const Typed& typed) {
    switch (parameter.kind) {
        case Kind::Site:
            return siteOffers(typed.configuration());
        case Kind::Path:
        case Kind::InputFile:
            return {":files"};
        case Kind::Account:
            return {":users"};
        case Kind::Choice:
            return choicesOf(parameter.value);
        default:
            return parameter.name == "--conf" ? Offers{":files"} : Offers{};
    }
}

// What may follow the words of a command so far.
Offers followersOf(const std::string& text) {
    Offers words;
    const std::string before = text.empty() ? "" : text + " ";
    for (const Command& command : commandTable()) {
        if (command.words.starts_with(before)) {
            const std::string_view rest = command.words.substr(before.size());
            words.emplace(rest.substr(0, rest.find(' ')));
        }
    }
    for (const Document& document : documents()) {
        if (text.empty()) {
            words.insert(document.name);
        }
    }
    return words;
}

Offers optionsOf(const Command* command) {
    Offers names;
    for (const Parameter& each : commonOptions()) {
        names.emplace(each.name);
    }
    for (const Parameter& each : command == nullptr ? std::vector<Parameter>() : command->parameters) {
        if (each.isOption()) {
            names.emplace(each.name);
        }
    }
    return names;
}

// bash splits "--option=value" into three words.
std::vector<std::string> withWholeOptions(const std::vector<std::string>& words, size_t last) {
    std::vector<std::string> result;
    for (size_t i = 2; i <= last && i < words.size(); ++i) {
        const bool sign = words[i] == "=";
        const bool value = i > 2 && words[i - 1] == "=" && !result.empty();
        if ((sign && !result.empty() && result.back().starts_with("--")) || value) {
            result.back() += words[i];
        } else {
            result.push_back(words[i]);
        }
    }
    return result;
}

Offers offersFor(const Typed& typed, std::string& current) {
    if (typed.waiting() != nullptr) {
        return valuesOf(*typed.waiting(), typed);
    }
    if (const size_t sign = current.find('='); current.starts_with("--") && sign != std::string::npos) {
        const Parameter* option = typed.option(std::string_view(current).substr(0, sign));
        current.erase(0, sign + 1);
        return option == nullptr ? Offers() : valuesOf(*option, typed);
    }
    if (current.starts_with('-')) {
        return optionsOf(typed.command());
    }
    if (typed.command() == nullptr) {
        return followersOf(typed.text().starts_with("help")
                               ? typed.text().substr(std::min<size_t>(typed.text().size(), 5))
                               : typed.text());
    }
    const Parameter* positional = typed.positional();
    return positional == nullptr ? Offers() : valuesOf(*positional, typed);
}

}  // namespace

void complete(std::ostream& out, const std::vector<std::string>& words) {
    const size_t number = words.empty() ? 0 : static_cast<size_t>(leadingNumber(words.front()));
    std::vector<std::string> line = withWholeOptions(words, number + 1);
    std::string current = line.empty() ? "" : line.back();
    Typed typed;
    for (size_t i = 0; i + 1 < line.size(); ++i) {
        typed.take(line[i]);
    }
    for (const std::string& offer : offersFor(typed, current)) {
        if (offer.starts_with(':') || offer.starts_with(current)) {
            out << offer << '\n';
        }
    }
}

}  // namespace zpweb
