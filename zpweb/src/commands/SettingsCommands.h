// The commands that work by settings: TLS, PHP, proxies, access, redirects, logs.
#pragma once

#include "commands/table/Command.h"

namespace zpweb {

Command tlsOn();
Command tlsOff();
Command tlsList();
Command tlsRenewed();
Command phpSet();
Command phpOff();
Command phpList();
Command proxySet();
Command proxyRemove();
Command proxyList();
Command accessSet();
Command accessOff();
Command accessShow();
Command redirectSet();
Command redirectRemove();
Command redirectList();
Command siteCanonical();
Command serverCatchAll();
Command logPolicy();
Command logShow();

}  // namespace zpweb
