// Parameter files: lines of a name, a delimiter character and a value.
//
// A line matches when, after leading white space, it begins with the name in any letter case, the delimiter
// follows at once, and what stands behind the delimiter and any white space equals the value exactly.
#pragma once

#include <string>

class [[gnu::visibility("default")]] FileHandling {
public:
    bool isParamValueExistsInFile(std::string filePath, std::string paramName, std::string paramValue,
                                  char delimeter, char commentChar);
    // Appends `value` as a line; no test for one that is there. False when the file cannot be opened.
    bool addParamInFile(std::string filePath, std::string value);
    // Gives every matching line a new value, true when there was one. Drops empty lines and comments.
    bool editParamValueInFile(std::string filePath, std::string paramName, std::string paramValue,
                              std::string newParamValue, char delimeter, char commentChar);
    // Deletes every matching line, true when there was one. Drops empty lines, keeps comments.
    bool delParamFromFile(std::string filePath, std::string paramName, std::string paramValue,
                          char delimeter, char commentChar);
};
