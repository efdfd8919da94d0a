// The lines of one block, held back until it is known what becomes of them.
#pragma once

#include <string>
#include <string_view>

#include "conf/Line.h"

namespace zp::conf {

class HeldLines {
public:
    void hold(const Line& line) {
        text_ += line.raw();
        text_ += '\n';
    }
    void clear() { text_.clear(); }  // the memory serves the next block

    // The lines as they were read, each with its newline.
    std::string_view text() const { return text_; }
    std::string_view textBehindFirst() const { return stepOver(text_, text_.find('\n') + 1); }

    template <class Use>
    void forEach(Use use) const {
        for (size_t begin = 0, end = 0; begin < text_.size(); begin = end + 1) {
            end = text_.find('\n', begin);
            use(Line(text().substr(begin, end - begin)));
        }
    }

private:
    std::string text_;
};

}  // namespace zp::conf
