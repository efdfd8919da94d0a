// The fields of a JSON object that somebody may have edited: one that has another type than it should is
// noticed, and is as if it were absent.
#pragma once

#include <string>
#include <vector>

#include "input/Json.h"

namespace zpweb {

class Fields {
public:
    // A line of text, or an object within another.
    explicit Fields(const std::string& text) : Fields(parsedSortedJson(text)) {}
    explicit Fields(SortedJson object);

    std::string text(const char* name, const char* otherwise = "");
    long number(const char* name, long otherwise = 0);
    bool flag(const char* name);
    std::vector<std::string> texts(const char* name);
    std::vector<Fields> objects(const char* name);  // each sound, or this one is not

    // Was it an object, and had each field that was asked for its type?
    bool sound() const { return sound_; }

private:
    const SortedJson* find(const char* name) const;

    SortedJson object_;
    bool sound_ = true;
};

}  // namespace zpweb
