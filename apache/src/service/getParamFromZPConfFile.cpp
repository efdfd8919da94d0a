#include "CZPWebsite.h"
#include "conf/LineReader.h"

int getParamFromZPConfFile(std::string zpConfFile, std::string& ParamVal, std::string param) {
    if (param.empty()) {
        return 0;
    }
    zp::conf::LineReader reader(zpConfFile, zp::conf::bound::ProductSetting);
    for (zp::conf::Line line; reader.read(line);) {
        if (!line.isEmpty() && line.begins(param)) {  // the first such line decides, even without quotes
            const auto value = zp::conf::betweenQuotes(line.raw());
            if (value) {
                ParamVal = *value;
            }
            return value ? 1 : 0;
        }
    }
    return 0;
}
