#include "RubyOnRails.h"

RubyOnRails::RubyOnRails() = default;

RubyOnRails::RubyOnRails(CZPTrackManager* trackManager, std::string conf)
    : m_apacheConfFile(std::move(conf)), TrackManager(trackManager) {}
