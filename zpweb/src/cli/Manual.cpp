// The manual page.

#include "cli/Documents.h"
#include "commands/table/Table.h"
#include "output/Statuses.h"

namespace zpweb {

namespace {

std::string roff(std::string_view text) {
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

void printCommand(std::ostream& out, const Command& command) {
    out << ".SS " << roff(command.words) << "\n.B zpweb " << roff(command.words) << "\n";
    for (const Parameter& parameter : command.parameters) {
        out << usageOf(parameter) << "\n";
    }
    out << ".PP\n" << roff(command.summary) << ".\n";
    if (!command.more.empty()) {
        out << ".PP\n" << roff(command.more) << "\n";
    }
    printParameters(out, command.parameters);
    out << ".PP\n" << (command.examples.size() == 1 ? "Example:" : "Examples:") << "\n";
    for (const std::string_view example : command.examples) {
        out << ".PP\n.nf\n.RS\nzpweb " << roff(example) << "\n.RE\n.fi\n";
    }
}

void printCommands(std::ostream& out, bool panelOnly) {
    for (const Command& command : commandTable()) {
        if (command.panelOnly == panelOnly) {
            printCommand(out, command);
        }
    }
}

void printStatuses(std::ostream& out) {
    out << ".SH EXIT STATUS\n";
    for (const StatusText& each : Statuses) {
        std::string meaning(each.meaning);
        std::erase(meaning, '`');
        out << ".TP\n"
            << static_cast<int>(each.status) << "\n"
            << each.name << (meaning.empty() ? "" : ": ") << roff(meaning) << ".\n";
    }
}

}  // namespace

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
    printCommands(out, false);
    out << ".SH COMMANDS FOR THE PANEL ALONE\n";
    printCommands(out, true);
    printStatuses(out);
    out << ".SH ENVIRONMENT\n.TP\nNO_COLOR\nNo colours, even on a terminal.\n"
        << ".SH FILES\n.TP\n\\fI.zpweb\\fR\nBeside the configuration: the lock, the log of changes "
           "(\\fIaudit.log\\fR) and the last 50 checkpoints.\n"
        << ".SH SEE ALSO\n.BR apachectl (8)\n";
}

}  // namespace zpweb
