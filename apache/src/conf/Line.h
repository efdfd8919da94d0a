// One line of a configuration file and the questions that operations ask about it.
#pragma once

#include <string_view>

#include "conf/Text.h"

namespace zp::conf {

// Keywords as they are looked for. Those of tags have no ">" where a prefix is meant: "</VirtualHost" is
// also the beginning of "</VirtualHostX>".
namespace keyword {
inline constexpr std::string_view VirtualHost = "<VirtualHost";
inline constexpr std::string_view VirtualHostWithoutAddress = "<VirtualHost>";
inline constexpr std::string_view VirtualHostEnd = "</VirtualHost";
inline constexpr std::string_view VirtualHostEndTag = "</VirtualHost>";
inline constexpr std::string_view Directory = "<Directory";
inline constexpr std::string_view DirectoryEnd = "</Directory";
inline constexpr std::string_view DirectoryEndTag = "</Directory>";
inline constexpr std::string_view IfModule = "<IfModule";
inline constexpr std::string_view IfModuleEndTag = "</IfModule>";
inline constexpr std::string_view AddHandler = "AddHandler";
inline constexpr std::string_view Alias = "Alias";
inline constexpr std::string_view CustomLog = "CustomLog";
inline constexpr std::string_view DirectoryIndex = "DirectoryIndex";
inline constexpr std::string_view DocumentRoot = "DocumentRoot";
inline constexpr std::string_view ErrorDocument = "ErrorDocument";
inline constexpr std::string_view Include = "Include";
inline constexpr std::string_view LoadModule = "LoadModule";
inline constexpr std::string_view NameVirtualHost = "NameVirtualHost";
inline constexpr std::string_view PhpAdminValue = "php_admin_value";
inline constexpr std::string_view ProxyPass = "ProxyPass";
inline constexpr std::string_view ProxyPassReverse = "ProxyPassReverse";
inline constexpr std::string_view Redirect = "Redirect";
inline constexpr std::string_view ScriptAlias = "ScriptAlias";
inline constexpr std::string_view ServerAdmin = "ServerAdmin";
inline constexpr std::string_view ServerAlias = "ServerAlias";
inline constexpr std::string_view ServerName = "ServerName";
inline constexpr std::string_view ServerRoot = "ServerRoot";
inline constexpr std::string_view SuPhpEngine = "suPHP_Engine";
}  // namespace keyword

// A line as read, without its newline, and its text after leading white space. It refers to the reader's
// buffer: it is good until the next line is read.
class Line {
public:
    Line() = default;
    explicit Line(std::string_view raw) : Line(raw, skipSpace(raw)) {}

    std::string_view raw() const { return raw_; }
    std::string_view text() const { return text_; }

    bool isEmpty() const { return raw_.empty(); }  // a line of blanks is not empty
    bool isComment() const { return !text_.empty() && text_.front() == '#'; }
    bool isCommentInFirstColumn() const { return !raw_.empty() && raw_.front() == '#'; }

    bool begins(std::string_view keyword) const { return beginsIgnoringCase(text_, keyword); }
    // Is it all that stands before the first blank? A tab does not end a keyword here.
    bool hasKeyword(std::string_view keyword) const {
        return begins(keyword) && (text_.size() == keyword.size() || text_[keyword.size()] == ' ');
    }
    bool beginsInExactCase(std::string_view keyword) const { return text_.starts_with(keyword); }
    bool beginsInFirstColumn(std::string_view keyword) const { return beginsIgnoringCase(raw_, keyword); }

    // What follows the keyword, one separating character and white space; empty when the line ends before.
    std::string_view argumentOf(std::string_view keyword) const {
        return skipSpace(stepOver(text_, keyword.size() + 1));
    }
    // What follows the keyword and white space: no character is taken for a separator.
    std::string_view restBehind(std::string_view keyword) const {
        return skipSpace(stepOver(text_, keyword.size()));
    }

    // Is this a ServerName line for exactly this domain, in any letter case, with nothing behind it? A bare
    // ServerName names no site.
    bool namesServer(std::string_view domain) const {
        return !domain.empty() && begins(keyword::ServerName) &&
               equalIgnoringCase(argumentOf(keyword::ServerName), domain);
    }
    // An opening tag with an address, as every block of a site has.
    bool opensAddressedVirtualHost() const {
        return begins(keyword::VirtualHost) && !begins(keyword::VirtualHostWithoutAddress);
    }

    // The same line with one "#" in its first column stepped over, so that a directive that was commented
    // out is taken for a live one. `raw` stays.
    Line withoutCommentMark() const {
        return isCommentInFirstColumn() ? Line(raw_, skipSpace(raw_.substr(1))) : *this;
    }
    // The same for a mark with white space before it.
    Line withoutIndentedCommentMark() const {
        return isComment() ? Line(raw_, skipSpace(text_.substr(1))) : *this;
    }

private:
    Line(std::string_view raw, std::string_view text) : raw_(raw), text_(text) {}

    std::string_view raw_, text_;
};

}  // namespace zp::conf
