#include <ostream>
#include <unordered_set>

#include "CZPWebsite.h"
#include "Results.h"
#include "conf/Address.h"
#include "conf/LineReader.h"
#include "host/Fields.h"
#include "host/Machine.h"
#include "host/Report.h"
#include "shared/ReadConfiguration.h"

using zp::conf::Line;
namespace conf = zp::conf;
namespace keyword = zp::conf::keyword;
namespace result = zp::result;

namespace {

constexpr size_t ShortestOfBlock = 5;  // leaves out "*" and other short addresses

// The caller's list, and which addresses stand in it whatever their letter case.
class AddressList {
public:
    explicit AddressList(StringVector& list) : list_(list) {
        for (const std::string& address : list) {
            known_.insert(inLowerCase(address));
        }
    }
    void add(std::string_view address) {
        known_.insert(inLowerCase(address));
        list_.emplace_back(address);
    }
    void addOnce(std::string_view address) {
        if (known_.insert(inLowerCase(address)).second) {
            list_.emplace_back(address);
        }
    }

private:
    static std::string inLowerCase(std::string_view address) {
        std::string text(address);
        for (char& c : text) {
            c = conf::lower(c);
        }
        return text;
    }

    StringVector& list_;
    std::unordered_set<std::string> known_;
};

// Listed even when the address is in the list already.
void addAnnounced(const Line& line, AddressList& addresses) {
    const std::string_view value = line.argumentOf(keyword::NameVirtualHost);
    zp::host::out() << "Buffer=" << line.raw()
                    << "\nPtr=" << conf::stepOver(line.text(), keyword::NameVirtualHost.size() + 1) << '\n';
    const auto [address, ended] = conf::leadingAddress(value, conf::Bracket::Last, ":");
    if (value.starts_with('[')) {
        zp::host::out() << "IPV6\n";
        if (!ended) {
            return;
        }
    } else {
        zp::host::out() << "IPV4 " << value << "\ncp1 " << value << '\n';
    }
    addresses.add(address);
    zp::host::out() << "IPEntry" << address << '\n';
}

}  // namespace

int CZPWebsite::ListOccupiedIPs(StringVector* OccupiedIPsList) {
    zp::host::report(TrackManager, "ListOccupiedIPs", {zp::host::NoArgument});
    zp::ReadConfiguration configuration(HttpdConfFile, conf::bound::Addressing,
                                        "Error while opening HttpdConfFile\n");
    if (!configuration.isOpen()) {
        return configuration.failure();
    }
    AddressList addresses(*OccupiedIPsList);
    for (Line line; configuration.read(line);) {
        if (line.begins(keyword::NameVirtualHost)) {
            addAnnounced(line, addresses);
        } else if (line.begins(keyword::VirtualHost)) {
            const std::string_view address = conf::blockAddress(line, conf::Bracket::Last);
            if (address.size() >= ShortestOfBlock) {
                addresses.addOnce(address);
            }
        }
    }
    return configuration.atEnd(result::website::Listed);
}
