// A site's block as the library's operations understand it, and the way back to its lines as they stand.
//
// The view shows one directive a line, with canonical tags, the plain server name first. It shows no more
// of the block than the command says: what an operation does not see it cannot change. What an operation
// needs to find is provided where the block has none. What differs in the operation's result is laid over
// the block's own lines: words are replaced, put behind others or taken away where they stand; new lines
// take the block's indentation and line end.
//
// So this block:                                   is shown like this to who asks for its names:
//
//     <virtualhost *:80 [::]:80>                   <VirtualHost *:80>
//         # the shop                                   ServerName shop.example
//         Servername "shop.example:80"                 ServerAlias www.shop.example shop.test
//         ServerAlias www.shop.example             </VirtualHost>
//         ServerAlias   shop.test
//     </virtualhost>
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "text/Sites.h"
#include "text/Statements.h"

namespace zpweb {

using StatementTest = std::function<bool(const Statement&)>;

// A line of the view.
struct ViewLine {
    enum class Kind : char { Opening, Name, Directive, Names, SectionOpens, SectionCloses, Closing };

    Kind kind;
    std::string text;
    std::vector<size_t> statements{};  // that it shows; empty when it is provided
    size_t behind = 0;                 // the statement behind which it would stand

    bool isProvided() const { return statements.empty(); }
};

class View {
public:
    // A live block. The text stays where it is while the view lives.
    explicit View(const Block& block);
    // The server's level: what stands in no section, shown as a block.
    static View ofServer(std::string_view text);

    const std::string& domain() const { return domain_; }  // the name by which operations find the block
    const Statements& statements() const { return statements_; }

    // Another of the block's addresses than the first one. An operation that writes an address without
    // asking for the port leaves the block its own.
    enum class Port : char { Taken, Kept };
    void showAddress(size_t number, Port port);
    size_t shownAddress() const { return address_; }
    bool keepsPort() const { return port_ == Port::Kept; }
    // Directives of the block itself, those in conditions among them; the ones in sections are none of its
    // own.
    void show(const StatementTest& wanted);
    // The same in a form of their own: the last words of the statement, each as it is to be found.
    void showAs(const StatementTest& wanted, const std::function<std::string(const Statement&)>& form);
    // All lines of a directive as one, with a name for each word that `wanted` takes; an empty line where
    // the block has none, or it takes none.
    void showNames(std::string_view directive, const std::function<bool(const std::string&)>& wanted);
    // Sections of the block with what is in them, but for comments. With `inner` what it takes of that,
    // also from conditions that are met, and without their tags.
    void showSections(const StatementTest& wanted, const StatementTest& inner = {});
    // A line that the block does not have, in front of the others.
    void provide(const std::string& line);
    // A <Directory> section, for as long as something is put into it. A comment in it says whose it is.
    void provideDirectory(const std::string& path);

    std::string text() const;
    const std::vector<ViewLine>& lines() const { return lines_; }
    std::string_view written() const { return text_; }
    size_t level() const { return level_; }

    // Where a new line has to stand to count: before which of the block's statements. None: where the
    // operation puts it.
    using Before = std::function<size_t(const Statements& statements, std::string_view line)>;
    void placeBefore(Before before) { before_ = std::move(before); }
    size_t placeBefore(std::string_view line) const { return before_ ? before_(statements_, line) : None; }
    // Words come with the quotes that the operation writes, or without.
    void takeQuotes() { takesQuotes_ = true; }
    bool takesQuotes() const { return takesQuotes_; }
    // Sections that were provided go with their last line.
    void dropEmptySections() { dropsEmpty_ = true; }
    bool dropsEmptySections() const { return dropsEmpty_; }

    // The block's text with what the result has changed in the view.
    std::string laidBack(std::string_view result) const;

private:
    View(std::string_view text, Statements statements, std::string domain, std::string address,
         size_t level);

    void insert(ViewLine line);
    void showInner(size_t i, const StatementTest& inner);
    bool isOfCondition(size_t i) const;
    bool isOwn(const Statement& statement) const { return statement.scope == level_; }

    std::string_view text_;
    Statements statements_;
    size_t level_;  // the statement that opens the block; None at the server's level
    std::string domain_;
    std::vector<ViewLine> lines_;
    size_t address_ = 0;
    Port port_ = Port::Taken;
    Before before_;
    bool dropsEmpty_ = false, takesQuotes_ = false;
};

// The comment in a section that was provided.
inline constexpr std::string_view ProvidedSection = "# zpweb: this section goes with its last line";

// The name by which operations find a block.
std::string domainOf(const Block& block);
// A statement in its canonical form: single blanks between its words, which keep their quotes.
std::string canonical(const Statement& statement);
// The path of a <Directory>.
std::string pathOf(const Statement& statement);
// Is it this directive?
StatementTest isOneOf(std::vector<std::string> directives);
// The opening line of a <Directory> for this path?
StatementTest opensDirectory(std::string path);

}  // namespace zpweb
