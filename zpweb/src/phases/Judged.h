// Judge: what the server makes of the staged configuration, against what it makes of the live one.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <utility>

#include "input/Settings.h"
#include "output/Output.h"
#include "phases/Check.h"
#include "phases/StagedFile.h"
#include "server/Configuration.h"
#include "server/Judge.h"
#include "sys/Outcome.h"

namespace zpweb {

struct Judging {
    const Configuration& configuration;  // as it is staged
    const std::map<std::string, StagedFile>& files;
    const StagedConfiguration& staged;
    const std::string& readingFile;  // where the live reading is kept
    const Asked& asked;
    const std::map<std::pair<std::string, std::string>, Postcondition>& expectations;  // see Transaction
    const Settings& settings;
    Output& output;
};

// Readings are null where there is none: the server refuses the configuration, or does not tell.
struct Judged {
    Outcome outcome{};
    std::shared_ptr<const Reading> live{}, staged{};
    std::set<Led> released{};  // see Judgement
};

// The server's check, and the judgement of both readings. The live one is kept from the last change; where
// it is not, it is made beside the check.
Judged judgeStaged(const Judging& change);

// The same for a change of nothing that the server reads: what it promises must hold as things are.
Judged judgeLive(const Judging& change);

// After the commit the staged reading is that of the live configuration; null: none is.
void keepReading(const Configuration& configuration, const std::map<std::string, StagedFile>& files,
                 const std::string& readingFile, const Reading* reading);

}  // namespace zpweb
