#pragma once
// How an SNMPv3 agent turns a user's pass phrase into the key it keeps:
// the pass phrase is stretched to a key with the authentication protocol's
// hash and localised to the engine identifier, so that the agent never
// keeps the pass phrase itself, and one engine's key is useless to another.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

using SnmpBytes = std::vector<uint8_t>;

enum class SnmpHash { Md5, Sha1, Sha512 };

SnmpBytes snmpDigest(SnmpHash hash, const uint8_t *data, size_t length);
size_t snmpDigestSize(SnmpHash hash);

// The pass phrase repeated over a megabyte, hashed, then hashed again
// between two copies of itself around the engine identifier.
SnmpBytes snmpLocalizedKey(SnmpHash hash, const std::string &passPhrase, const SnmpBytes &engineId);
// A key cut, or lengthened by appending the hash of the key so far, to the
// length a cipher needs.
SnmpBytes snmpKeyOfLength(SnmpHash hash, SnmpBytes key, size_t length);
