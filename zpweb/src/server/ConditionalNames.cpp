#include "server/ConditionalNames.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "conf/Text.h"
#include "server/LiveReading.h"
#include "sys/Process.h"

namespace zpweb {

namespace {

constexpr size_t MostAsked = 1000;
constexpr const char* Mark = "zpweb-condition-";

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
            if (directive.is("ServerName") || directive.is("ServerAlias")) {
                const Origin origin = reading.originOf(directive);
                names_.emplace(origin.file, origin.line);
            }
        }
    }

    bool tellsOf(const std::string& file, const ConditionalName& name) const {
        return !name.stopped && !name.included && blocks_.contains({file, name.block + 1});
    }
    bool has(const std::string& file, const ConditionalName& name) const {
        const auto first = names_.lower_bound({file, name.lines.first + 1});
        return first != names_.end() && first->first == file && first->second <= name.lines.end;
    }

private:
    std::set<LinePlace> blocks_, names_;
};

// Each condition with what was seen of it. One that is met here and unmet there is known by neither.
using Seen = std::map<std::string, std::set<bool>>;

Seen seenIn(const Configuration& configuration, const Reading* reading) {
    const bool shows = reading != nullptr && reading->complete();
    const auto shown = shows ? std::optional<Shown>(*reading) : std::nullopt;
    Seen seen;
    for (const auto& file : configuration.files()) {
        for (const ConditionalName& name : file->conditionalNames()) {
            std::set<bool>& known = seen[name.condition];
            if (shown && shown->tellsOf(file->path(), name)) {
                known.insert(shown->has(file->path(), name));
            }
        }
    }
    return seen;
}

// Each of its sections around a line that tells that the server has come there.
void askFor(const std::string& condition, const std::string& mark, std::vector<std::string>& arguments) {
    std::vector<std::string> closing;
    for (std::string_view rest = condition; !rest.empty();) {
        const std::string_view section = zp::conf::upTo(rest, "\n");
        rest = zp::conf::stepOver(rest, section.size() + 1);
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
        askFor(asked[i], Mark + std::to_string(i), arguments);
    }
    const auto run = program.found() ? runProgram(program.command(arguments)) : Finished{};
    const auto defines = [&run](const std::string& name) {
        return zp::conf::contains(run.output, "\nDefine: " + name + "\n");
    };
    ConditionsMet met;
    for (size_t i = 0; run.status == 0 && defines(Printed) && i < asked.size(); ++i) {
        met[asked[i]] = defines(Mark + std::to_string(i));
    }
    return met;
}

}  // namespace

ConditionsMet metFor(const Configuration& configuration, const std::vector<ConditionalName>& names) {
    ConditionsMet met = configuration.met();
    std::set<std::string> asked;
    for (const ConditionalName& name : names) {
        if (configuration.asksServer() && !met.contains(name.condition) && asked.size() < MostAsked) {
            asked.insert(name.condition);
        }
    }
    if (!asked.empty()) {
        met.merge(answered(configuration.main().path(), {asked.begin(), asked.end()}));
    }
    return met;
}

void decideNames(Configuration& configuration, const std::string& readingFile) {
    configuration.letAskServer();
    if (!configuration.hasConditionalNames()) {
        return;
    }
    const auto reading = liveReading(configuration, readingFile);
    ConditionsMet met;
    std::vector<std::string> asked;
    for (const auto& [condition, known] : seenIn(configuration, reading.get())) {
        if (known.size() == 1) {
            met[condition] = *known.begin();
        } else if (known.empty() && asked.size() < MostAsked) {
            asked.push_back(condition);
        }
    }
    if (!asked.empty()) {
        met.merge(answered(configuration.main().path(), asked));
    }
    configuration.tellMet(std::move(met));
}

}  // namespace zpweb
