#include "change/Journal.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "sys/File.h"
#include "sys/GuardedFolder.h"

namespace zpweb {

namespace {

using Json = nlohmann::ordered_json;

std::string textOf(const Json& json) { return json.dump(-1, ' ', false, Json::error_handler_t::replace); }

Json parsed(const std::string& text) {
    Json json = Json::parse(text, nullptr, false);
    return json.is_object() ? json : Json();
}

Json jsonOf(const Journal& journal) {
    Json files = Json::array();
    for (const ChangedFile& file : journal.files) {
        files.push_back({{"file", file.path}, {"before", file.before}, {"after", file.after}});
    }
    return {{"command", journal.command},
            {"words", journal.words},
            {"committing", journal.committing},
            {"checkpoint", journal.checkpoint},
            {"undoes", journal.undoes},
            {"files", files},
            {"made", journal.made},
            {"scratch", journal.scratch},
            {"outstanding", journal.outstanding}};
}

Journal journalOf(const Json& json) {
    Journal journal;
    journal.command = json.value("command", "");
    journal.words = json.value("words", std::vector{journal.command});
    journal.committing = json.value("committing", false);
    journal.checkpoint = json.value("checkpoint", 0);
    journal.undoes = json.value("undoes", 0);
    for (const Json& file : json.value("files", Json::array())) {
        journal.files.push_back(
            {file.value("file", ""), file.value("before", ""), file.value("after", "")});
    }
    journal.made = json.value("made", journal.made);
    journal.scratch = json.value("scratch", journal.scratch);
    journal.outstanding = json.value("outstanding", journal.outstanding);
    return journal;
}

// Somebody may have filled since what was made empty. Only a candidate holds something of the change's own.
void removeFrom(int folder, const std::string& name) {
    struct stat status {};
    if (::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
        return;
    }
    const bool isFolder = S_ISDIR(status.st_mode);
    const bool empty = S_ISREG(status.st_mode) && status.st_size == 0;
    if (isFolder || empty || name.starts_with(".zpweb-")) {
        ::unlinkat(folder, name.c_str(), isFolder ? AT_REMOVEDIR : 0);
    }
}

}  // namespace

std::string Journal::text() const { return textOf(jsonOf(*this)); }

std::optional<Journal> Journal::from(const std::string& text) {
    const Json json = parsed(text);
    return json.is_object() ? std::optional(journalOf(json)) : std::nullopt;
}

std::string Checkpoint::text() const {
    Json json = jsonOf(change);
    json["id"] = id;
    json["time"] = time;
    json["undone"] = undone;
    return textOf(json);
}

std::optional<Checkpoint> Checkpoint::read(const std::string& folder) {
    const auto text = readFile(folder + "/change");
    const Json json = text.ok() ? parsed(*text) : Json();
    if (!json.is_object()) {
        return std::nullopt;
    }
    return Checkpoint{journalOf(json), json.value("id", 0), json.value("time", ""),
                      json.value("undone", false)};
}

Outcome markUndone(const std::string& folder) {
    auto checkpoint = Checkpoint::read(folder);
    if (!checkpoint) {
        return failure(folder + ": the checkpoint cannot be read");
    }
    removeMade(checkpoint->change.made);
    checkpoint->undone = true;
    return replaceFile(folder + "/change", checkpoint->text(), 0600);
}

void removeMade(const std::vector<std::string>& made) {
    std::for_each(made.rbegin(), made.rend(), [](const std::string& path) {
        if (const auto folder = openGuarded(folderOf(path)); folder.ok()) {
            removeFrom(folder->number(), nameOf(path));
        }
    });
}

}  // namespace zpweb
