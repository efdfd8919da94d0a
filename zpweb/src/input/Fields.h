// The fields of a JSON object that somebody may have edited: one that has another type than it should is
// noticed, and is as if it were absent.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace zpweb {

class Fields {
public:
    // A line of text, or an object within another.
    explicit Fields(const std::string& text) : Fields(nlohmann::json::parse(text, nullptr, false)) {}
    explicit Fields(nlohmann::json object);

    std::string text(const char* name, const char* otherwise = "");
    long number(const char* name, long otherwise = 0);
    bool flag(const char* name);
    std::vector<std::string> texts(const char* name);
    std::vector<Fields> objects(const char* name);  // each sound, or this one is not

    // Was it an object, and had each field that was asked for its type?
    bool sound() const { return sound_; }

private:
    const nlohmann::json* find(const char* name) const;

    nlohmann::json object_;
    bool sound_ = true;
};

}  // namespace zpweb
