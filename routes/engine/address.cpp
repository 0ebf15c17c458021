#include "routes/engine/address.h"

#include <arpa/inet.h>

#include <cstring>

void addressFromText(const char *text, open_inet_addr_t *addr) {
  memset(addr, 0, sizeof *addr);
  if (text == nullptr) return;
  uint32_t network = 0;
  if (inet_pton(AF_INET, text, &network) == 1) {
    addr->family = OPEN_AF_INET;
    addr->addr.ipv4 = ntohl(network);
  } else if (inet_pton(AF_INET6, text, addr->addr.ipv6) == 1) {
    addr->family = OPEN_AF_INET6;
  }
}

void ipv4ToText(uint32_t hostOrder, char (&text)[kAddressTextSize]) {
  uint32_t network = htonl(hostOrder);
  if (inet_ntop(AF_INET, &network, text, sizeof text) == nullptr) text[0] = '\0';
}

void ipv6ToText(const uint8_t (&bytes)[16], char (&text)[kAddressTextSize]) {
  if (inet_ntop(AF_INET6, bytes, text, sizeof text) == nullptr) text[0] = '\0';
}

void addressToText(const open_inet_addr_t &addr, char (&text)[kAddressTextSize]) {
  text[0] = '\0';
  if (addr.family == OPEN_AF_INET) ipv4ToText(addr.addr.ipv4, text);
  if (addr.family == OPEN_AF_INET6) ipv6ToText(addr.addr.ipv6, text);
}
