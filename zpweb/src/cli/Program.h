// One run of the program: its command line, the command, its end.
#pragma once

namespace zpweb {

int runCommandLine(int argc, char** argv);

}  // namespace zpweb
