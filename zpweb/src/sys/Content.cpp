#include "sys/Content.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "sys/Hash.h"

namespace zpweb {

// A view of the text of another, which stays as it is while it is viewed.
struct Content::Piece {
    Content of;
    std::string_view text;
};

struct Content::Shared {
    std::string text{};           // of one in pieces: once it is put together
    std::vector<Piece> pieces{};  // unless it stands for itself
    std::string hash{};
    bool link = false;
    std::function<Content()> later{};  // until it is asked for
};

namespace {

const std::string Nothing;

}  // namespace

Content::Content(std::string text) : shared_(std::make_shared<Shared>()) {
    shared_->text = std::move(text);
}

Content::Content(std::vector<Piece> pieces) : shared_(std::make_shared<Shared>()) {
    std::erase_if(pieces, [](const Piece& piece) { return piece.text.empty(); });
    shared_->pieces = std::move(pieces);
}

Content Content::joined(const std::vector<Content>& texts) {
    std::vector<Piece> pieces;
    for (const Content& text : texts) {
        for (Piece& piece : text.owned()) {
            pieces.push_back(std::move(piece));
        }
    }
    return Content(std::move(pieces));
}

Content Content::later(std::function<Content()> make) {
    Content content{std::string()};
    content.shared_->later = std::move(make);
    return content;
}

void Content::resolve() const {
    if (shared_ && shared_->later) {
        shared_->pieces = std::exchange(shared_->later, nullptr)().owned();
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
    const Content between(std::move(middle));
    std::vector<Piece> made = owned(0, at);
    made.push_back({between, between.text()});
    std::vector<Piece> rest = owned(at + part.size(), whole.size());
    std::move(rest.begin(), rest.end(), std::back_inserter(made));
    return Content(std::move(made));
}

Content Content::sliced(std::string_view part) const {
    const auto at = static_cast<size_t>(part.data() - text().data());
    return Content(owned(at, at + part.size()));
}

std::vector<Content::Piece> Content::owned(size_t begin, size_t end) const {
    std::vector<Piece> found;
    size_t at = 0;
    for (Piece& piece : owned()) {
        const size_t size = piece.text.size();
        const size_t from = std::clamp(begin, at, at + size) - at;
        const size_t to = std::clamp(end, at, at + size) - at;
        found.push_back({std::move(piece.of), piece.text.substr(from, to - from)});
        at += size;
    }
    return found;
}

std::vector<Content::Piece> Content::owned() const {
    resolve();
    if (!shared_) {
        return {};
    }
    return shared_->pieces.empty() ? std::vector<Piece>{{*this, shared_->text}} : shared_->pieces;
}

Pieces Content::pieces() const {
    resolve();
    Pieces views;
    if (shared_ && shared_->pieces.empty()) {
        views.push_back(shared_->text);
    } else if (shared_) {
        std::transform(shared_->pieces.begin(), shared_->pieces.end(), std::back_inserter(views),
                       [](const Piece& piece) { return piece.text; });
    }
    return views;
}

size_t Content::size() const { return sizeOf(pieces()); }

const std::string& Content::text() const {
    if (!shared_) {
        return Nothing;
    }
    resolve();
    if (!shared_->pieces.empty() && shared_->text.empty()) {
        // Texts that grow by little, again and again, leave gaps that fit the next one.
        constexpr size_t Step = 1024;
        constexpr size_t MostPieces = 16;
        std::string whole;
        whole.reserve((size() / Step + 1) * Step - 1);
        for (const Piece& piece : shared_->pieces) {
            whole += piece.text;
        }
        shared_->text = std::move(whole);
        if (shared_->pieces.size() > MostPieces) {
            shared_->pieces = {};
        }
    }
    return shared_->text;
}

void Content::takeApart() const {
    if (shared_ && !shared_->pieces.empty()) {
        std::string().swap(shared_->text);  // an assignment would keep what it holds
    }
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
    if (isSameAs(other)) {
        return true;
    }
    const size_t length = size();
    return shared_ && other.shared_ && isLink() == other.isLink() && length == other.size() &&
           equalBeginning(pieces(), other.pieces()) == length;
}

}  // namespace zpweb
