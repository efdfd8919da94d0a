#include "commands/shared/AddressBlock.h"

#include "conf/Text.h"
#include "input/Quoted.h"
#include "text/Sites.h"

namespace zpweb {

std::string fileOfAddress(const Configuration& configuration, const std::string& address) {
    for (const ConfigurationFile* file : configuration.parts()) {
        for (const Block& block : file->blocks()) {
            if (!block.stopped && zp::conf::equalIgnoringCase(bareAddress(block.address), address)) {
                return file->path();
            }
        }
    }
    return configuration.main().path();
}

Outcome canTakeBlock(const ConfigurationFile& file, const std::string& address) {
    for (const Block& block : file.blocks()) {
        if (!block.stopped && zp::conf::beginsIgnoringCase(block.address, address)) {
            return zp::conf::equalIgnoringCase(bareAddress(block.address), address)
                       ? done()
                       : failure(Status::Refused, Place{&file, &block}.text() + ": the block of " +
                                                      std::string(block.address) +
                                                      " would be taken for the one of " + address +
                                                      "; it must stand behind that");
        }
    }
    return done();
}

std::string withoutAnnouncement(std::string before, const std::string& address) {
    const size_t at = before.rfind("\n\nNameVirtualHost" + address + ":");
    return at == std::string::npos ? before : before.erase(at, before.find('\n', at + 2) - at);
}

void askForBlock(Transaction& change, const std::string& address) {
    change.asked().sites.insert(address);
    change.asked().moving.insert(address);
}

}  // namespace zpweb
