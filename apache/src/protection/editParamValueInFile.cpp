#include "FileHandling.h"
#include "shared/ParameterFile.h"

bool FileHandling::editParamValueInFile(std::string filePath, std::string paramName, std::string paramValue,
                                        std::string newParamValue, char delimeter, char commentChar) {
    // An edit drops every comment of the file, not only one about the parameter: callers count on it.
    const std::string line = paramName + delimeter + newParamValue;
    return zp::replaceParameter(filePath, {paramName, paramValue, delimeter}, commentChar,
                                zp::Comments::Dropped, &line);
}
