#include "text/Difference.h"

#include <algorithm>

#include "text/Align.h"
#include "text/Lines.h"

namespace zpweb {

namespace {

struct Step {
    char mark;
    size_t before, after;
    std::string_view text;
};

std::vector<Step> stepsOf(const Lines& before, const Lines& after, const std::vector<Pair>& pairs) {
    std::vector<Step> steps;
    size_t i = 0;
    size_t j = 0;
    const auto upTo = [&](size_t a, size_t b) {
        for (; i < a; ++i) {
            steps.push_back({'-', i, j, before[i]});
        }
        for (; j < b; ++j) {
            steps.push_back({'+', i, j, after[j]});
        }
    };
    for (const Pair& pair : pairs) {
        upTo(pair.before, pair.after);
        steps.push_back({' ', i++, j++, before[pair.before]});
    }
    upTo(before.size(), after.size());
    return steps;
}

std::string countOf(size_t first, size_t count) {
    const std::string start = std::to_string(count == 0 ? first : first + 1);
    return count == 1 ? start : start + "," + std::to_string(count);
}

void appendHunk(std::string& diff, const std::vector<Step>& steps, Range hunk, const Lines& before,
                const Lines& after) {
    size_t removed = 0;
    size_t added = 0;
    for (size_t i = hunk.first; i < hunk.end; ++i) {
        removed += steps[i].mark != '+';
        added += steps[i].mark != '-';
    }
    diff += "@@ -" + countOf(steps[hunk.first].before, removed) + " +" +
            countOf(steps[hunk.first].after, added) + " @@\n";
    for (size_t i = hunk.first; i < hunk.end; ++i) {
        const Step& step = steps[i];
        diff += step.mark;
        diff += step.text;
        diff += '\n';
        const bool last = step.mark == '+' ? !after.finalNewline && step.after + 1 == after.size()
                                           : !before.finalNewline && step.before + 1 == before.size();
        if (last) {
            diff += "\\ No newline at end of file\n";
        }
    }
}

}  // namespace

std::string unifiedDiff(const std::string& name, std::string_view before, std::string_view after) {
    if (before == after) {
        return {};
    }
    constexpr size_t Context = 3;
    const Lines old(before);
    const Lines fresh(after);
    std::vector<Pair> pairs = align(old.all, fresh.all);
    if (old.finalNewline != fresh.finalNewline && !pairs.empty() && pairs.back().before + 1 == old.size() &&
        pairs.back().after + 1 == fresh.size()) {
        pairs.pop_back();  // the last lines differ in their newline
    }
    const std::vector<Step> steps = stepsOf(old, fresh, pairs);
    std::string diff = "--- " + name + "\n+++ " + name + "\n";
    for (size_t i = 0; i < steps.size();) {
        if (steps[i].mark == ' ') {
            ++i;
            continue;
        }
        Range hunk{i - std::min(i, Context), i};
        for (size_t next = i; next < steps.size() && next <= hunk.end + 2 * Context; ++next) {
            if (steps[next].mark != ' ') {
                hunk.end = next + 1;
            }
        }
        hunk.end = std::min(hunk.end + Context, steps.size());
        appendHunk(diff, steps, hunk, old, fresh);
        i = hunk.end;
    }
    return diff;
}

std::string shownDiff(const std::string& path, std::string_view before, std::string_view after) {
    const bool secret = path.find("passwd", path.rfind('/') + 1) != std::string::npos;
    if (!secret || before == after) {
        return unifiedDiff(path, before, after);
    }
    return "--- " + path + "\n+++ " + path + "\n(a password file: its lines are not shown)\n";
}

}  // namespace zpweb
