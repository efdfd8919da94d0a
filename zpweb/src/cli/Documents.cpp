#include "cli/Documents.h"

#include <algorithm>
#include <map>
#include <set>

#include "cli/Command.h"

namespace zpweb {

namespace {

// --- the manual page
// --------------------------------------------------------------------------------------

std::string roff(const std::string& text) {
    std::string result;
    for (const char c : text) {
        result += c == '-' ? "\\-" : c == '\\' ? "\\e" : std::string(1, c);
    }
    return result.starts_with('.') || result.starts_with('\'') ? "\\&" + result : result;
}

std::string usageOf(const Parameter& parameter) {
    std::string text = "\\fI" + roff(parameter.name) + "\\fR";
    if (parameter.isOption()) {
        text = "\\fB" + roff(parameter.name) + "\\fR";
        if (parameter.kind != Kind::Flag) {
            text += " \\fI" + roff(parameter.value) + "\\fR";
        }
    }
    if (parameter.many) {
        text += " ...";
    }
    return parameter.required ? text : "[" + text + "]";
}

void printParameters(std::ostream& out, const std::vector<Parameter>& parameters) {
    for (const Parameter& parameter : parameters) {
        out << ".TP\n";
        out << (parameter.isOption() ? "\\fB" : "\\fI") << roff(parameter.name) << "\\fR";
        if (parameter.isOption() && parameter.kind != Kind::Flag) {
            out << " \\fI" << roff(parameter.value) << "\\fR";
        }
        out << "\n" << roff(parameter.help) << ".\n";
    }
}

void printManual(std::ostream& out) {
    out << ".TH ZPWEB 1 \"\" \"zpweb " << ZPWEB_VERSION << "\" \"User Commands\"\n"
        << ".SH NAME\nzpweb \\- websites of an Apache HTTP Server, safe by default\n"
        << ".SH SYNOPSIS\n.B zpweb\n[\\fIoption\\fR ...] \\fIcommand\\fR [\\fIargument\\fR ...]\n"
        << ".SH DESCRIPTION\n"
        << "Each change is staged on a copy of the configuration, checked by the server itself, put in "
           "place in "
           "one step,\nfollowed by a reload that is verified, and recorded. What fails leaves everything "
           "as it "
           "was.\nData go to standard output, messages to standard error.\n"
        << ".SH OPTIONS\nThese go with every command.\n";
    printParameters(out, commonOptions());
    out << ".SH COMMANDS\n";
    for (const Command& command : commandTable()) {
        out << ".SS " << roff(command.words) << "\n.B zpweb " << roff(command.words) << "\n";
        for (const Parameter& parameter : command.parameters) {
            out << usageOf(parameter) << "\n";
        }
        out << ".PP\n" << roff(command.summary) << ".\n";
        if (!command.more.empty()) {
            out << ".PP\n" << roff(command.more) << "\n";
        }
        printParameters(out, command.parameters);
    }
    out << ".SH EXIT STATUS\n";
    for (const auto& [status, text] : std::map<int, std::string>{
             {0, "Done, also when it was so already."},
             {1, "An error."},
             {2, "Wrong usage: nothing was read."},
             {3, "Refused by the server's check: nothing is changed."},
             {4, "Rolled back: the server did not come through its reload."},
             {5, "Locked by another run."},
             {6, "Not found."},
             {7, "Exists."},
             {8, "Would change, with \\-\\-dry\\-run and \\-\\-detailed\\-exitcode."}}) {
        out << ".TP\n" << status << "\n" << text << "\n";
    }
    out << ".SH ENVIRONMENT\n.TP\nNO_COLOR\nNo colours, even on a terminal.\n"
        << ".SH FILES\n.TP\n\\fI.zpweb\\fR\nBeside the configuration: the lock, the log of changes "
           "(\\fIaudit.log\\fR) and the last 50 checkpoints.\n"
        << ".SH SEE ALSO\n.BR apachectl (8)\n";
}

// --- the completion
// ---------------------------------------------------------------------------------------

std::string wordsOf(const std::set<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : " ") + word;
    }
    return text;
}

// What is offered for a value of this kind: a bash command that prints the words.
std::string offerFor(const Parameter& parameter) {
    switch (parameter.kind) {
        case Kind::HostName:
            return parameter.name == "SITE" ? "_zpweb_sites" : "";
        case Kind::Path:
        case Kind::InputFile:
            return "compgen -f -- \"$current\"";
        case Kind::Account:
            return "compgen -u -- \"$current\"";
        case Kind::Choice: {
            std::string choices = parameter.value;
            std::replace(choices.begin(), choices.end(), '|', ' ');
            return "compgen -W '" + choices + "' -- \"$current\"";
        }
        default:
            return "";
    }
}

