#include "FileHandling.h"
#include "shared/ParameterFile.h"

bool FileHandling::isParamValueExistsInFile(std::string filePath, std::string paramName,
                                            std::string paramValue, char delimeter, char commentChar) {
    return zp::hasParameter(filePath, {paramName, paramValue, delimeter}, commentChar).value_or(false);
}
