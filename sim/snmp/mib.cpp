#include "sim/snmp/mib.h"

#include <algorithm>
#include <string_view>

#include "open/wire.h"

namespace {

struct MibName {
  const char *name;
  const char *oid;
};

// The standard tree down to the MIB-2 groups and the SNMP framework's own
// modules, the ones views and filters are usually made of.
const MibName kMibNames[] = {
    {"iso", "1"},
    {"org", "1.3"},
    {"dod", "1.3.6"},
    {"internet", "1.3.6.1"},
    {"directory", "1.3.6.1.1"},
    {"mgmt", "1.3.6.1.2"},
    {"mib-2", "1.3.6.1.2.1"},
    {"system", "1.3.6.1.2.1.1"},
    {"sysDescr", "1.3.6.1.2.1.1.1"},
    {"sysObjectID", "1.3.6.1.2.1.1.2"},
    {"sysUpTime", "1.3.6.1.2.1.1.3"},
    {"sysContact", "1.3.6.1.2.1.1.4"},
    {"sysName", "1.3.6.1.2.1.1.5"},
    {"sysLocation", "1.3.6.1.2.1.1.6"},
    {"sysServices", "1.3.6.1.2.1.1.7"},
    {"interfaces", "1.3.6.1.2.1.2"},
    {"ifNumber", "1.3.6.1.2.1.2.1"},
    {"ifTable", "1.3.6.1.2.1.2.2"},
    {"ifEntry", "1.3.6.1.2.1.2.2.1"},
    {"at", "1.3.6.1.2.1.3"},
    {"ip", "1.3.6.1.2.1.4"},
    {"icmp", "1.3.6.1.2.1.5"},
    {"tcp", "1.3.6.1.2.1.6"},
    {"udp", "1.3.6.1.2.1.7"},
    {"egp", "1.3.6.1.2.1.8"},
    {"transmission", "1.3.6.1.2.1.10"},
    {"snmp", "1.3.6.1.2.1.11"},
    {"rmon", "1.3.6.1.2.1.16"},
    {"dot1dBridge", "1.3.6.1.2.1.17"},
    {"host", "1.3.6.1.2.1.25"},
    {"ifMIB", "1.3.6.1.2.1.31"},
    {"entityMIB", "1.3.6.1.2.1.47"},
    {"experimental", "1.3.6.1.3"},
    {"private", "1.3.6.1.4"},
    {"enterprises", "1.3.6.1.4.1"},
    {"security", "1.3.6.1.5"},
    {"snmpV2", "1.3.6.1.6"},
    {"snmpDomains", "1.3.6.1.6.1"},
    {"snmpProxys", "1.3.6.1.6.2"},
    {"snmpModules", "1.3.6.1.6.3"},
    {"snmpFrameworkMIB", "1.3.6.1.6.3.10"},
    {"snmpMPDMIB", "1.3.6.1.6.3.11"},
    {"snmpTargetMIB", "1.3.6.1.6.3.12"},
    {"snmpNotificationMIB", "1.3.6.1.6.3.13"},
    {"snmpUsmMIB", "1.3.6.1.6.3.15"},
    {"snmpVacmMIB", "1.3.6.1.6.3.16"},
    {"snmpCommunityMIB", "1.3.6.1.6.3.18"},
};

// Dotted numbers only, each one a 32-bit sub-identifier.
bool parseArcs(std::string_view text, SnmpOid *oid) {
  while (true) {
    size_t dot = text.find('.');
    uint32_t arc = 0;
    if (wireParseDecimal(OPEN_TYPE_U32, text.substr(0, dot), &arc) != 0) return false;
    oid->push_back(arc);
    if (dot == std::string_view::npos) return oid->size() <= kSnmpOidMaxArcs;
    text.remove_prefix(dot + 1);
  }
}

SnmpOid knownOid(const MibName &entry) {
  SnmpOid oid;
  parseArcs(entry.oid, &oid);
  return oid;
}

bool isPrefix(const SnmpOid &prefix, const SnmpOid &oid) {
  return prefix.size() <= oid.size() && std::equal(prefix.begin(), prefix.end(), oid.begin());
}

}  // namespace

bool snmpOidParse(const std::string &text, SnmpOid *oid) {
  oid->clear();
  if (text.empty()) return false;
  if (text[0] == '.' || (text[0] >= '0' && text[0] <= '9')) return parseArcs(text[0] == '.' ? text.substr(1) : text, oid);
  size_t dot = text.find('.');
  std::string name = text.substr(0, dot);
  for (const MibName &entry : kMibNames) {
    if (name != entry.name) continue;
    if (dot == std::string::npos) return parseArcs(entry.oid, oid);
    return parseArcs(std::string(entry.oid) + text.substr(dot), oid);
  }
  return false;
}

std::string snmpOidDotted(const SnmpOid &oid) {
  std::string text;
  for (uint32_t arc : oid) text += (text.empty() ? "" : ".") + std::to_string(arc);
  return text;
}

std::string snmpOidNamed(const SnmpOid &oid) {
  const MibName *best = nullptr;
  size_t bestLength = 0;
  for (const MibName &entry : kMibNames) {
    SnmpOid known = knownOid(entry);
    if (known.size() > bestLength && isPrefix(known, oid)) best = &entry, bestLength = known.size();
  }
  if (best == nullptr) return snmpOidDotted(oid);
  std::string text = best->name;
  for (size_t i = bestLength; i < oid.size(); ++i) text += "." + std::to_string(oid[i]);
  return text;
}
