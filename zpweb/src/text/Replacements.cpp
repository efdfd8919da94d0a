#include "text/Replacements.h"

#include <algorithm>

#include "text/Words.h"

namespace zpweb {

void Replacements::replace(std::string_view part, std::string with) {
    const auto begin = static_cast<size_t>(part.data() - text_.data());
    all_.push_back({begin, begin + part.size(), std::move(with)});
}

std::string Replacements::made() {
    std::stable_sort(all_.begin(), all_.end(),
                     [](const Replacement& a, const Replacement& b) { return a.begin < b.begin; });
    std::string made;
    size_t at = 0;
    for (const Replacement& each : all_) {
        if (each.begin >= at) {
            made += text_.substr(at, each.begin - at);
            at = each.begin;
        }
        if (each.begin == at || each.begin == each.end) {
            made += each.with;
        }
        at = std::max(at, each.end);
    }
    return made + std::string(text_.substr(std::min(at, text_.size())));
}

std::string joined(std::string_view word) {
    std::string text;
    for (size_t i = 0; i < word.size(); ++i) {
        if (const size_t length = continuationAt(word, i); length > 0) {
            i += length - 1;
        } else {
            text += word[i];
        }
    }
    return text;
}

}  // namespace zpweb
