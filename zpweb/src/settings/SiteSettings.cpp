#include "settings/SiteSettings.h"

#include <algorithm>

#include "conf/Text.h"
#include "input/HostName.h"
#include "settings/LogPolicyChange.h"
#include "settings/SiteFacts.h"
#include "sys/File.h"
#include "text/Difference.h"
#include "text/Words.h"

namespace zpweb {

namespace {

std::string includeLine(const std::string& file) { return "Include \"" + file + "\""; }

bool isSameLine(std::string_view line, const std::string& wanted) {
    return zp::conf::trimEnd(zp::conf::skipSpace(line)) == wanted;
}

// Behind which line of the block it goes, by the number in the file.
size_t lineBefore(const ConfigurationFile& file, const Block& block, Setting setting,
                  const std::string& suspension) {
    if (setting != Setting::Redirect && setting != Setting::Suspended) {
        size_t closing = block.lines.end - 1;
        while (closing > 0 && isContinued(file.lines()[closing - 1])) {
            --closing;
        }
        return closing - 1;
    }
    size_t behindName = block.nameLine;
    while (behindName + 1 < block.lines.end && isContinued(file.lines()[behindName])) {
        ++behindName;
    }
    const bool suspended = setting == Setting::Redirect && behindName + 1 < block.lines.end &&
                           isSameLine(file.lines()[behindName + 1], suspension);
    return suspended ? behindName + 1 : behindName;
}

// The text with a line more behind the numbered one, which ends as that one does.
std::string withLine(const std::string& text, const Lines& lines, size_t behind, const std::string& line) {
    const std::string_view before = lines[behind];
    const size_t at = static_cast<size_t>(before.data() - text.data()) + before.size() + 1;
    return text.substr(0, at) + line + (endsInReturn(before) ? "\r\n" : "\n") + text.substr(at);
}

std::string withoutLines(const Lines& lines, const std::string& wanted) {
    std::string result;
    for (size_t i = 0; i < lines.size(); ++i) {
        if (!isSameLine(lines[i], wanted)) {
            result += lines[i];
            result += i + 1 < lines.size() || lines.finalNewline ? "\n" : "";
        }
    }
    return result;
}

using TextEdit = std::function<std::string(const ConfigurationFile&)>;

// The files, or parts of them, with blocks of the site.
Outcome editHolders(Transaction& change, const std::string& site, const TextEdit& edit) {
    for (size_t number = 0;; ++number) {  // what was found before an edit is gone
        std::vector<const ConfigurationFile*> holders;
        for (const Place& place : change.configuration().find(site)) {
            if (std::find(holders.begin(), holders.end(), place.file) == holders.end()) {
                holders.push_back(place.file);
            }
        }
        if (number >= holders.size()) {
            return done();
        }
        std::string text = edit(*holders[number]);
        if (Outcome rewritten = text == holders[number]->content().text()
                                    ? done()
                                    : change.rewrite(*holders[number], std::move(text));
            !rewritten.ok()) {
            return rewritten;
        }
    }
}

Outcome exclude(Transaction& change, const std::string& site, const std::string& settingFile) {
    return editHolders(change, site, [&](const ConfigurationFile& file) {
        return withoutLines(file.lines(), includeLine(settingFile));
    });
}

std::string withIncludes(const Transaction& change, const ConfigurationFile& file, const std::string& site,
                         Setting setting, const BlockTest& where) {
    const std::string main = change.configuration().main().path();
    const std::string line = includeLine(settingPath(main, settingName(site), setting));
    const std::string suspension = includeLine(settingPath(main, settingName(site), Setting::Suspended));
    std::string text = file.content().text();
    const SameHost matches(site);
    // From the end on, so that what stands before a block keeps its number.
    for (auto block = file.blocks().rbegin(); block != file.blocks().rend(); ++block) {
        if (!block->name.empty() && matches(block->name) && where(*block)) {
            text = withLine(text, Lines(text), lineBefore(file, *block, setting, suspension), "\t" + line);
        }
    }
    return text;
}

// Somebody's edits are shown as what writing the file would change.
Outcome keptFor(Transaction& change, const std::string& path, const std::string& now,
                const std::string& wanted) {
    change.output().addDiff(unifiedDiff(path, now, wanted));
    return failure(path + ": somebody has edited it; --overwrite takes the edits away");
}

Outcome writeFile(Transaction& change, const SettingPlace& place, const std::string& asked,
                  const std::string& directives) {
    const std::string name = settingName(place.site);
    constexpr std::string_view OfPatterns = "/*?[]\\\"";  // an Include line would take more than its file
    if (name.empty() || name.front() == '.' || name.find_first_of(OfPatterns) != std::string::npos) {
        return failure(Status::Refused, "site " + name +
                                            ": it has no name that its settings could stand under; "
                                            "give its block a ServerName");
    }
    const std::string path = settingPath(change.configuration().main().path(), name, place.setting);
    const std::string text = settingText(name, place.setting, {asked, directives});
    const Content now = change.contentOf(path);
    const auto known = now ? settingFrom(now.text()) : std::nullopt;
    if (now && (!known || known->edited) && !place.overwrite) {
        return keptFor(change, path, now.text(), text);
    }
    return change.replace(path, text);
}

Outcome include(Transaction& change, const std::string& site, Setting setting, const BlockTest& where) {
    const std::string path = settingPath(change.configuration().main().path(), settingName(site), setting);
    return editHolders(change, site, [&](const ConfigurationFile& file) {
        return withIncludes(change, file, site, setting, [&](const Block& block) {
            return !block.stopped && block.closed && where(block) && !includes(block, path);
        });
    });
}

}  // namespace

std::string settingName(std::string_view site) {
    std::string name(site);
    std::transform(name.begin(), name.end(), name.begin(), zp::conf::lower);
    return name;
}

std::optional<SettingText> settingOf(const Transaction& change, const std::string& site, Setting setting) {
    const std::string path = settingPath(change.configuration().main().path(), settingName(site), setting);
    const Content content = change.contentOf(path);
    return content ? settingFrom(content.text()) : std::nullopt;
}

std::optional<SettingText> settingOf(const Configuration& configuration, const std::string& site,
                                     Setting setting) {
    const auto text = readFile(settingPath(configuration.main().path(), settingName(site), setting));
    return text.ok() ? settingFrom(*text) : std::nullopt;
}

Outcome dropSetting(Transaction& change, const SettingPlace& place) {
    const std::string name = settingName(place.site);
    const std::string path = settingPath(change.configuration().main().path(), name, place.setting);
    const Content now = change.contentOf(path);
    const auto known = now ? settingFrom(now.text()) : std::nullopt;
    if (now && (!known || known->edited) && !place.overwrite) {
        return keptFor(change, path, now.text(), "");
    }
    change.asked().answersMayChange = true;
    Outcome excluded = exclude(change, place.site, path);
    return excluded.ok() && now ? removeSettingFile(change, path) : excluded;
}

Outcome removeSettingFile(Transaction& change, const std::string& path) {
    change.mayEmpty(directoryOf(directoryOf(path)));
    change.mayEmpty(directoryOf(path));
    return change.unlink(path);
}

Outcome forgetSettings(Transaction& change, const std::string& site) {
    for (const Setting setting : AllSettings) {
        const std::string path =
            settingPath(change.configuration().main().path(), settingName(site), setting);
        if (Outcome gone = change.contentOf(path) ? removeSettingFile(change, path) : done(); !gone.ok()) {
            return gone;
        }
    }
    return movePolicy(change, site, "");
}

bool includes(const Block& block, const std::string& settingFile) {
    const Lines lines(block.text);
    return std::any_of(lines.all.begin(), lines.all.end(), [&](std::string_view line) {
        return isSameLine(withoutReturn(line), includeLine(settingFile));
    });
}

// A file is part of the configuration once a block includes it.
Outcome applySetting(Transaction& change, const SettingPlace& place, const std::string& asked,
                     const std::string& directives, const BlockTest& where) {
    change.asked().answersMayChange = true;
    Outcome included = include(change, place.site, place.setting, where);
    return included.ok() ? writeFile(change, place, asked, directives) : included;
}

}  // namespace zpweb
