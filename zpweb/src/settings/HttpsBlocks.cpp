#include "settings/HttpsBlocks.h"

#include <algorithm>
#include <set>

#include "conf/Text.h"
#include "settings/SettingFile.h"
#include "settings/SiteFacts.h"
#include "settings/SiteSettings.h"
#include "text/Statements.h"
#include "text/Words.h"

namespace zpweb {

namespace {

// "*:443" for "*:80", all addresses of the block, each once.
std::string httpsAddress(const Block& block, int port) {
    std::string text;
    std::set<std::string> seen;
    for (const std::string& each : addressesOf(block)) {
        const std::string address = addressText({hostPortOf(each).host, port});
        if (seen.insert(address).second) {
            text += (text.empty() ? "" : " ") + address;
        }
    }
    return text;
}

// "Redirect /old https://shop.example/new" leads from one path to another, which is not led on by it.
bool leadsOnce(const Statement& redirect) {
    const std::vector<Word> words = writtenWords(redirect.arguments);
    if (redirect.is("RedirectMatch") || redirect.is("RewriteRule") || words.size() < 2) {
        return false;
    }
    const std::string path = words[words.size() - 2].value();
    const std::string url = words.back().value();
    const size_t target = url.find('/', std::string_view("https://").size());
    return path.starts_with('/') && path != "/" &&
           (target == std::string::npos || !url.substr(target).starts_with(path));
}

// A block that leads to https itself would lead to itself.
bool leadsToHttps(const Block& block) {
    const Statements statements(block);
    return std::any_of(statements.begin(), statements.end(), [](const Statement& each) {
        return (zp::conf::beginsIgnoringCase(each.name, "Redirect") || each.is("RewriteRule")) &&
               zp::conf::contains(lowerCase(each.arguments), "https://") && !leadsOnce(each);
    });
}

// The block again, with another address in its opening line.
std::string copyOf(const Block& block, const std::string& address) {
    const std::string text(block.text);
    const size_t open = text.find_first_of(" \t", text.find('<'));
    const size_t close = text.find('>', open);
    return text.substr(0, open) + " " + address + text.substr(close);
}

std::string lineEndOf(const Block& block) {
    const size_t end = block.text.find('\n');
    return end != std::string_view::npos && end > 0 && block.text[end - 1] == '\r' ? "\r\n" : "\n";
}

// What dropHttpsBlocks looks for again: a blank line, and the block.
std::string inserted(const Block& block, const std::string& copy) { return lineEndOf(block) + copy; }

const Place* blockAt(const std::vector<Place>& places, const std::string& address) {
    const auto found = std::find_if(places.begin(), places.end(), [&](const Place& place) {
        return !place.block->stopped && joinedWords(addressesOf(*place.block)) == address;
    });
    return found == places.end() ? nullptr : &*found;
}

// The http block for which an https block is still to be made; null when there is none.
const Place* lacking(const std::vector<Place>& places, int port) {
    const auto found = std::find_if(places.begin(), places.end(), [&](const Place& place) {
        return !place.block->stopped && !speaksTls(*place.block, port) &&
               blockAt(places, httpsAddress(*place.block, port)) == nullptr;
    });
    return found == places.end() ? nullptr : &*found;
}

// Lines of the one that are not lines of the other, white space around them apart.
std::vector<std::string> linesBeyond(const Block& block, const Block& other, const std::string& setting) {
    std::set<std::string_view> known;
    const Lines others(other.text);
    for (const std::string_view line : others.all) {
        known.insert(zp::conf::trimEnd(zp::conf::skipSpace(line)));
    }
    std::vector<std::string> beyond;
    const Lines lines(block.text);
    for (size_t i = 1; i < lines.size(); ++i) {
        const std::string_view text = zp::conf::trimEnd(zp::conf::skipSpace(lines[i]));
        if (!known.contains(text) && !zp::conf::contains(text, setting)) {
            beyond.emplace_back(text);
        }
    }
    return beyond;
}

Outcome dropBlock(Transaction& change, const Place& place, const Place* http, const std::string& setting,
                  bool overwrite) {
    const auto beyond =
        http == nullptr ? std::vector<std::string>() : linesBeyond(*place.block, *http->block, setting);
    if (!beyond.empty() && !overwrite) {
        return failure(place.text() + ": the https block has a line of its own (" + beyond.front() +
                       "); --overwrite takes it away with the block");
    }
    const std::string& whole = place.file->content().text();
    const std::string end = lineEndOf(*place.block);
    size_t at = static_cast<size_t>(place.block->text.data() - whole.data());
    std::string text = whole.substr(0, at);
    // The blank line before it, and the end of the line before that where the file ended with none.
    for (int i = whole.ends_with('\n') || at + place.block->text.size() < whole.size() ? 1 : 2; i > 0;
         --i) {
        text.erase(text.ends_with(end) ? text.size() - end.size() : text.size());
    }
    return change.rewrite(*place.file, text + whole.substr(at + place.block->text.size()));
}

}  // namespace

Outcome makeHttpsBlocks(Transaction& change, const std::string& site, int port,
                        std::vector<std::string>& made) {
    std::set<std::string> written;
    for (;;) {
        const std::vector<Place> places = change.configuration().find(site);
        const Place* http = lacking(places, port);
        if (http == nullptr) {
            return done();
        }
        if (leadsToHttps(*http->block)) {
            return failure(http->text() + ": the block leads to https by a line of its own; remove that, " +
                           "and use --redirect");
        }
        if (!http->block->closed) {
            return failure(http->text() + ": the block is not closed");
        }
        const std::string address = httpsAddress(*http->block, port);
        const std::string& text = http->file->content().text();
        const size_t end =
            static_cast<size_t>(http->block->text.data() - text.data()) + http->block->text.size();
        const std::string copy = inserted(*http->block, copyOf(*http->block, address));
        if (!written.insert(address).second) {
            return failure(http->text() + ": the block's opening line cannot be written for port " +
                           std::to_string(port));
        }
        made.push_back(address);
        const bool ended = end > 0 && text[end - 1] == '\n';
        if (Outcome replaced =
                change.rewrite(*http->file, text.substr(0, end) + (ended ? "" : lineEndOf(*http->block)) +
                                                copy + text.substr(end));
            !replaced.ok()) {
            return replaced;
        }
    }
}

Outcome dropHttpsBlocks(Transaction& change, const std::string& site, const std::vector<std::string>& made,
                        bool overwrite) {
    const std::string setting =
        settingPath(change.configuration().main().path(), settingName(site), Setting::Tls);
    for (const std::string& address : made) {
        const std::vector<Place> places = change.configuration().find(site);
        const Place* https = blockAt(places, address);
        const auto http = std::find_if(places.begin(), places.end(), [&](const Place& place) {
            return https != nullptr && place.block != https->block && !place.block->stopped;
        });
        if (https == nullptr) {
            continue;
        }
        if (Outcome dropped =
                dropBlock(change, *https, http == places.end() ? nullptr : &*http, setting, overwrite);
            !dropped.ok()) {
            return dropped;
        }
    }
    return done();
}

}  // namespace zpweb
