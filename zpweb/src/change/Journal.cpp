#include "change/Journal.h"

#include <cstdio>

#include "sys/File.h"
#include "sys/Hash.h"

namespace zpweb {

Json Journal::json() const {
    Json list = Json::array();
    for (const ChangedFile& file : files) {
        list.push_back({{"file", file.path}, {"before", file.before}, {"after", file.after}});
    }
    return {{"command", command}, {"committing", committing}, {"checkpoint", checkpoint},  {"files", list},
            {"made", made},       {"scratch", scratch},       {"outstanding", outstanding}};
}

Journal Journal::from(const Json& json) {
    Journal journal;
    journal.command = json.value("command", "");
    journal.committing = json.value("committing", false);
    journal.checkpoint = json.value("checkpoint", 0);
    for (const Json& file : json.value("files", Json::array())) {
        journal.files.push_back(
            {file.value("file", ""), file.value("before", ""), file.value("after", "")});
    }
    journal.made = json.value("made", journal.made);
    journal.scratch = json.value("scratch", journal.scratch);
    journal.outstanding = json.value("outstanding", journal.outstanding);
    return journal;
}

Json readCheckpoint(const std::string& folder) {
    const auto text = readFile(folder + "/change");
    Json parsed = text.ok() ? Json::parse(*text, nullptr, false) : Json();
    return parsed.is_discarded() ? Json() : parsed;
}

std::string currentHash(const std::string& path) {
    const auto text = readFile(path);
    return text.ok() ? contentHash(*text) : "";
}

void removeMade(const std::vector<std::string>& made) {
    for (auto path = made.rbegin(); path != made.rend(); ++path) {
        std::remove(path->c_str());  // a folder that holds something stays
    }
}

}  // namespace zpweb
