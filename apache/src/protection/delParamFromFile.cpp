#include "FileHandling.h"
#include "shared/ParameterFile.h"

bool FileHandling::delParamFromFile(std::string filePath, std::string paramName, std::string paramValue,
                                    char delimeter, char commentChar) {
    return zp::replaceParameter(filePath, {paramName, paramValue, delimeter}, commentChar,
                                zp::Comments::Kept, nullptr);
}
