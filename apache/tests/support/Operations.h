// Calls of managers, as operations on the file that is their configuration.
#pragma once

#include <ApacheHelper.h>

#include <string>

#include "support/FileCase.h"

namespace zp::test {

template <class Manager, class Result, class... Parameters, class... Arguments>
FileOperation onFile(Result (Manager::*operation)(Parameters...), Arguments... arguments) {
    return [=](const std::string& file) {
        Manager manager(nullptr, file.c_str());
        return static_cast<int>((manager.*operation)(arguments...));
    };
}

// A primitive: it is given the file.
template <class... Parameters, class... Arguments>
FileOperation primitive(int (ApacheHelper::*operation)(std::string, Parameters...),
                        Arguments... arguments) {
    return [=](const std::string& file) mutable {
        ApacheHelper helper;
        return (helper.*operation)(file, arguments...);
    };
}

}  // namespace zp::test
