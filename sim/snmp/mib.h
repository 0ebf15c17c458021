#pragma once
// OIDs as SNMP views and filters name their subtrees: dotted numbers
// ("1.3.6.1.2.1.1", a leading dot allowed) or a name of the standard tree
// followed by more numbers ("system", "ifEntry.1", "enterprises.32473").
#include <cstdint>
#include <string>
#include <vector>

using SnmpOid = std::vector<uint32_t>;

// At most 128 sub-identifiers, as SNMP allows.
constexpr size_t kSnmpOidMaxArcs = 128;

// False for text that is neither form.
bool snmpOidParse(const std::string &text, SnmpOid *oid);
std::string snmpOidDotted(const SnmpOid &oid);
// The name of the longest known subtree it lies in, then the rest as
// numbers; dotted when no name covers it.
std::string snmpOidNamed(const SnmpOid &oid);
