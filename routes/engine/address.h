#pragma once
// Addresses between request and answer texts and OpEN's address record.
#include "open/openapi.h"

constexpr unsigned kAddressTextSize = 46;  // INET6_ADDRSTRLEN

// IPv4 first (stored in host order), then IPv6; other text gives family 0
// and a zero address, which is still sent: the switch decides.
void addressFromText(const char *text, open_inet_addr_t *addr);
// IPv4 or IPv6 by the record's family; any other family gives "".
void addressToText(const open_inet_addr_t &addr, char (&text)[kAddressTextSize]);
void ipv4ToText(uint32_t hostOrder, char (&text)[kAddressTextSize]);
void ipv6ToText(const uint8_t (&bytes)[16], char (&text)[kAddressTextSize]);
