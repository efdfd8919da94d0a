#include "host/Report.h"

namespace zp::host {

void reportModule(CZPTrackManager* tracking, const char* module) {
    if (tracking != nullptr) {
        tracking->CZPModuleName(module);
    }
}

void report(CZPTrackManager* tracking, const char* operation, std::initializer_list<Argument> arguments) {
    if (tracking == nullptr) {
        return;
    }
    StringVector values;
    StringVector labels;
    for (const Argument& argument : arguments) {
        values.push_back(argument.value);
        labels.emplace_back(argument.label);
    }
    tracking->CZPMethodName(operation);
    tracking->CZPMethodArguments(values, labels);
}

}  // namespace zp::host
