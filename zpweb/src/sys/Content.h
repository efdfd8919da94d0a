// What a file holds, where a symbolic link points to, or that there is no such file.
#pragma once

#include <array>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace zpweb {

// Copies share the text, and its fingerprint, which is taken once.
class Content {
public:
    Content() = default;  // no file
    explicit Content(std::string text);
    // One whose text is put together when it is first asked for.
    static Content later(std::function<std::string()> text);
    static Content linkTo(std::string target);  // a symbolic link; its text is the target
    // The same with `middle` in the place of `part`, a view of its text. It is not put together before it
    // is asked for as one text.
    Content with(std::string_view part, std::string middle) const;

    bool isLink() const;
    explicit operator bool() const { return shared_ != nullptr; }
    const std::string& text() const;
    const std::string& hash() const;  // empty when there is no file
    // The text, in pieces.
    std::array<std::string_view, 3> pieces() const;
    size_t size() const;

    // Copies are the same. Texts that merely say the same are not.
    bool isSameAs(const Content& other) const { return shared_ == other.shared_; }
    bool saysTheSameAs(const Content& other) const;
    // Was it made of the other by `with`?
    bool isMadeOf(const Content& other) const;

private:
    struct Shared;
    void resolve() const;
    std::shared_ptr<Shared> shared_;
};

}  // namespace zpweb
