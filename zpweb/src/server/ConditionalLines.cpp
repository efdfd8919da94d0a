#include "server/ConditionalLines.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "conf/Text.h"
#include "server/LiveReading.h"
#include "sys/Process.h"
#include "text/Restrictions.h"

namespace zpweb {

namespace {

constexpr size_t MostAsked = 1000;
constexpr std::string_view IfVersion = "IfVersion";
constexpr const char* ConditionMark = "zpweb-condition-";
// See BlockReader.
constexpr const char* Telling[] = {"ServerName", "ServerAlias", "DocumentRoot", "SSLEngine"};

using LinePlace = std::pair<std::string, size_t>;

// What a reading shows of the conditions of one configuration.
class Shown {
public:
    explicit Shown(const Reading& reading) {
        for (const VirtualHost& host : reading.hosts()) {
            const Origin origin = reading.originOf(host);
            blocks_.emplace(origin.file, origin.line);
        }
        for (const Directive& directive : reading.directives()) {
            const auto is = [&directive](std::string_view name) { return directive.is(name); };
            if (std::any_of(std::begin(Telling), std::end(Telling), is) ||
                std::any_of(std::begin(WhoMaySee), std::end(WhoMaySee), is)) {
                const Origin origin = reading.originOf(directive);
                lines_.emplace(origin.file, origin.line);
            }
        }
    }

    bool tellsOf(const std::string& file, const ConditionalLine& line) const {
        return !line.stopped && !line.included && blocks_.contains({file, line.block + 1});
    }
    bool has(const std::string& file, const ConditionalLine& line) const {
        const auto first = lines_.lower_bound({file, line.lines.first + 1});
        return first != lines_.end() && first->first == file && first->second <= line.lines.end;
    }

private:
    std::set<LinePlace> blocks_, lines_;
};

// Each condition with what was seen of it. One that is met here and unmet there is known by neither.
using Seen = std::map<std::string, std::set<bool>>;

Seen seenIn(const Configuration& configuration, const Reading* reading) {
    const bool shows = reading != nullptr && reading->complete();
    const auto shown = shows ? std::optional<Shown>(*reading) : std::nullopt;
    Seen seen;
    for (const auto& file : configuration.files()) {
        for (const ConditionalLine& line : file->conditionalLines()) {
            std::set<bool>& known = seen[line.condition];
            if (shown && shown->tellsOf(file->path(), line)) {
                known.insert(shown->has(file->path(), line));
            }
        }
    }
    return seen;
}

std::vector<std::string_view> sectionsIn(std::string_view condition) {
    std::vector<std::string_view> sections;
    while (!condition.empty()) {
        sections.push_back(zp::conf::upTo(condition, "\n"));
        condition = zp::conf::stepOver(condition, sections.back().size() + 1);
    }
    return sections;
}

// ">= 2.4", "2.4", "~ /^2\.4/"
bool isVersionTest(const std::vector<std::string>& words) {
    constexpr std::string_view Operators = " = == > >= < <= ~ != !== !> !>= !< !<= !~ ";
    return !words.empty() && words.size() < 3 &&
           (words.back().starts_with('/') ||
            words.back().find_first_not_of("0123456789.") == std::string::npos) &&
           (words.size() == 1 || zp::conf::contains(Operators, " " + words.front() + " "));
}

// One that the server would not understand, as it may stand in a comment, and all others would be left
// without an answer.
bool isSound(std::string_view section) {
    const std::string_view name = zp::conf::upTo(section, " ");
    const auto words = argumentsIn(section.substr(name.size()));
    const bool version = zp::conf::equalIgnoringCase(name, IfVersion);
    return section.find_first_of("#\r") == section.npos && !section.ends_with('\\') &&
           (version ? isVersionTest(words) : words.size() == 1);
}

bool canBeAsked(std::string_view condition) {
    const auto sections = sectionsIn(condition);
    return std::all_of(sections.begin(), sections.end(), isSound);
}

// Each of its sections around a line that tells that the server has come there. What the server has no
// module for is not met.
void askFor(const std::string& condition, const std::string& mark, std::vector<std::string>& arguments) {
    std::vector<std::string> closing;
    for (const std::string_view section : sectionsIn(condition)) {
        if (zp::conf::beginsIgnoringCase(section, IfVersion)) {
            arguments.insert(arguments.end(), {"-c", "<IfModule mod_version.c>"});
            closing.insert(closing.begin(), {"-c", "</IfModule>"});
        }
        arguments.insert(arguments.end(), {"-c", "<" + std::string(section) + ">"});
        closing.insert(closing.begin(), {"-c", "</" + std::string(zp::conf::upTo(section, " ")) + ">"});
    }
    arguments.insert(arguments.end(), {"-c", "Define " + mark});
    arguments.insert(arguments.end(), closing.begin(), closing.end());
}

// By lines behind the configuration. Nothing where the server refuses it.
ConditionsMet answered(const std::string& main, const std::vector<std::string>& asked) {
    constexpr const char* Printed = "DUMP_RUN_CFG";
    const Program program(main);
    std::vector<std::string> arguments{"-t", "-D", Printed, "-f", main};
    for (size_t i = 0; i < asked.size(); ++i) {
        askFor(asked[i], ConditionMark + std::to_string(i), arguments);
    }
    const auto run = program.found() ? runProgram(program.command(arguments)) : Finished{};
    const auto defines = [&run](const std::string& name) {
        return zp::conf::contains(run.output, "\nDefine: " + name + "\n");
    };
    ConditionsMet met;
    for (size_t i = 0; run.status == 0 && defines(Printed) && i < asked.size(); ++i) {
        met[asked[i]] = defines(ConditionMark + std::to_string(i));
    }
    return met;
}

}  // namespace

ConditionsMet metFor(const Configuration& configuration, const std::vector<ConditionalLine>& lines) {
    ConditionsMet met = configuration.met();
    std::set<std::string> asked;
    for (const ConditionalLine& line : lines) {
        if (configuration.asksServer() && !met.contains(line.condition) && asked.size() < MostAsked &&
            canBeAsked(line.condition)) {
            asked.insert(line.condition);
        }
    }
    if (!asked.empty()) {
        met.merge(answered(configuration.main().path(), {asked.begin(), asked.end()}));
    }
    return met;
}

void decideConditions(Configuration& configuration, const std::string& readingFile) {
    configuration.letAskServer();
    if (!configuration.hasConditionalLines()) {
        return;
    }
    const auto reading = liveReading(configuration, readingFile);
    ConditionsMet met;
    std::vector<std::string> asked;
    for (const auto& [condition, known] : seenIn(configuration, reading.get())) {
        if (known.size() == 1) {
            met[condition] = *known.begin();
        } else if (known.empty() && asked.size() < MostAsked && canBeAsked(condition)) {
            asked.push_back(condition);
        }
    }
    if (!asked.empty()) {
        met.merge(answered(configuration.main().path(), asked));
    }
    configuration.tellMet(std::move(met));
}

}  // namespace zpweb
