// A tracking library as a panel may bring its own: the four operations that the library calls, nothing
// more.
#pragma once

#include <string>
#include <vector>

typedef std::vector<std::string> StringVector;

class CZPTrackManager {
public:
    void CZPModuleName(std::string moduleName);
    void CZPModuleProperties(StringVector values, StringVector names);
    void CZPMethodName(std::string methodName);
    void CZPMethodArguments(StringVector values, StringVector names);

private:
    int calls_ = 0;
};
