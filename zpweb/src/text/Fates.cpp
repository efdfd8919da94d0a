#include "text/Fates.h"

#include "conf/Text.h"
#include "text/Align.h"
#include "text/View.h"

namespace zpweb {

namespace {

// The section of each line: the line that opens it, which is that of its closing tag, too; None for those
// of the block itself, which is the first line.
std::vector<size_t> sectionLines(const std::vector<std::string>& lines) {
    std::vector<size_t> sections, open{None};
    for (size_t i = 0; i < lines.size(); ++i) {
        sections.push_back(open.back());
        if (isOpening(lines[i]) && i > 0) {
            open.push_back(i);
        } else if (isClosing(lines[i]) && open.size() > 1) {
            open.pop_back();
        }
    }
    return sections;
}

// What tells lines apart: what they say, and in which sections. The same terms in another section are
// others.
std::vector<std::string> keysOf(const std::vector<std::string>& lines) {
    const std::vector<size_t> sections = sectionLines(lines);
    std::vector<std::string> keys;
    for (size_t i = 0; i < lines.size(); ++i) {
        keys.push_back((sections[i] == None ? "" : keys[sections[i]] + "\n") + lines[i]);
    }
    return keys;
}

// Pairs what was changed between lines that stayed.
class SectionPairs {
public:
    SectionPairs(const std::vector<std::string>& shown, const std::vector<std::string>& made)
        : shown_(shown),
          made_(made),
          sectionsShown_(sectionLines(shown)),
          sectionsMade_(sectionLines(made)) {}

    void pairChanged(Fates& fates, Range shown, Range made) const {
        for (size_t j = made.first; j < made.end; ++j) {
            for (size_t i = shown.first; i < shown.end; ++i) {
                if (fates.shown[i] == None && areInOneSection(fates, i, j) &&
                    zp::conf::equalIgnoringCase(keywordOf(shown_[i]), keywordOf(made_[j]))) {
                    fates.shown[i] = j;
                    fates.made[j] = i;
                    break;
                }
            }
        }
    }

private:
    bool areInOneSection(const Fates& fates, size_t shown, size_t made) const {
        const size_t section = sectionsShown_[shown];
        return section == None || sectionsMade_[made] == None ? section == sectionsMade_[made]
                                                              : fates.shown[section] == sectionsMade_[made];
    }

    const std::vector<std::string>&shown_, &made_;
    std::vector<size_t> sectionsShown_, sectionsMade_;
};

}  // namespace

bool isClosing(std::string_view line) { return line.starts_with("</"); }
bool isOpening(std::string_view line) { return line.starts_with('<') && !isClosing(line); }
std::string_view keywordOf(std::string_view line) { return zp::conf::upTo(line, " \t\""); }

Fates fatesOf(const std::vector<std::string>& shown, const std::vector<std::string>& made) {
    Fates fates{std::vector<size_t>(made.size(), None), std::vector<size_t>(shown.size(), None)};
    const SectionPairs pairing(shown, made);
    Range gapOfShown{0, 0};
    Range gapOfMade{0, 0};
    std::vector<Pair> pairs = align(keysOf(shown), keysOf(made));
    pairs.push_back({shown.size(), made.size()});
    for (const Pair& pair : pairs) {
        gapOfShown.end = pair.before;
        gapOfMade.end = pair.after;
        pairing.pairChanged(fates, gapOfShown, gapOfMade);
        if (pair.after < made.size()) {
            fates.shown[pair.before] = pair.after;
            fates.made[pair.after] = pair.before;
        }
        gapOfShown.first = pair.before + 1;
        gapOfMade.first = pair.after + 1;
    }
    return fates;
}

}  // namespace zpweb
