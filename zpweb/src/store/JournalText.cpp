#include "store/JournalText.h"

#include <algorithm>
#include <iterator>

namespace zpweb {

namespace {

using zp::host::Effect;

Json listOf(const std::vector<std::string>& values) {
    Json list = Json::array();
    std::transform(values.begin(), values.end(), std::back_inserter(list), asText);
    return list;
}

// Journals of earlier versions hold their texts as they were.
struct Reader {
    const Json& json;
    bool bytes;

    std::string text(const char* name) const {
        const std::string value = json.value(name, "");
        return bytes ? fromText(value) : value;
    }
    std::vector<std::string> list(const char* name) const {
        auto values = json.value(name, std::vector<std::string>());
        if (bytes) {
            std::transform(values.begin(), values.end(), values.begin(), fromText);
        }
        return values;
    }
};

constexpr std::array ProgressNames = {"preparing", "committing", "taking back", "finishing"};

JournalState journalStateOf(const Json& json) {
    if (json.contains("committing")) {  // an earlier version's
        return json.value("committing", false) ? JournalState::Committing : JournalState::Preparing;
    }
    const auto found =
        std::find(ProgressNames.begin(), ProgressNames.end(), json.value("progress", "preparing"));
    return found == ProgressNames.end() ? JournalState::Committing
                                        : static_cast<JournalState>(found - ProgressNames.begin());
}

Json effectJson(const Effect& effect) {
    Json json = {
        {"step", static_cast<int>(effect.step)}, {"path", asText(effect.path)}, {"deep", effect.deep}};
    const auto add = [&](const char* name, const auto& number) {
        if (number) {
            json[name] = *number;
        }
    };
    add("user", effect.user);
    add("group", effect.group);
    add("mode", effect.mode);
    add("inode", effect.inode);
    return json;
}

Effect effectOf(const Json& json) {
    Effect effect;
    effect.step = static_cast<Effect::Step>(json.value("step", static_cast<int>(Effect::Step::GiveAccess)));
    effect.path = fromText(json.value("path", ""));
    effect.deep = json.value("deep", false);
    const auto take = [&](const char* name, auto& number) {
        if (json.contains(name)) {
            number = json.at(name).get<typename std::decay_t<decltype(number)>::value_type>();
        }
    };
    take("user", effect.user);
    take("group", effect.group);
    take("mode", effect.mode);
    take("inode", effect.inode);
    return effect;
}

// Earlier versions knew one checkpoint, and 0 for none.
std::vector<int> undoesOf(const Json& json) {
    const Json undoes = json.value("undoes", Json());
    if (undoes.is_array()) {
        return undoes.get<std::vector<int>>();
    }
    const int one = undoes.is_number() ? undoes.get<int>() : 0;
    return one == 0 ? std::vector<int>() : std::vector{one};
}

}  // namespace

std::string asText(const std::string& bytes) {
    std::string text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80) {
            text += c;
        } else {
            text += static_cast<char>(0xC0 | (byte >> 6));
            text += static_cast<char>(0x80 | (byte & 0x3F));
        }
    }
    return text;
}

std::string fromText(const std::string& text) {
    std::string bytes;
    for (size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte < 0x80 || i + 1 == text.size()) {
            bytes += text[i];
        } else {
            bytes += static_cast<char>((byte << 6) | (static_cast<unsigned char>(text[++i]) & 0x3F));
        }
    }
    return bytes;
}

Json jsonOf(const Journal& journal) {
    Json files = Json::array();
    for (const ChangedFile& file : journal.files) {
        files.push_back(
            {{"file", asText(file.path)}, {"before", asText(file.before)}, {"after", asText(file.after)}});
    }
    Json outstanding = Json::array();
    for (const Effect& effect : journal.outstanding) {
        outstanding.push_back(effectJson(effect));
    }
    Json fields = Json::array();
    for (const auto& [name, text] : journal.fields) {
        fields.push_back({asText(name), asText(text)});
    }
    Json members = Json::array();
    std::transform(journal.members.begin(), journal.members.end(), std::back_inserter(members),
                   [](const Journal& member) { return jsonOf(member); });
    return {{"bytes", true},
            {"configuration", asText(journal.configuration)},
            {"command", asText(journal.command)},
            {"words", listOf(journal.words)},
            {"label", asText(journal.label)},
            {"login", asText(journal.login)},
            {"request", journal.request},
            {"fields", fields},
            {"members", members},
            {"progress", ProgressNames.at(static_cast<size_t>(journal.progress))},
            {"checkpoint", journal.checkpoint},
            {"undoes", journal.undoes},
            {"files", files},
            {"made", listOf(journal.made)},
            {"emptied", listOf(journal.emptied)},
            {"temporary", listOf(journal.temporary)},
            {"outstanding", outstanding}};
}

Journal journalOf(const Json& json) {
    const Reader reader{json, json.value("bytes", false)};
    Journal journal;
    journal.configuration = reader.text("configuration");
    journal.command = reader.text("command");
    journal.words = json.contains("words") ? reader.list("words") : std::vector{journal.command};
    journal.label = reader.text("label");
    journal.login = reader.text("login");
    journal.request = json.value("request", "");
    for (const Json& field : json.value("fields", Json::array())) {
        journal.fields.emplace_back(fromText(field.at(0).get<std::string>()),
                                    fromText(field.at(1).get<std::string>()));
    }
    for (const Json& member : json.value("members", Json::array())) {
        journal.members.push_back(journalOf(member));
    }
    journal.progress = journalStateOf(json);
    journal.checkpoint = json.value("checkpoint", 0);
    journal.undoes = undoesOf(json);
    for (const Json& file : json.value("files", Json::array())) {
        const Reader entry{file, reader.bytes};
        journal.files.push_back({entry.text("file"), entry.text("before"), entry.text("after")});
    }
    journal.made = reader.list("made");
    journal.emptied = reader.list("emptied");
    journal.temporary = reader.list("temporary");
    for (const Json& effect : json.value("outstanding", Json::array())) {
        if (effect.is_object()) {
            journal.outstanding.push_back(effectOf(effect));
        }
    }
    return journal;
}

std::optional<Json> parsedObject(const std::string& text) {
    Json json = parsedJson(text);
    return json.is_object() ? std::optional(std::move(json)) : std::nullopt;
}

}  // namespace zpweb
