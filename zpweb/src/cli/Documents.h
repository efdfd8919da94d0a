// The manual page, the completion and the list of operations, written from the command table.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace zpweb {

struct Document {
    std::string name, summary;
    void (*print)(std::ostream&);
};

void printManual(std::ostream& out);
void printCompletion(std::ostream& out);

// The commands that print one of them. They have no part in the table and take no options.
const std::vector<Document>& documents();

}  // namespace zpweb
