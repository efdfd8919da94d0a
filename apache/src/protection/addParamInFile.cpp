#include "FileHandling.h"
#include "conf/AppendLine.h"
#include "host/HeldFile.h"

bool FileHandling::addParamInFile(std::string filePath, std::string value) {
    return zp::conf::appendLine(zp::host::HeldFile(filePath), value);
}
