// A website as a Ruby on Rails application served through FastCGI.
#pragma once

#include <CZPTrackManager.h>

#include <string>

class [[gnu::visibility("default")]] RubyOnRails {
public:
    RubyOnRails();
    RubyOnRails(CZPTrackManager * trackManager, std::string conf);

    // Points the site's DocumentRoot at the application's public directory, makes the directories for
    // `ownerName` and adds their <Directory> block. 0; 1 file; 2 scratch file; 3 malformed and 5 missing
    // DocumentRoot; 6 it could not be changed; 7 a directory could not be made; 8 the block could not be
    // added. Nothing is undone.
    int defaultToROR(std::string domainName, std::string railsApplicationName, std::string ownerName);
    // Points it back at "html" and removes the block. 0; 1, 2, 3, 5, 6 as above; 4 there was no such block.
    int RORToDefault(std::string domainName, std::string railsApplicationName);

private:
    std::string m_apacheConfFile;
    CZPTrackManager* TrackManager = nullptr;
};
