// The manual page.
#include <map>

#include "cli/Documents.h"
#include "commands/table/Table.h"

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
}

void printStatuses(std::ostream& out) {
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
    for (const Command& command : commandTable()) {
        printCommand(out, command);
    }
    printStatuses(out);
    out << ".SH ENVIRONMENT\n.TP\nNO_COLOR\nNo colours, even on a terminal.\n"
        << ".SH FILES\n.TP\n\\fI.zpweb\\fR\nBeside the configuration: the lock, the log of changes "
           "(\\fIaudit.log\\fR) and the last 50 checkpoints.\n"
        << ".SH SEE ALSO\n.BR apachectl (8)\n";
}

}  // namespace zpweb
