#include "CZPUsers.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "host/KeptForGood.h"
#include "host/Paths.h"
#include "host/Report.h"

namespace {

// A copy that can be part of a file name: every "/" becomes "_".
char* asFileName(const char* folderPath) {
    char* name = ::strdup(folderPath == nullptr ? "" : folderPath);
    for (char* c = name; c != nullptr && *c != '\0'; ++c) {
        if (*c == '/') {
            *c = '_';
        }
    }
    return name;
}

}  // namespace

CZPUsers::CZPUsers(CZPTrackManager* trackManager)
    : TEMPFILE(zp::host::keptForGood(::tempnam(zp::host::path::ScratchDirectory, nullptr))),
      TrackManager(trackManager) {
    zp::host::reportModule(TrackManager, "WebServerManager");
}

CZPUsers::CZPUsers(CZPTrackManager* trackManager, const char* insFolder, const char* domainName,
                   const char* folderPath)
    : TEMPFILE(zp::host::keptForGood(::tempnam(insFolder, nullptr))),
      InsFolder(insFolder),
      DomainName(domainName),
      FolderPath(asFileName(folderPath)),
      TrackManager(trackManager) {
    zp::host::reportModule(TrackManager, "WebServerManager");
}

CZPUsers::~CZPUsers() { std::free(FolderPath); }
