#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>

#include <QtGlobal>

namespace tf::testing {

// 127.0.0.1 at a port (0: any free one), for the test servers and the proxy.
inline sockaddr_in loopback(quint16 port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

}  // namespace tf::testing
