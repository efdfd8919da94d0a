// The bash completion.
#include <algorithm>
#include <map>
#include <set>

#include "cli/Documents.h"
#include "commands/table/Table.h"

namespace zpweb {

namespace {

using Words = std::set<std::string, std::less<>>;

constexpr const char* Beginning = R"bash(# bash completion of zpweb, written by "zpweb completion"

_zpweb_sites() {
    local conf=() i
    for ((i = 1; i < ${#COMP_WORDS[@]} - 1; i++)); do
        [[ ${COMP_WORDS[i]} == --conf ]] && conf=(--conf "${COMP_WORDS[i + 1]}")
    done
    compgen -W "$(zpweb "${conf[@]}" site list --quiet 2>/dev/null | awk 'NR > 1 { print $1 }')" -- "$current"
}

_zpweb() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} words= i
    for ((i = 1; i < COMP_CWORD; i++)); do
        case ${COMP_WORDS[i]} in
        --conf | --lock-timeout) ((i++)) ;;
        -*) ;;
        *) words+="${words:+ }${COMP_WORDS[i]}" ;;
        esac
    done
    COMPREPLY=()
    [[ $previous == --conf ]] && { mapfile -t COMPREPLY < <(compgen -f -- "$current"); return; }
)bash";

std::string joined(const Words& words) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : " ") + word;
    }
    return text;
}

// What is offered for a value of this kind: a bash command that prints the words.
std::string offerFor(const Parameter& parameter) {
    switch (parameter.kind) {
        case Kind::Site:
            return "_zpweb_sites";
        case Kind::Path:
        case Kind::InputFile:
            return "compgen -f -- \"$current\"";
        case Kind::Account:
            return "compgen -u -- \"$current\"";
        case Kind::Choice: {
            std::string choices(parameter.value);
            std::replace(choices.begin(), choices.end(), '|', ' ');
            return "compgen -W '" + choices + "' -- \"$current\"";
        }
        default:
            return "";
    }
}

// The shell command that replies with what another prints.
std::string reply(const std::string& offer) { return "mapfile -t COMPREPLY < <(" + offer + ")"; }

std::string replyWith(const Words& words) {
    return reply("compgen -W '" + joined(words) + "' -- \"$current\"");
}

// What may follow the words of a command so far; options may stand before all of them.
std::map<std::string, Words> followers(const Words& common) {
    std::map<std::string, Words> next;
    for (const Command& command : commandTable()) {
        std::string before;
        for (size_t at = 0; at < command.words.size();) {
            const size_t end = std::min(command.words.find(' ', at), command.words.size());
            next[before].emplace(command.words.substr(at, end - at));
            before = command.words.substr(0, end);
            at = end + 1;
        }
    }
    next[""].insert(common.begin(), common.end());
    return next;
}

// What is offered behind the words of a whole command.
void printCase(std::ostream& out, const Command& command, Words options) {
    std::string positional;
    std::string values;
    for (const Parameter& parameter : command.parameters) {
        const std::string offer = offerFor(parameter);
        if (!parameter.isOption()) {
            positional = positional.empty() ? offer : positional;
            continue;
        }
        options.emplace(parameter.name);
        if (!offer.empty()) {
            values += "        " + std::string(parameter.name) + ") " + reply(offer) + "; return ;;\n";
        }
    }
    out << "    '" << command.words << "'*)\n";
    if (!values.empty()) {
        out << "        case $previous in\n" << values << "        esac\n";
    }
    out << "        if [[ $current == -* ]]; then\n            " << replyWith(options) << "\n";
    if (!positional.empty()) {
        out << "        else\n            " << reply(positional) << "\n";
    }
    out << "        fi\n        return ;;\n";
}

}  // namespace

void printCompletion(std::ostream& out) {
    Words common;
    for (const Parameter& option : commonOptions()) {
        common.emplace(option.name);
    }
    out << Beginning << "    case $words in\n";
    for (const auto& [before, words] : followers(common)) {
        out << "    '" << before << "')\n        " << replyWith(words) << "\n        return ;;\n";
    }
    out << "    esac\n    case $words in\n";
    for (const Command& command : commandTable()) {
        printCase(out, command, common);
    }
    out << "    esac\n}\n\ncomplete -o filenames -F _zpweb zpweb\n";
}

}  // namespace zpweb