void printCompletion(std::ostream& out) {
    std::map<std::string, std::set<std::string>> next;  // what may follow the words of a command so far
    for (const Command& command : commandTable()) {
        std::string before;
        for (size_t at = 0; at < command.words.size();) {
            const size_t end = std::min(command.words.find(' ', at), command.words.size());
            next[before].insert(command.words.substr(at, end - at));
            before = command.words.substr(0, end);
            at = end + 1;
        }
    }
    std::set<std::string> common;
    for (const Parameter& option : commonOptions()) {
        common.insert(option.name);
    }
    out << "# bash completion of zpweb, written by \"zpweb completion\"\n\n"
        << "_zpweb_sites() {\n"
        << "    local conf=() i\n"
        << "    for ((i = 1; i < ${#COMP_WORDS[@]} - 1; i++)); do\n"
        << "        [[ ${COMP_WORDS[i]} == --conf ]] && conf=(--conf \"${COMP_WORDS[i + 1]}\")\n"
        << "    done\n"
        << "    compgen -W \"$(zpweb \"${conf[@]}\" site list --quiet 2>/dev/null | awk 'NR > 1 { print $1 "
           "}')\" "
           "-- \"$current\"\n"
        << "}\n\n"
        << "_zpweb() {\n"
        << "    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} words= i\n"
        << "    for ((i = 1; i < COMP_CWORD; i++)); do\n"
        << "        case ${COMP_WORDS[i]} in\n"
        << "        --conf | --lock-timeout) ((i++)) ;;\n"
        << "        -*) ;;\n"
        << "        *) words+=\"${words:+ }${COMP_WORDS[i]}\" ;;\n"
        << "        esac\n"
        << "    done\n"
        << "    COMPREPLY=()\n"
        << "    [[ $previous == --conf ]] && { mapfile -t COMPREPLY < <(compgen -f -- \"$current\"); "
           "return; }\n"
        << "    case $words in\n";
    for (const auto& [before, words] : next) {
        out << "    '" << before << "')\n        mapfile -t COMPREPLY < <(compgen -W '" << wordsOf(words)
            << (before.empty() ? " " + wordsOf(common) : "") << "' -- \"$current\")\n        return ;;\n";
    }
    out << "    esac\n    case $words in\n";
    std::vector<const Command*> longestFirst;
    for (const Command& command : commandTable()) {
        longestFirst.push_back(&command);
    }
    for (const Command* command : longestFirst) {
        std::set<std::string> options = common;
        std::string positional;
        std::string values;
        for (const Parameter& parameter : command->parameters) {
            const std::string offer = offerFor(parameter);
            if (!parameter.isOption()) {
                positional = positional.empty() ? offer : positional;
                continue;
            }
            options.insert(parameter.name);
            if (!offer.empty()) {
                values +=
                    "        " + parameter.name + ") mapfile -t COMPREPLY < <(" + offer + "); return ;;\n";
            }
        }
        out << "    '" << command->words << "'*)\n";
        if (!values.empty()) {
            out << "        case $previous in\n" << values << "        esac\n";
        }
        out << "        if [[ $current == -* ]]; then\n"
            << "            mapfile -t COMPREPLY < <(compgen -W '" << wordsOf(options)
            << "' -- \"$current\")\n";
        if (!positional.empty()) {
            out << "        else\n            mapfile -t COMPREPLY < <(" << positional << ")\n";
        }
        out << "        fi\n        return ;;\n";
    }
    out << "    esac\n}\n\ncomplete -o filenames -F _zpweb zpweb\n";
}

// --- the operations
// ---------------------------------------------------------------------------------------

void printOperations(std::ostream& out) {
    for (const Command& command : commandTable()) {
        for (const std::string& operation : command.operations) {
            out << operation << "\t" << command.words << "\n";
        }
    }
}

}  // namespace

const std::vector<Document>& documents() {
    static const std::vector<Document> all = {
        {"manual", "Print the manual page", printManual},
        {"completion", "Print the bash completion", printCompletion},
        {"operations", "Print which of the library's operations each command calls", printOperations},
    };
    return all;
}

}  // namespace zpweb
