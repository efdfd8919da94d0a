// Which block of a configuration became which: lines move, names and addresses are edited, files are
// renamed.
#include <algorithm>
#include <unordered_map>
#include <vector>

#include "server/Judge.h"

namespace zpweb {

namespace {

using Key = std::string (*)(const Reading& reading, const VirtualHost& host);

std::string allAddresses(const VirtualHost& host) {
    std::string all;
    for (const std::string& address : host.addresses) {
        all += address + " ";
    }
    return all;
}

std::string whole(const Reading& reading, const VirtualHost& host) {
    return host.names.name + "\n" + allAddresses(host) + "\n" + reading.fileOf(host);
}

// Blocks without a name at one address are told apart by what is in them, also in another file.
std::string contentOfNameless(const Reading& reading, const VirtualHost& host) {
    if (!host.names.name.empty() || host.directive == Directive::None) {
        return "";
    }
    std::string key = allAddresses(host);
    for (uint32_t i = host.directive; i < reading.directives()[host.directive].end; ++i) {
        const Directive& item = reading.directives()[i];
        key.append("\n").append(item.name).append(" ").append(item.arguments);
    }
    return key;
}

std::string wholeOfNameless(const Reading& reading, const VirtualHost& host) {
    const std::string content = contentOfNameless(reading, host);
    return content.empty() ? "" : reading.fileOf(host) + "\n" + content;
}

std::string fileOfNameless(const Reading& reading, const VirtualHost& host) {
    return host.names.name.empty() ? reading.fileOf(host) : "";
}

std::string nameAndFile(const Reading& reading, const VirtualHost& host) {
    return host.names.name.empty() ? "" : host.names.name + "\n" + reading.fileOf(host);
}

std::string nameAndAddresses(const Reading&, const VirtualHost& host) {
    return host.names.name.empty() ? "" : host.names.name + "\n" + allAddresses(host);
}

bool sharesName(const ServedNames& one, const ServedNames& other) {
    const auto has = [&other](const std::string& name) {
        return name == other.name ||
               std::find(other.aliases.begin(), other.aliases.end(), name) != other.aliases.end();
    };
    const auto& wild = one.wildAliases;
    return (!one.name.empty() && has(one.name)) ||
           std::any_of(one.aliases.begin(), one.aliases.end(), has) ||
           std::find_first_of(wild.begin(), wild.end(), other.wildAliases.begin(),
                              other.wildAliases.end()) != wild.end();
}

std::string addressesAndFile(const Reading& reading, const VirtualHost& host) {
    return allAddresses(host) + "\n" + reading.fileOf(host);
}

// Pairs those that are still alone and have the same key, in their order. An empty key is nobody's.
void pairBy(Key keyOf, bool needsSharedName, const Reading& live, const Reading& staged, Pairing& pairing) {
    std::unordered_map<std::string, std::vector<uint32_t>> alone;
    for (uint32_t i = static_cast<uint32_t>(live.hosts().size()); i-- > 0;) {
        if (pairing.stagedOf[i] == Pairing::None) {
            alone[keyOf(live, live.hosts()[i])].push_back(i);
        }
    }
    for (uint32_t i = 0; i < staged.hosts().size() && !alone.empty(); ++i) {
        const VirtualHost& host = staged.hosts()[i];
        const std::string key = pairing.liveOf[i] == Pairing::None ? keyOf(staged, host) : "";
        const auto found = key.empty() ? alone.end() : alone.find(key);
        if (found == alone.end() || found->second.empty()) {
            continue;
        }
        const uint32_t partner = found->second.back();
        if (!needsSharedName || sharesName(host.names, live.hosts()[partner].names)) {
            pairing.liveOf[i] = partner;
            pairing.stagedOf[partner] = i;
            found->second.pop_back();
        }
    }
}

// Of blocks that say the same it is the one that was asked for that changes or goes: the others come first.
void pairUnasked(const Reading& live, const Reading& staged, const Asked& asked, Pairing& pairing) {
    constexpr uint32_t Waiting = Pairing::None - 1;
    for (uint32_t i = 0; i < live.hosts().size(); ++i) {
        const Origin origin = live.originOf(live.hosts()[i]);
        pairing.stagedOf[i] =
            asked.blocks.contains({origin.file, origin.line}) ? Waiting : pairing.stagedOf[i];
    }
    pairBy(wholeOfNameless, false, live, staged, pairing);
    std::replace(pairing.stagedOf.begin(), pairing.stagedOf.end(), Waiting, Pairing::None);
}

}  // namespace

Pairing pairingOf(const Reading& live, const Reading& staged, const Asked& asked) {
    Pairing pairing{std::vector(live.hosts().size(), Pairing::None),
                    std::vector(staged.hosts().size(), Pairing::None)};
    pairUnasked(live, staged, asked, pairing);
    pairBy(wholeOfNameless, false, live, staged, pairing);
    pairBy(whole, false, live, staged, pairing);
    pairBy(nameAndFile, false, live, staged, pairing);
    pairBy(nameAndAddresses, false, live, staged, pairing);
    pairBy(contentOfNameless, false, live, staged, pairing);
    pairBy(addressesAndFile, true, live, staged, pairing);
    pairBy(fileOfNameless, false, live, staged, pairing);
    return pairing;
}

}  // namespace zpweb
