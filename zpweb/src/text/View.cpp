#include "text/View.h"

#include <algorithm>

#include "conf/Text.h"
#include "text/LayBack.h"
#include "text/Replacements.h"

namespace zpweb {

namespace {

using LineKind = ViewLine::Kind;

std::string openingTag(const std::string& address) { return "<VirtualHost " + address + ">"; }

}  // namespace

View::View(const Block& block)
    : View(block.text, Statements(block), domainOf(block), std::string(block.address), 0) {}

View View::ofServer(std::string_view text) { return {text, Statements(text), "server.invalid", "*", None}; }

View::View(std::string_view text, Statements statements, std::string domain, std::string address,
           size_t level)
    : text_(text), statements_(std::move(statements)), level_(level), domain_(std::move(domain)) {
    const size_t end = level == None || statements_.size() == 0 ? None : statements_[0].end;
    const bool closed = end != None;
    lines_.push_back({LineKind::Opening, openingTag(address.empty() ? "*" : address), {}, 0});
    lines_.push_back({LineKind::Name, "\tServerName " + domain_, {}, 0});
    lines_.push_back({LineKind::Closing, "</VirtualHost>", {}, closed ? end : statements_.size()});
    for (size_t i = 0; i < statements_.size(); ++i) {
        if (isOwn(statements_[i]) && statements_[i].is("ServerName")) {
            lines_[1].behind = i;
        }
    }
}

void View::showAddress(size_t number, Port port) {
    address_ = number;
    port_ = port;
    lines_[0].text = openingTag(statements_[0].argument(number));
}

// Lines stand in the order of their statements, provided ones behind those that they would stand behind.
void View::insert(ViewLine line) {
    const auto first = lines_.begin() + 2;
    const size_t place = line.isProvided() ? line.behind : line.statements.front();
    const auto follows = [&](const ViewLine& other) {
        return (other.isProvided() ? other.behind : other.statements.front()) > place ||
               other.kind == LineKind::Closing;
    };
    lines_.insert(std::find_if(first, lines_.end(), follows), std::move(line));
}

void View::show(const StatementTest& wanted) { showAs(wanted, canonical); }

void View::showAs(const StatementTest& wanted, const std::function<std::string(const Statement&)>& form) {
    for (size_t i = 0; i < statements_.size(); ++i) {
        const Statement& statement = statements_[i];
        if (isOwn(statement) && statement.kind == Statement::Kind::Directive && wanted(statement)) {
            insert({LineKind::Directive, "\t" + form(statement), {i}, i});
        }
    }
}

void View::showNames(std::string_view directive, const std::function<bool(const std::string&)>& wanted) {
    ViewLine line{LineKind::Names, "\t" + std::string(directive), {}, lines_[1].behind};
    for (size_t i = 0; i < statements_.size(); ++i) {
        if (isOwn(statements_[i]) && statements_[i].is(directive)) {
            line.statements.push_back(i);
            for (const Word& word : statements_[i].words()) {
                if (const std::string name = word.value(); wanted(name)) {
                    line.text += " " + name;
                }
            }
        }
    }
    insert(std::move(line));
}

void View::showSections(const StatementTest& wanted, const StatementTest& inner) {
    size_t end = 0;   // behind the section that is shown
    size_t over = 0;  // behind one in it that is not
    for (size_t i = 0; i < statements_.size(); ++i) {
        const Statement& statement = statements_[i];
        const bool opens = statement.kind == Statement::Kind::Opens && statement.end != None;
        if (i >= end) {
            if (opens && isOwn(statement) && wanted(statement)) {
                end = statement.end + 1;
                insert({LineKind::SectionOpens, "\t" + canonical(statement), {i}, i});
            }
            continue;
        }
        const bool goesIn =
            !inner || (isCondition(statement.name) ? !statements_.isUnmet(i) : inner(statement));
        if (i >= over && opens && !goesIn) {
            over = statement.end + 1;
        }
        if (i >= over && !(inner && isOfCondition(i))) {
            showInner(i, inner);
        }
    }
}

// Does it open or close one?
bool View::isOfCondition(size_t i) const {
    using enum Statement::Kind;
    return (statements_[i].kind == Opens || statements_[i].kind == Closes) &&
           isCondition(statements_[i].name);
}

// A statement in a section, and the section's end.
void View::showInner(size_t i, const StatementTest& inner) {
    const Statement& statement = statements_[i];
    if (statement.kind == Statement::Kind::Closes) {
        insert({LineKind::SectionCloses, "\t" + canonical(statement), {i}, i});
    } else if (statement.kind == Statement::Kind::Opens && statement.end != None) {
        insert({LineKind::SectionOpens, "\t\t" + canonical(statement), {i}, i});
    } else if (statement.kind == Statement::Kind::Directive && (!inner || inner(statement))) {
        insert({LineKind::Directive, "\t\t" + canonical(statement), {i}, i});
    }
}

void View::provide(const std::string& line) {
    lines_.insert(lines_.begin() + 2, {LineKind::Name, "\t" + line, {}, lines_[1].behind});
}

void View::provideDirectory(const std::string& path) {
    const size_t last = lines_.back().behind;
    const auto at = lines_.end() - 1;
    lines_.insert(at, {{LineKind::SectionOpens, "\t<Directory \"" + path + "\">", {}, last},
                       {LineKind::SectionCloses, "\t</Directory>", {}, last}});
}

std::string View::laidBack(std::string_view result) const { return LayBack(*this, result).text(); }

std::string View::text() const {
    std::string text;
    for (const ViewLine& line : lines_) {
        text.append(line.text).append("\n");
    }
    return text;
}

std::string domainOf(const Block& block) {
    return isServerName(block.name) ? std::string(block.name) : "without.name.invalid";
}

// A slash at the end of a directory's path says nothing.
std::string pathOf(const Statement& statement) {
    std::string path = statement.argument(0);
    while (path.size() > 1 && path.ends_with('/')) {
        path.pop_back();
    }
    return path;
}

std::string canonical(const Statement& statement) {
    std::string text(statement.name);
    if (statement.kind == Statement::Kind::Opens || statement.kind == Statement::Kind::Closes) {
        const bool opens = statement.kind == Statement::Kind::Opens;
        const bool directory = zp::conf::equalIgnoringCase(text, "Directory");
        text = (opens ? "<" : "</") + (directory ? "Directory" : text);
        if (opens && directory && statement.words().size() == 1) {
            return text + " \"" + pathOf(statement) + "\">";
        }
    }
    for (const Word& word : statement.words()) {
        text += " " + joined(word.written);
    }
    return text + (statement.kind == Statement::Kind::Directive ? "" : ">");
}

StatementTest isOneOf(std::vector<std::string> directives) {
    return [directives = std::move(directives)](const Statement& statement) {
        return std::any_of(directives.begin(), directives.end(),
                           [&](const std::string& directive) { return statement.is(directive); });
    };
}

StatementTest opensDirectory(std::string path) {
    return [path = std::move(path)](const Statement& statement) {
        return statement.opens("Directory") && pathOf(statement) == path;
    };
}

}  // namespace zpweb
