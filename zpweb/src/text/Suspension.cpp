#include "text/Suspension.h"

#include <algorithm>

#include "conf/Text.h"
#include "text/Statements.h"

namespace zpweb {

namespace {

// The page as one argument: line ends become blanks.
std::string asArgument(std::string_view page) {
    std::string argument = "\"";
    // What begins with a slash or a scheme would be taken for an address.
    argument += zp::conf::skipSpace(page).starts_with('<') ? "" : " ";
    for (const char c : page) {
        if (c == '"' || c == '\\') {
            argument += '\\';
        }
        argument += c == '\n' || c == '\r' ? ' ' : c;
    }
    return argument + "\"";
}

bool comesFirst(const Statement& statement) {
    return statement.scope == 0 && statement.kind == Statement::Kind::Directive &&
           (zp::conf::beginsIgnoringCase(statement.name, "Redirect") ||
            zp::conf::beginsIgnoringCase(statement.name, "Proxy") || statement.is("Include") ||
            statement.is("IncludeOptional") || statement.is("Use"));
}

}  // namespace

std::string suspensionFor(std::string_view page) {
    const std::string answer = "ErrorDocument 503 " + asArgument(page) + "\n";
    return "<IfModule mod_alias.c>\n"
           "    Redirect 503 \"/\"\n"
           "    <IfModule mod_rewrite.c>\n"
           "        RewriteEngine Off\n"
           "    </IfModule>\n"
           "</IfModule>\n"
           "<IfModule !mod_alias.c>\n"
           "    RewriteEngine On\n"
           "    RewriteRule ^ - [R=503,L]\n"
           "</IfModule>\n"
           "<IfModule mod_proxy.c>\n"
           "    ProxyPass \"/\" \"!\"\n"
           "    <Location \"/\">\n"
           "        ProxyPass \"!\"\n"
           "    </Location>\n"
           "</IfModule>\n"
           "<IfModule mod_cache.c>\n"
           "    CacheDisable \"/\"\n"
           "</IfModule>\n" +
           answer + "<Location \"/\">\n    " + answer + "</Location>\n";
}

std::string pageFault(std::string_view page) {
    constexpr size_t Largest = 1 << 20;
    return page.size() > Largest               ? "it is larger than 1 MiB"
           : page.find('\0') != page.npos      ? "it holds a NUL character"
           : page.find("${") != page.npos      ? "it holds \"${\", which the server would replace"
           : page.find("%{") != page.npos      ? "it holds \"%{\", which the server would replace"
           : zp::conf::skipSpace(page).empty() ? "it is empty"
                                               : "";
}

std::string_view defaultPage() {
    return "<!DOCTYPE html><html><head><title>Site suspended</title></head>"
           "<body><h1>This site is suspended</h1><p>It does not answer at the moment.</p></body></html>";
}

std::string withEarlyLine(std::string_view block, const std::string& line) {
    const Statements statements(block);
    size_t behind = 0;
    std::string indentation(statements[0].indentation());
    indentation += "    ";
    for (size_t i = 1; i < statements.size() && !comesFirst(statements[i]); ++i) {
        if (statements[i].is("ServerName") && statements[i].section == 0) {
            behind = i;
            indentation = statements[i].indentation();
        }
    }
    const std::string_view last = statements[behind].written;
    const auto end = static_cast<size_t>(last.data() - block.data()) + last.size();
    const size_t newline = std::min(block.find('\n', end), block.size());
    const bool returns = newline > 0 && newline < block.size() && block[newline - 1] == '\r';
    return std::string(block.substr(0, newline)) + "\n" + indentation + line + (returns ? "\r" : "") +
           std::string(block.substr(newline));
}

}  // namespace zpweb
