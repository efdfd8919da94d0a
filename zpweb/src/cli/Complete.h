// What may stand at the place of a word, for the shell's completion.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace zpweb {

// `words`: the number of the word to complete, then the words of the command line, the program's name
// first, as bash splits them. Prints a word a line; ":files" and ":users" leave the offer to the shell.
void complete(std::ostream& out, const std::vector<std::string>& words);

}  // namespace zpweb
