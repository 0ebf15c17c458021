// The simulated SNMP agent's key localisation and OID names, which the
// routes show only through a few answers.
#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "sim/snmp/keys.h"
#include "sim/snmp/mib.h"
#include "sim/snmp/model.h"

namespace {

// The published vectors: the digests of "abc", and "maplesyrup" localised to
// engine 00...02 as in the USM example (of SHA-512 the first 16 bytes).
TEST(SnmpKeys, PassPhrasesLocaliseAsThePublishedExamplesSay) {
  const std::tuple<SnmpHash, std::string, std::string> cases[] = {
      {SnmpHash::Md5, "900150983cd24fb0d6963f7d28e17f72", "526f5eed9fcce26f8964c2930787d82b"},
      {SnmpHash::Sha1, "a9993e364706816aba3e25717850c26c9cd0d89d", "6695febc9288e36282235fc7151f128497b38f3f"},
      {SnmpHash::Sha512,
       "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
       "2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f",
       "22a5a36cedfcc085807a128d7bc6c238"},
  };
  SnmpBytes engine(12, 0);
  engine[11] = 2;
  for (const auto &[hash, abc, key] : cases) {
    EXPECT_EQ(snmpHex(snmpDigest(hash, reinterpret_cast<const uint8_t *>("abc"), 3)), abc);
    EXPECT_EQ(snmpHex(snmpLocalizedKey(hash, "maplesyrup", engine)).substr(0, key.size()), key);
  }
  // A cipher that needs more than the hash gives gets the hash of the key appended.
  EXPECT_EQ(snmpHex(snmpKeyOfLength(SnmpHash::Md5, snmpLocalizedKey(SnmpHash::Md5, "maplesyrup", engine), 32)),
            "526f5eed9fcce26f8964c2930787d82bfa24a92467426c2f4b09192be10dfaec");
}

TEST(SnmpMib, SubtreesReadAsNumbersOrNamesAndShowBothWays) {
  const std::tuple<const char *, const char *, const char *> cases[] = {  // read, as numbers, as names
      {"1", "1", "iso"},           {".1.3.6.1.2.1.1", "1.3.6.1.2.1.1", "system"},
      {"2.5.4", "2.5.4", "2.5.4"}, {"ifEntry.10", "1.3.6.1.2.1.2.2.1.10", "ifEntry.10"},
      {"snmpUsmMIB", "1.3.6.1.6.3.15", "snmpUsmMIB"},
      {"enterprises.32473.1", "1.3.6.1.4.1.32473.1", "enterprises.32473.1"},
      {"1.3.6.1.2.1.1.4294967295", "1.3.6.1.2.1.1.4294967295", "system.4294967295"},
  };
  SnmpOid oid;
  for (const auto &[text, dotted, named] : cases) {
    ASSERT_TRUE(snmpOidParse(text, &oid)) << text;
    EXPECT_EQ(snmpOidDotted(oid), dotted);
    EXPECT_EQ(snmpOidNamed(oid), named);
  }
  for (const char *bad : {"", ".", "1..3", "1.3.", "1.3.x", "System", "ifEntry.", "-1", "1.4294967296", "1. 3"}) {
    EXPECT_FALSE(snmpOidParse(bad, &oid)) << bad;
  }
  std::string longest = "1";
  for (size_t i = 1; i < kSnmpOidMaxArcs; ++i) longest += ".1";
  EXPECT_TRUE(snmpOidParse(longest, &oid));
  EXPECT_FALSE(snmpOidParse(longest + ".1", &oid)) << "more than 128 sub-identifiers";
}

}  // namespace
