// What becomes of each line of a site's block.
#include <algorithm>

#include "shared/MergeRecord.h"

using zp::conf::Line;
namespace keyword = zp::conf::keyword;

namespace zp {

namespace {

enum class Name { UpToBlank, QuotedOrWholeRest };
enum class Old { GoesAway, KeepsItsRest };

// A directive with a name and a value, and the text around them in the lines that are written.
struct PairDirective {
    std::string_view keyword;
    NameValueVector UpdateVHost::*entries;
    std::string_view beforeName, beforeValue, behindValue;
    Name name = Name::UpToBlank;
    Old old = Old::GoesAway;

    std::string_view nameOn(const Line& line) const {
        const std::string_view argument = line.argumentOf(keyword);
        if (name == Name::UpToBlank) {
            return conf::upTo(argument, " ");
        }
        return conf::leadingValue(argument).text;
    }
    std::string lineFor(const NameValueSt& entry) const {
        std::string line(beforeName);
        return line.append(entry.Name).append(beforeValue).append(entry.Value).append(behindValue);
    }
};

constexpr PairDirective Alias{keyword::Alias, &UpdateVHost::Alias, "\tAlias ", " \"", "\""};
// A line that is there keeps its target whatever the entry says: only new names get the entry's value.
constexpr PairDirective ScriptAlias{.keyword = keyword::ScriptAlias,
                                    .entries = &UpdateVHost::ScriptAlias,
                                    .beforeName = "\tScriptAlias ",
                                    .beforeValue = " \"",
                                    .behindValue = "\"",
                                    .old = Old::KeepsItsRest};
// Written as a redirect: the panel's proxied paths have always been answered that way. Lines that begin
// with ProxyPassReverse are taken for ProxyPass, too.
constexpr PairDirective ProxyPass{keyword::ProxyPass, &UpdateVHost::ProxyPass, "\tRedirect ", " \"", "\""};
constexpr PairDirective Redirect{
    keyword::Redirect, &UpdateVHost::Redirect, "\tRedirect \"", "\" \"", "\"", Name::QuotedOrWholeRest};
constexpr PairDirective ErrorDocument{keyword::ErrorDocument, &UpdateVHost::ErrorDoc, "\tErrorDocument ",
                                      " ", ""};

class BlockMerge {
public:
    BlockMerge(conf::Rewrite& rewrite, UpdateVHost& record, const MergeRules& rules)
        : rewrite_(rewrite), record_(record), rules_(rules) {}

    void merge(const Line& line);
    void finish();
    const std::string& documentRoot() const { return documentRoot_; }

private:
    void mergeDocumentRoot(const Line& line);
    void mergePair(const Line& line, const PairDirective& directive);
    void appendPairs(const PairDirective& directive);
    void writeNames(std::string_view beginning, StringVector& names);
    void writeIncludes();

    bool takesProxyPass() const { return rules_.proxyPass == MergeRules::ProxyPass::BecomesRedirect; }
    bool takesDirectoryIndex() const {
        return !inDirectory_ || rules_.indexInDirectory == MergeRules::IndexInDirectory::Replaced;
    }

    conf::Rewrite& rewrite_;
    UpdateVHost& record_;
    const MergeRules& rules_;
    std::string documentRoot_;
    bool inDirectory_ = false;
};

void BlockMerge::merge(const Line& line) {
    if (line.begins(keyword::Directory)) {
        inDirectory_ = true;
    } else if (line.begins(keyword::DirectoryEndTag)) {
        inDirectory_ = false;
    }
    if (line.begins(keyword::DocumentRoot)) {
        mergeDocumentRoot(line);
    } else if (line.begins(keyword::Alias)) {
        mergePair(line, Alias);
    } else if (line.begins(keyword::ScriptAlias)) {
        mergePair(line, ScriptAlias);
    } else if (takesProxyPass() && line.begins(keyword::ProxyPass)) {
        mergePair(line, ProxyPass);
    } else if (line.begins(keyword::ServerAlias)) {
        writeNames("\tServerAlias", record_.ServerAlias);
    } else if (line.begins(keyword::Include)) {
        writeIncludes();
    } else if (takesDirectoryIndex() && line.begins(keyword::DirectoryIndex)) {
        writeNames("\tDirectoryIndex", record_.DirIndex);
    } else if (line.begins(keyword::Redirect)) {
        mergePair(line, Redirect);
    } else if (line.begins(keyword::ErrorDocument)) {
        mergePair(line, ErrorDocument);
    } else if (!line.begins(keyword::VirtualHostEndTag)) {
        rewrite_.keep(line);
    }
}

void BlockMerge::finish() {
    appendPairs(Alias);
    appendPairs(ScriptAlias);
    if (takesProxyPass()) {
        appendPairs(ProxyPass);
    }
    writeNames("\tServerAlias", record_.ServerAlias);
    writeIncludes();
    if (takesDirectoryIndex()) {
        writeNames("\tDirectoryIndex", record_.DirIndex);
    }
    appendPairs(Redirect);
    appendPairs(ErrorDocument);
    rewrite_.write("</VirtualHost>");
}

void BlockMerge::mergeDocumentRoot(const Line& line) {
    documentRoot_ = conf::betweenQuotes(line.raw()).value_or("");
    if (rules_.documentRoot.empty()) {
        rewrite_.keep(line);
    } else {
        rewrite_.write("\tDocumentRoot " + rules_.documentRoot);
    }
}

// An entry without a value removes the line that it names.
void BlockMerge::mergePair(const Line& line, const PairDirective& directive) {
    NameValueVector& entries = record_.*directive.entries;
    const std::string_view name = directive.nameOn(line);
    const auto entry = std::find_if(entries.begin(), entries.end(),
                                    [&](const NameValueSt& candidate) { return candidate.Name == name; });
    if (entry == entries.end()) {
        rewrite_.keep(line);
        return;
    }
    if (!entry->Value.empty()) {
        if (directive.old == Old::KeepsItsRest) {
            rewrite_.write(std::string(directive.beforeName)
                               .append(conf::stepOver(line.text(), directive.keyword.size() + 1)));
        } else {
            rewrite_.write(directive.lineFor(*entry));
        }
    }
    entries.erase(entry);
}

void BlockMerge::appendPairs(const PairDirective& directive) {
    const auto hasValue = [](const NameValueSt& entry) { return !entry.Value.empty(); };
    for (const NameValueSt& entry : record_.*directive.entries) {
        if (hasValue(entry)) {
            rewrite_.write(directive.lineFor(entry));
        }
    }
    std::erase_if(record_.*directive.entries, hasValue);
}

// Without names nothing is written, so a line in whose place they would go is dropped.
void BlockMerge::writeNames(std::string_view beginning, StringVector& names) {
    if (names.empty()) {
        return;
    }
    std::string line(beginning);
    for (const std::string& name : names) {
        line.append(" ").append(name);
    }
    rewrite_.write(line);
    names.clear();
}

void BlockMerge::writeIncludes() {
    for (const std::string& file : record_.Include) {
        rewrite_.write("\tInclude " + file);
    }
    record_.Include.clear();
}

}  // namespace

std::string mergeBlock(conf::Rewrite& rewrite, const conf::HeldLines& block, UpdateVHost& record,
                       const MergeRules& rules) {
    BlockMerge merge(rewrite, record, rules);
    block.forEach([&](const Line& line) { merge.merge(line); });
    merge.finish();
    return merge.documentRoot();
}

}  // namespace zp
