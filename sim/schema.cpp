#include "sim/schema.h"

#include <arpa/inet.h>

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <limits>

#include "open/wire.h"
#include "open/raii.h"

namespace schema {

Where Where::member(const std::string &key) const { return Where(path_.empty() ? key : path_ + "." + key, *error_); }

Where Where::element(size_t index) const { return Where(path_ + "[" + std::to_string(index) + "]", *error_); }

bool Where::fail(const std::string &problem) const {
  *error_ = (path_.empty() ? "state" : path_) + ": " + problem;
  return false;
}

std::string printed(cJSON *json) {
  JsonPtr owned(json);
  CText text(cJSON_PrintUnformatted(owned.get()));
  return text ? text.get() : "";
}

std::string alternatives(const std::vector<std::string> &items) {
  std::string text;
  for (size_t i = 0; i < items.size(); ++i) {
    if (i > 0) text += i + 1 == items.size() ? " or " : ", ";
    text += items[i];
  }
  return text;
}

// The state file reads integers as OpEN's wire form does, so that both
// accept the same spellings.
bool readInteger(const cJSON *json, uint64_t &value) { return wireDecodeInt(OPEN_TYPE_U64, json, &value) == 0; }

bool readInteger(const cJSON *json, int32_t &value) { return wireDecodeInt(OPEN_TYPE_I32, json, &value) == 0; }

cJSON *decimalText(uint64_t value) {
  char text[24];
  snprintf(text, sizeof text, "%" PRIu64, value);
  return cJSON_CreateString(text);
}

std::string Integer::expectation(bool asText) const {
  std::vector<std::string> items;
  for (const Range &range : ranges_) {
    if (range.low == 0 && range.high == std::numeric_limits<uint64_t>::max()) {
      items.push_back("an unsigned 64-bit integer");
    } else if (std::cmp_equal(range.low, range.high)) {
      items.push_back(std::to_string(range.low));
    } else {
      items.push_back("an integer from " + std::to_string(range.low) + " to " + std::to_string(range.high));
    }
  }
  return "expected " + alternatives(items) + (asText ? " (as decimal text above 2^53)" : "");
}

bool Text::load(const cJSON *json, std::string &value, const Where &where) const {
  size_t length = cJSON_IsString(json) ? strlen(json->valuestring) : 0;
  if (cJSON_IsString(json) && length >= min_ && length <= max_) {
    value = json->valuestring;
    return true;
  }
  std::string most = std::to_string(max_) + " characters";
  if (min_ > 1) return where.fail("expected a text of " + std::to_string(min_) + " to " + most);
  return where.fail(std::string("expected a ") + (min_ == 1 ? "non-empty " : "") + "text of at most " + most);
}

std::string macText(const MacAddress &m) {
  char text[18];
  snprintf(text, sizeof text, "%02X:%02X:%02X:%02X:%02X:%02X", m[0], m[1], m[2], m[3], m[4], m[5]);
  return text;
}

bool Mac::load(const cJSON *json, MacAddress &mac, const Where &where) const {
  if (!cJSON_IsString(json) || !wireParseMac(json->valuestring, mac)) {
    return where.fail("expected a MAC address like 00:11:22:5A:3B:C0");
  }
  return true;
}

bool Boolean::load(const cJSON *json, bool &value, const Where &where) const {
  if (!cJSON_IsBool(json)) return where.fail("expected true or false");
  value = cJSON_IsTrue(json);
  return true;
}

cJSON *Ipv4::dump(uint32_t hostOrder) const {
  char text[INET_ADDRSTRLEN] = "";
  uint32_t network = htonl(hostOrder);
  inet_ntop(AF_INET, &network, text, sizeof text);
  return cJSON_CreateString(text);
}

bool Ipv4::load(const cJSON *json, uint32_t &hostOrder, const Where &where) const {
  uint32_t network = 0;
  if (!cJSON_IsString(json) || inet_pton(AF_INET, json->valuestring, &network) != 1) {
    return where.fail("expected an IPv4 address such as 192.168.0.1");
  }
  hostOrder = ntohl(network);
  return true;
}

cJSON *Ipv6::dump(const open_in6_addr_t &addr) const {
  char text[INET6_ADDRSTRLEN] = "";
  inet_ntop(AF_INET6, addr.u8, text, sizeof text);
  return cJSON_CreateString(text);
}

bool Ipv6::load(const cJSON *json, open_in6_addr_t &addr, const Where &where) const {
  if (!cJSON_IsString(json) || inet_pton(AF_INET6, json->valuestring, addr.u8) != 1) {
    return where.fail("expected an IPv6 address such as fe80::1");
  }
  return true;
}

cJSON *Address::dump(const open_inet_addr_t &addr) const {
  if (addr.family == OPEN_AF_INET) return Ipv4{}.dump(addr.addr.ipv4);
  if (addr.family != OPEN_AF_INET6) return cJSON_CreateString("");
  open_in6_addr_t v6;
  memcpy(v6.u8, addr.addr.ipv6, sizeof v6.u8);
  return Ipv6{}.dump(v6);
}

// "" is no address; anything else is IPv4 or IPv6 text.
bool Address::load(const cJSON *json, open_inet_addr_t &addr, const Where &where) const {
  addr = open_inet_addr_t{};
  if (cJSON_IsString(json) && json->valuestring[0] == '\0') return true;
  uint32_t network = 0;
  if (cJSON_IsString(json) && inet_pton(AF_INET, json->valuestring, &network) == 1) {
    addr.family = OPEN_AF_INET;
    addr.addr.ipv4 = ntohl(network);
    return true;
  }
  if (cJSON_IsString(json) && inet_pton(AF_INET6, json->valuestring, addr.addr.ipv6) == 1) {
    addr.family = OPEN_AF_INET6;
    return true;
  }
  return where.fail("expected an IPv4 or IPv6 address, or \"\" for none");
}

}  // namespace schema
