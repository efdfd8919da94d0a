#include "store/Released.h"

#include <algorithm>
#include <sstream>

#include "sys/File.h"

namespace zpweb {

namespace {

constexpr size_t MostNames = 50000;

std::vector<Led> linesOf(const State& state) {
    const auto text = readFile(state.released());
    std::istringstream lines(text.ok() ? *text : "");
    std::vector<Led> all;
    for (Led each; lines >> each.site >> each.name >> each.listener;) {
        all.push_back(each);
    }
    return all;
}

}  // namespace

std::set<Led> releasedNames(const State& state) {
    const std::vector<Led> all = linesOf(state);
    return {all.begin(), all.end()};
}

Outcome noteReleased(const State& state, const std::set<Led>& names) {
    if (names.empty()) {
        return done();
    }
    std::vector<Led> all(names.begin(), names.end());
    for (Led& each : linesOf(state)) {
        if (!names.contains(each)) {
            all.push_back(std::move(each));
        }
    }
    all.resize(std::min(all.size(), MostNames));
    std::string text;
    for (const Led& each : all) {
        text.append(each.site).append(" ").append(each.name).append(" ").append(each.listener) += '\n';
    }
    return replaceFile(state.released(), text, 0600);
}

}  // namespace zpweb
