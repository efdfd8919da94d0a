// Where new lines go in a block, and what they look like there.
#include <algorithm>

#include "conf/Text.h"
#include "text/LayBack.h"

namespace zpweb {

namespace {

using LineKind = ViewLine::Kind;

constexpr const char* UsualUnit = "    ";

}  // namespace

void LayBack::add(size_t made, const std::string& line, size_t depth) {
    if (const size_t before = view_.placeBefore(line); before != None) {
        insertLine(statements_[outermost(before)].written.data(), childIndentation() + line);
        return;
    }
    insertLine(placeFor(made), indentation(made, depth) + line);
}

void LayBack::addBehind(size_t statement, const std::string& line) {
    insertLine(behind(outside(statement)), childIndentation() + line);
}

void LayBack::insertLine(const char* at, const std::string& line) {
    const std::string_view text = view_.written();
    const size_t newline = text.find('\n');
    const bool returns = newline != text.npos && newline > 0 && text[newline - 1] == '\r';
    const std::string end = returns ? "\r\n" : "\n";
    const bool cut = at == text.data() + text.size() && !text.ends_with('\n');
    replacements_.insert(at, cut ? end + line : line + end);
}

// The nearest line of the view that stayed, before or behind a line of the result; None without one.
size_t LayBack::neighbour(size_t made, int step) const {
    for (size_t j = made; step < 0 ? j > 0 : j + 1 < made_.size();) {
        j += static_cast<size_t>(step);
        if (fates_.made[j] != None && !(holds_ && shown_[fates_.made[j]].isProvided() && step < 0)) {
            return fates_.made[j];
        }
    }
    return None;
}

// Before the section or the end that follows, or else behind what stands before.
const char* LayBack::placeFor(size_t made) const {
    const size_t next = neighbour(made, +1);
    if (next != None) {
        const ViewLine& line = shown_[next];
        if (line.kind == LineKind::Closing && line.behind < statements_.size()) {
            return statements_[line.behind].written.data();
        }
        if (!line.isProvided() && line.kind == LineKind::SectionCloses) {
            return statements_[line.statements.front()].written.data();
        }
        if (!line.isProvided() && line.kind == LineKind::SectionOpens) {
            return statements_[outermost(line.statements.front())].written.data();
        }
        if (line.kind == LineKind::SectionOpens && line.behind < statements_.size()) {
            return statements_[line.behind].written.data();
        }
    }
    const size_t previous = neighbour(made, -1);
    if (previous == None || statements_.size() == 0) {
        return view_.written().data() + view_.written().size();
    }
    const ViewLine& line = shown_[previous];
    return behind(outside(line.isProvided() ? line.behind : line.statements.back()));
}

const char* LayBack::behind(size_t statement) const {
    const std::string_view text = view_.written();
    const std::string_view written = statements_[statement].written;
    const auto end = static_cast<size_t>(written.data() - text.data()) + written.size();
    const size_t newline = text.find('\n', end);
    return text.data() + (newline == text.npos ? text.size() : newline + 1);
}

// A section that the view does not show, such as a condition.
bool LayBack::isAround(size_t section) const {
    return section != view_.level() && section != None &&
           std::none_of(shown_.begin(), shown_.end(), [section](const ViewLine& line) {
               return line.kind == LineKind::SectionOpens && !line.isProvided() &&
                      line.statements.front() == section;
           });
}

// The statement, or the beginning of the condition that it stands in.
size_t LayBack::outermost(size_t statement) const {
    while (isAround(statements_[statement].section)) {
        statement = statements_[statement].section;
    }
    return statement;
}

// The statement, or the end of the condition that it stands in.
size_t LayBack::outside(size_t statement) const {
    while (isAround(statements_[statement].section) &&
           statements_[statements_[statement].section].end != None) {
        statement = statements_[statements_[statement].section].end;
    }
    return statement;
}

std::string LayBack::indentation(size_t made, size_t depth) const {
    std::string indentation = childIndentation();
    size_t outer = 1;  // the depth that this is the indentation of
    const size_t next = depth > 1 ? neighbour(made, +1) : None;
    if (next != None && shown_[next].kind == LineKind::SectionCloses && !shown_[next].isProvided()) {
        indentation = insideOf(shown_[next].statements.front());
        outer = depths_[fates_.shown[next]] + 1;
    }
    for (; outer < depth; ++outer) {
        indentation += unit();
    }
    return indentation;
}

// The indentation of what stands in the section that the statement closes.
std::string LayBack::insideOf(size_t closing) const {
    for (const Statement& statement : statements_) {
        if (statement.kind == Statement::Kind::Directive && statement.section != None &&
            statements_[statement.section].end == closing) {
            return std::string(statement.indentation());
        }
    }
    return std::string(statements_[closing].indentation()) + unit();
}

std::string LayBack::childIndentation() const {
    const auto own =
        std::find_if(statements_.begin(), statements_.end(), [this](const Statement& statement) {
            return statement.kind == Statement::Kind::Directive && statement.section == view_.level();
        });
    if (own != statements_.end()) {
        return std::string(own->indentation());
    }
    return view_.level() == None ? "" : std::string(statements_[0].indentation()) + UsualUnit;
}

std::string LayBack::unit() const {
    for (const Statement& statement : statements_) {
        if (statement.kind != Statement::Kind::Directive || statement.section == None) {
            continue;
        }
        const std::string_view outer = statements_[statement.section].indentation();
        const std::string_view inner = statement.indentation();
        if (inner.size() > outer.size() && inner.starts_with(outer)) {
            return std::string(inner.substr(outer.size()));
        }
    }
    return childIndentation().find('\t') == std::string::npos ? UsualUnit : "\t";
}

}  // namespace zpweb
