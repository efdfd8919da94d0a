#include "CZPTrackManager.h"

#include <iostream>

namespace {

void print(int call, const char* what, const StringVector& values, const StringVector& names) {
    std::cout << call << ' ' << what;
    for (size_t i = 0; i < values.size(); ++i) {
        std::cout << ' ' << names.at(i) << "=[" << values[i] << ']';
    }
    std::cout << '\n';
}

}  // namespace

void CZPTrackManager::CZPModuleName(std::string moduleName) {
    print(++calls_, "module", {moduleName}, {"name"});
}
void CZPTrackManager::CZPModuleProperties(StringVector values, StringVector names) {
    print(++calls_, "properties", values, names);
}
void CZPTrackManager::CZPMethodName(std::string methodName) {
    print(++calls_, "method", {methodName}, {"name"});
}
void CZPTrackManager::CZPMethodArguments(StringVector values, StringVector names) {
    print(++calls_, "arguments", values, names);
}
