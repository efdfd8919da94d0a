// What a file holds, where a symbolic link points to, or that there is no such file.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "sys/Pieces.h"

namespace zpweb {

// Copies share the text, and its fingerprint, which is taken once. A text that is made of others shares
// theirs, and is not put together before it is asked for as one.
class Content {
public:
    Content() = default;  // no file
    explicit Content(std::string text);
    // The texts one behind the other.
    static Content joined(const std::vector<Content>& texts);
    // One that is made when it is first asked for.
    static Content later(std::function<Content()> make);
    static Content linkTo(std::string target);  // a symbolic link; its text is the target
    // The same with `middle` in the place of `part`, a view of its text.
    Content with(std::string_view part, std::string middle) const;
    // What stands in `part`, a view of its text.
    Content sliced(std::string_view part) const;

    bool isLink() const;
    explicit operator bool() const { return shared_ != nullptr; }
    const std::string& text() const;
    const std::string& hash() const;  // empty when there is no file
    Pieces pieces() const;            // the text
    size_t size() const;
    // What was put together from others for `text` goes; whoever has got it has it no more.
    void takeApart() const;

    // Copies are the same. Texts that merely say the same are not.
    bool isSameAs(const Content& other) const { return shared_ == other.shared_; }
    bool saysTheSameAs(const Content& other) const;

private:
    struct Shared;
    struct Piece;
    explicit Content(std::vector<Piece> pieces);
    std::vector<Piece> owned() const;
    std::vector<Piece> owned(size_t begin, size_t end) const;
    void resolve() const;
    std::shared_ptr<Shared> shared_;
};

}  // namespace zpweb
