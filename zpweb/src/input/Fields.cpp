#include "input/Fields.h"

#include <algorithm>
#include <utility>

namespace zpweb {

Fields::Fields(SortedJson object) : object_(std::move(object)), sound_(object_.is_object()) {}

const SortedJson* Fields::find(const char* name) const {
    const auto found = object_.is_object() ? object_.find(name) : object_.end();
    return found == object_.end() ? nullptr : &*found;
}

std::string Fields::text(const char* name, const char* otherwise) {
    const SortedJson* value = find(name);
    sound_ = sound_ && (value == nullptr || value->is_string());
    return value != nullptr && value->is_string() ? value->get<std::string>() : otherwise;
}

long Fields::number(const char* name, long otherwise) {
    const SortedJson* value = find(name);
    sound_ = sound_ && (value == nullptr || value->is_number_integer());
    return value != nullptr && value->is_number_integer() ? value->get<long>() : otherwise;
}

bool Fields::flag(const char* name) {
    const SortedJson* value = find(name);
    sound_ = sound_ && (value == nullptr || value->is_boolean());
    return value != nullptr && value->is_boolean() && value->get<bool>();
}

std::vector<std::string> Fields::texts(const char* name) {
    const SortedJson* value = find(name);
    const auto isText = [](const SortedJson& each) { return each.is_string(); };
    const bool typed =
        value != nullptr && value->is_array() && std::all_of(value->begin(), value->end(), isText);
    sound_ = sound_ && (value == nullptr || typed);
    return typed ? value->get<std::vector<std::string>>() : std::vector<std::string>();
}

std::vector<Fields> Fields::objects(const char* name) {
    const SortedJson* value = find(name);
    sound_ = sound_ && (value == nullptr || value->is_array());
    std::vector<Fields> objects;
    for (const SortedJson& each : value != nullptr && value->is_array() ? *value : SortedJson::array()) {
        objects.emplace_back(each);
        sound_ = sound_ && objects.back().sound();
    }
    return objects;
}

}  // namespace zpweb
