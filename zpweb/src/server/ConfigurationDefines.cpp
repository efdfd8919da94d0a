// The variables that "Define" lines set.
#include <algorithm>

#include "server/Configuration.h"
#include "text/Words.h"

namespace zpweb {

const Configuration::Definitions& Configuration::definitions() const {
    if (definitions_) {
        return *definitions_;
    }
    definitions_.emplace();
    Defines now;
    for (const ConfigurationFile* file : parts()) {
        for (const DefineLine& each : file->server().defines) {
            const std::vector<Word> words = writtenWords(each.words);
            const std::string value = words.size() > 1 ? resolved(words[1].value(), now) : std::string();
            const std::string name = words.front().value();
            const size_t line = file->firstLine() + each.line;
            (*definitions_)[name].push_back({{known_.at(file->path()).order, line}, value});
            now[name] = value;
        }
    }
    return *definitions_;
}

void Configuration::noteDefines(const ConfigurationFile& file) {
    if (definitions_ && !file.server().defines.empty()) {
        definitions_.reset();
    }
}

std::string Configuration::resolvedAt(std::string_view text, const ConfigurationFile& file,
                                      size_t line) const {
    const auto place = std::pair(known_.at(file.path()).order, file.firstLine() + line);
    Defines used;
    for (const std::string& name : variablesIn(text)) {
        const auto known = definitions().find(name);
        if (known == definitions().end()) {
            continue;
        }
        const auto& all = known->second;
        const auto behind = std::find_if(all.begin(), all.end(),
                                         [&](const Definition& each) { return each.place > place; });
        used[name] = (behind == all.begin() ? *behind : *std::prev(behind)).value;
    }
    return resolved(text, used);
}

}  // namespace zpweb
