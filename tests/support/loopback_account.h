#pragma once

#include <QtGlobal>

#include "store/imap/imap_location.h"

namespace tf::testing {

// Ann's account (password "secret") on a test server or proxy at 127.0.0.1, without TLS.
inline store::imap::ImapAccount loopbackAccount(quint16 port) {
    store::imap::ImapAccount account;
    account.user = QStringLiteral("ann");
    account.host = QStringLiteral("127.0.0.1");
    account.port = port;
    account.tls = store::imap::TlsMode::None;
    account.displayName = QStringLiteral("ann@127.0.0.1");
    return account;
}

}  // namespace tf::testing
