#include "commands/shared/Merge.h"

#include <algorithm>

#include "commands/shared/PairLines.h"
#include "conf/Bounds.h"
#include "conf/Text.h"
#include "input/Quoted.h"
#include "server/Expressions.h"
#include "server/Reading.h"

namespace zpweb {

namespace {

bool isSettingFile(const Statement& statement) {
    return statement.argument(0).find("/zpweb.d/") != std::string::npos;
}

// Of several pages for one error the last counts.
bool isLastOfItsCode(const Statements& statements, const Statement& statement) {
    return std::none_of(&statement + 1, &*statements.end(), [&](const Statement& other) {
        return other.is("ErrorDocument") && other.scope == statement.scope &&
               other.argument(0) == statement.argument(0);
    });
}

bool asks(const MergeRequest& request, const char* keyword) {
    return std::find(request.keywords.begin(), request.keywords.end(), keyword) != request.keywords.end();
}

void showAsked(View& view, const MergeRequest& request) {
    for (const char* keyword : {"Alias", "ScriptAlias", "ProxyPass"}) {
        if (asks(request, keyword)) {
            view.showAs(isOneOf({keyword}), pairForm);
        }
    }
    if (asks(request, "Redirect")) {
        view.showAs(isRedirect, redirectForm);
    }
    if (asks(request, "ErrorDocument")) {
        view.show([&](const Statement& statement) {
            return statement.is("ErrorDocument") && isLastOfItsCode(view.statements(), statement);
        });
    }
    if (asks(request, "ServerAlias")) {
        view.showNames("ServerAlias", [](const std::string&) { return true; });
    }
    if (asks(request, "Include")) {
        view.show([](const Statement& statement) {
            return statement.is("Include") && !isSettingFile(statement);
        });
    }
    if (asks(request, "DirectoryIndex")) {
        view.show(isOneOf({"DirectoryIndex"}));
    }
    if (asks(request, "DocumentRoot")) {
        view.show(isOneOf({"DocumentRoot"}));
        view.takeQuotes();  // the panel's readers know the message page without quotes alone
    }
}

// "RedirectMatch 301 ^/x(.*) /y$1", "AliasMatch ^/x /srv/x"
bool isPatternFor(const Statement& statement, bool redirects, const std::string& path) {
    const bool alike = redirects ? statement.is("RedirectMatch")
                                 : statement.is("AliasMatch") || statement.is("ScriptAliasMatch");
    const std::vector<Word> words = alike ? statement.words() : std::vector<Word>();
    const size_t at = redirects && words.size() > 2 ? 1 : 0;
    return words.size() > 1 && findsIn(words[at].value(), path);
}

// Of redirections, and of aliases, the first one that takes a path in counts: a new one stands before it.
size_t beforeWhatTakesItIn(const Statements& statements, std::string_view line) {
    const Statements added(line);
    const bool redirects = added[0].is("Redirect");
    if (!redirects && !added[0].is("Alias") && !added[0].is("ScriptAlias")) {
        return None;
    }
    const std::string path = added[0].argument(0);
    for (size_t i = 0; i < statements.size(); ++i) {
        const Statement& each = statements[i];
        const bool alike = redirects ? isRedirect(each) : each.is("Alias") || each.is("ScriptAlias");
        const bool takes = alike && takesIn(each.argument(redirects ? statusWords(each) : 0), path);
        if (each.scope == 0 && (takes || isPatternFor(each, redirects, path))) {
            return i;
        }
    }
    return None;
}

// The library's own result replaces the lists that it is not asked about, too: they are given to it again.
void keepLists(UpdateVHost& record, const Block& block, const MergeRequest& request) {
    const Statements statements(block);
    const auto keep = [&](const char* keyword, StringVector& list) {
        for (const Statement& each : statements) {
            if (!asks(request, keyword) && each.scope == 0 && each.is(keyword)) {
                list.push_back(canonical(each).substr(std::string_view(keyword).size() + 1));
            }
        }
    };
    keep("ServerAlias", record.ServerAlias);
    keep("Include", record.Include);
    keep("DirectoryIndex", record.DirIndex);
}

// By the name that the server prints; a proxied path becomes a redirection.
void mayDiffer(Transaction& change, const Block& block, const MergeRequest& request) {
    std::set<std::string>& names = change.asked().within[hostNameIn(block.name)];
    for (const std::string& keyword : request.keywords) {
        names.insert(lowerCase(keyword));
        if (keyword == "Redirect" || keyword == "ProxyPass") {
            names.insert({"redirect", "redirectpermanent", "redirecttemp"});
        }
    }
}

}  // namespace

bool takesIn(const std::string& path, const std::string& other) {
    const std::string directory = path.ends_with('/') ? path : path + "/";
    return other == path || other.starts_with(directory);
}

Outcome mergeInto(Transaction& change, const BlockAt& at, const MergeRequest& request,
                  const std::string& operation, const MergeCall& call) {
    UpdateVHost whole = request.record;
    if (change.settings().exact) {
        keepLists(whole, at.in(change.configuration()), request);
        mayDiffer(change, at.in(change.configuration()), request);
    }
    return editBlock(change, at,
                     {.bound = zp::conf::bound::Merge,
                      .show =
                          [&](View& view) {
                              showAsked(view, request);
                              view.placeBefore(beforeWhatTakesItIn);
                          },
                      .run =
                          [&](const std::string& staged, const std::string& domain) {
                              UpdateVHost record = whole;  // the merge uses it up
                              record.pDomain = domain.c_str();
                              CZPWebsite website(nullptr, staged.c_str());
                              return call(website, record);
                          },
                      .meaning = expecting(operation, {Merged})});
}

Outcome changeRoot(Transaction& change, const std::vector<BlockAt>& blocks, const std::string& root,
                   const char* operation, const MergeCall& call) {
    MergeRequest request;
    request.keywords = {"DocumentRoot"};
    for (const BlockAt& at : blocks) {
        const Block& block = at.in(change.configuration());
        if (block.root.empty()) {
            return failure(Status::NotFound,
                           "site " + inQuotes(std::string(block.name)) + " has no DocumentRoot line");
        }
        if (block.root != root) {
            if (Outcome merged = mergeInto(change, at, request, operation, call); !merged.ok()) {
                return merged;
            }
        }
    }
    return done();
}

}  // namespace zpweb
