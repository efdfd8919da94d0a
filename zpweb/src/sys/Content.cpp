#include "sys/Content.h"

#include <utility>

#include "sys/Hash.h"

namespace zpweb {

struct Content::Shared {
    std::string text;  // whole, or what stands between head and tail of another
    Content other{};
    std::string_view head{}, tail{};
    std::string hash{};
    bool link = false;
    std::function<std::string()> later{};  // the text, until it is asked for
};

namespace {

const std::string Nothing;

}  // namespace

Content::Content(std::string text) : shared_(std::make_shared<Shared>(Shared{std::move(text)})) {}

Content Content::later(std::function<std::string()> text) {
    Content content{std::string()};
    content.shared_->later = std::move(text);
    return content;
}

void Content::resolve() const {
    if (shared_ && shared_->later) {
        shared_->text = std::exchange(shared_->later, nullptr)();
    }
}

Content Content::linkTo(std::string target) {
    Content content(std::move(target));
    content.shared_->link = true;
    return content;
}

bool Content::isLink() const { return shared_ && shared_->link; }

Content Content::with(std::string_view part, std::string middle) const {
    const std::string_view whole = text();
    const auto at = static_cast<size_t>(part.data() - whole.data());
    Content content;
    content.shared_ = std::make_shared<Shared>(
        Shared{std::move(middle), *this, whole.substr(0, at), whole.substr(at + part.size())});
    return content;
}

std::array<std::string_view, 3> Content::pieces() const {
    resolve();
    return shared_ ? std::array<std::string_view, 3>{shared_->head, shared_->text, shared_->tail}
                   : std::array<std::string_view, 3>{};
}

size_t Content::size() const {
    const auto [head, middle, tail] = pieces();
    return head.size() + middle.size() + tail.size();
}

const std::string& Content::text() const {
    if (!shared_) {
        return Nothing;
    }
    resolve();
    if (shared_->other) {
        std::string whole;
        whole.reserve(size());
        whole.append(shared_->head).append(shared_->text).append(shared_->tail);
        *shared_ = Shared{std::move(whole), {}, {}, {}, std::move(shared_->hash)};
    }
    return shared_->text;
}

const std::string& Content::hash() const {
    if (!shared_) {
        return Nothing;
    }
    if (shared_->hash.empty() && shared_->link) {
        shared_->hash = linkHash(shared_->text);
    } else if (shared_->hash.empty()) {
        Hasher hasher;
        for (const std::string_view piece : pieces()) {
            hasher.take(piece);
        }
        shared_->hash = hasher.digits();
    }
    return shared_->hash;
}

bool Content::saysTheSameAs(const Content& other) const {
    return isSameAs(other) || (shared_ && other.shared_ && shared_->link == other.shared_->link &&
                               size() == other.size() && text() == other.text());
}

bool Content::isMadeOf(const Content& other) const {
    return shared_ && shared_->other && shared_->other.isSameAs(other);
}

}  // namespace zpweb
