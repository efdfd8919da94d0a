// Where a scan stands with respect to one domain's <VirtualHost> blocks.
//
// Two readings of a block with several ServerName lines exist, and operations differ in theirs: any of them
// may name the domain, or the first one decides.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "conf/Line.h"

namespace zp::conf {

// Any ServerName line of the block may name the domain; one that names another server changes nothing.
class AnyNameScope {
public:
    explicit AnyNameScope(std::string domain) : domain_(std::move(domain)) {}

    // Takes note of a line that opens a block, or of a ServerName line inside one; false for any other
    // line.
    bool enters(const Line& line) {
        if (line.begins(keyword::VirtualHost)) {
            inBlock_ = true;
            return true;
        }
        if (!inBlock_ || !line.begins(keyword::ServerName)) {
            return false;
        }
        inDomain_ = line.namesServer(domain_) || inDomain_;
        return true;
    }

    // Takes note of a line that ends a block; false for any other line.
    bool leaves(const Line& line, std::string_view end = keyword::VirtualHostEndTag) {
        if (!line.begins(end)) {
            return false;
        }
        inBlock_ = inDomain_ = false;
        return true;
    }

    bool inBlock() const { return inBlock_; }
    // Inside a block, behind the ServerName line that names the domain.
    bool inDomain() const { return inDomain_; }
    // Asks no more of this block.
    void leaveDomain() { inDomain_ = false; }

private:
    std::string domain_;
    bool inBlock_ = false, inDomain_ = false;
};

// The first ServerName line of a block decides: with another name the rest of the block is passed over.
class FirstNameScope {
public:
    explicit FirstNameScope(std::string domain) : domain_(std::move(domain)) {}

    bool enters(const Line& line) {
        if (line.begins(keyword::VirtualHost)) {
            state_ = State::Unnamed;
            return true;
        }
        if (state_ != State::Unnamed || !line.begins(keyword::ServerName)) {
            return false;
        }
        state_ = line.namesServer(domain_) ? State::Domain : State::Outside;
        return true;
    }

    bool leaves(const Line& line, std::string_view end = keyword::VirtualHostEnd) {
        if (!line.begins(end)) {
            return false;
        }
        state_ = State::Outside;
        return true;
    }

    bool inUnnamedBlock() const { return state_ == State::Unnamed; }
    bool inDomain() const { return state_ == State::Domain; }
    // Inside a block whose name has not turned out to be another.
    bool mayBeInDomain() const { return state_ != State::Outside; }

private:
    enum class State { Outside, Unnamed, Domain };

    std::string domain_;
    State state_ = State::Outside;
};

}  // namespace zp::conf
