#include "commands/shared/MacroSites.h"

#include <algorithm>
#include <map>

#include "commands/shared/SiteBlocks.h"
#include "conf/Text.h"
#include "input/HostName.h"
#include "output/Value.h"
#include "text/Statements.h"

namespace zpweb {

namespace {

struct Macro {
    std::string name;
    std::vector<std::string> parameters;
    std::string_view text;  // between its tags
    std::string place;
};

std::vector<std::string> valuesOf(std::string_view words) {
    std::vector<std::string> values;
    for (const Word& word : writtenWords(words)) {
        values.push_back(word.value());
    }
    return values;
}

std::vector<Macro> macrosOf(const Configuration& configuration) {
    std::vector<Macro> macros;
    for (const ConfigurationFile* file : configuration.serverParts()) {
        if (file->templates().empty()) {
            continue;
        }
        const Statements statements(file->content().text());
        for (const Statement& statement : statements) {
            std::vector<std::string> words = valuesOf(statement.arguments);
            if (!statement.opens("Macro") || statement.end == None || words.empty()) {
                continue;
            }
            const char* const begin = statement.written.data() + statement.written.size();
            const std::string_view closing = statements[statement.end].written;
            macros.push_back({words.front(),
                              {words.begin() + 1, words.end()},
                              {begin, static_cast<size_t>(closing.data() - begin)},
                              file->path() + ":" + std::to_string(statement.lines.first + 1)});
        }
    }
    return macros;
}

// The longest parameter that begins at a place is the one that is meant.
std::string expanded(const Macro& macro, const std::vector<std::string>& arguments) {
    std::map<std::string, std::string, std::greater<>> values;
    for (size_t i = 0; i < macro.parameters.size() && i < arguments.size(); ++i) {
        values[macro.parameters[i]] = arguments[i];
    }
    std::string text;
    for (std::string_view rest = macro.text; !rest.empty();) {
        const auto found = std::find_if(values.begin(), values.end(), [&](const auto& value) {
            return !value.first.empty() && rest.starts_with(value.first);
        });
        text += found == values.end() ? std::string(1, rest.front()) : found->second;
        rest.remove_prefix(found == values.end() ? 1 : found->first.size());
    }
    return text;
}

void addSites(std::vector<MacroSite>& sites, const Macro& macro, const std::vector<std::string>& arguments,
              const std::string& file, size_t line) {
    const std::string text = expanded(macro, arguments);
    for (const Block& block : contentsOf(text).blocks) {
        MacroSite site{std::string(block.name),
                       std::string(zp::conf::trimEnd(block.addresses)),
                       std::string(block.root),
                       {},
                       block.tls,
                       file,
                       line,
                       macro.place,
                       text};
        addHostNames(block, site.names);
        if (isServerName(site.name)) {
            sites.push_back(std::move(site));
        }
    }
}

}  // namespace

std::vector<MacroSite> macroSites(const Configuration& configuration) {
    std::vector<MacroSite> sites;
    const std::vector<Macro> macros = macrosOf(configuration);
    for (const ConfigurationFile* file : configuration.serverParts()) {
        for (const MacroUse& use : macros.empty() ? std::vector<MacroUse>() : file->server().uses) {
            std::vector<std::string> words = valuesOf(use.words);
            for (const Macro& macro : macros) {
                if (!words.empty() && zp::conf::equalIgnoringCase(macro.name, words.front())) {
                    addSites(sites, macro, {words.begin() + 1, words.end()}, file->path(), use.line + 1);
                }
            }
        }
    }
    return sites;
}

std::vector<MacroSite> macroSites(const Configuration& configuration, const std::string& name) {
    std::vector<MacroSite> sites = macroSites(configuration);
    std::erase_if(sites, [&](const MacroSite& site) { return !sameHost(site.name, name); });
    return sites;
}

void appendBlock(std::string& json, const MacroSite& site) {
    json += '{';
    appendMember(json, "address", std::string_view(site.address), true);
    appendMember(json, "tls", site.tls);
    appendMember(json, "state", std::string_view("running"));
    appendMember(json, "root", known(site.root));
    appendMember(json, "file", std::string_view(site.file));
    appendMember(json, "line", static_cast<long>(site.line));
    appendMember(json, "from_macro", true);
    json += '}';
}

}  // namespace zpweb
