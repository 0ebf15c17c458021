// The simulated SNMP agent's key localisation and OID names, which the
// routes show only through a few answers.
#include <gtest/gtest.h>

#include <string>

#include "sim/snmp_keys.h"
#include "sim/snmp_mib.h"
#include "sim/model_snmp.h"

namespace {

std::string hexOf(const SnmpBytes &bytes) { return snmpHex(bytes); }

SnmpBytes bytesOf(const std::string &hex) {
  SnmpBytes bytes;
  EXPECT_TRUE(snmpUnhex(hex, &bytes)) << hex;
  return bytes;
}

struct DigestCase {
  SnmpHash hash;
  std::string abc, thousand;  // of "abc", and of 1000 bytes 0, 1, ... 255, 0, ... (several blocks)
};

TEST(SnmpKeys, DigestsOfOneBlockAndOfSeveral) {
  const DigestCase cases[] = {
      {SnmpHash::Md5, "900150983cd24fb0d6963f7d28e17f72", "cbecbdb0fdd5cec1e242493b6008cc79"},
      {SnmpHash::Sha1, "a9993e364706816aba3e25717850c26c9cd0d89d", "af0b191c2de46fe13fe0908f5a6a4e90e0cafc46"},
      {SnmpHash::Sha512,
       "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e"
       "2a9ac94fa54ca49f",
       "6cd2eda9bf9c0597129029b0054b81e433f6b8b7b499a75eb705efd74bac194149835b1d1a14c48be696e4d588456d512a22eae7aa1b57"
       "be2b56eae7d35e08cb"},
  };
  SnmpBytes thousand(1000);
  for (size_t i = 0; i < thousand.size(); ++i) thousand[i] = static_cast<uint8_t>(i);
  for (const DigestCase &c : cases) {
    EXPECT_EQ(hexOf(snmpDigest(c.hash, reinterpret_cast<const uint8_t *>("abc"), 3)), c.abc);
    EXPECT_EQ(hexOf(snmpDigest(c.hash, thousand.data(), thousand.size())), c.thousand);
  }
}

TEST(SnmpKeys, PassPhrasesLocaliseAsTheUsmExampleSays) {
  const SnmpBytes engine = bytesOf("000000000000000000000002");
  EXPECT_EQ(hexOf(snmpLocalizedKey(SnmpHash::Md5, "maplesyrup", engine)), "526f5eed9fcce26f8964c2930787d82b");
  EXPECT_EQ(hexOf(snmpLocalizedKey(SnmpHash::Sha1, "maplesyrup", engine)), "6695febc9288e36282235fc7151f128497b38f3f");
  EXPECT_EQ(hexOf(snmpLocalizedKey(SnmpHash::Sha512, "maplesyrup", engine)).substr(0, 32),
            "22a5a36cedfcc085807a128d7bc6c238");
  // Another engine, another key.
  EXPECT_NE(snmpLocalizedKey(SnmpHash::Md5, "maplesyrup", bytesOf("000000000000000000000003")),
            snmpLocalizedKey(SnmpHash::Md5, "maplesyrup", engine));
  // A cipher that needs more than the hash gives gets the hash of the key appended.
  EXPECT_EQ(hexOf(snmpKeyOfLength(SnmpHash::Md5, bytesOf("526f5eed9fcce26f8964c2930787d82b"), 32)),
            "526f5eed9fcce26f8964c2930787d82bfa24a92467426c2f4b09192be10dfaec");
}

TEST(SnmpMib, SubtreesReadAsNumbersOrNamesAndShowBothWays) {
  struct Case {
    const char *text, *dotted, *named;
  };
  const Case cases[] = {
      {"1", "1", "iso"},
      {".1.3.6.1.2.1.1", "1.3.6.1.2.1.1", "system"},
      {"ifEntry.10", "1.3.6.1.2.1.2.2.1.10", "ifEntry.10"},
      {"enterprises.32473.1", "1.3.6.1.4.1.32473.1", "enterprises.32473.1"},
      {"snmpUsmMIB", "1.3.6.1.6.3.15", "snmpUsmMIB"},
      {"2.5.4", "2.5.4", "2.5.4"},
      {"1.3.6.1.2.1.1.4294967295", "1.3.6.1.2.1.1.4294967295", "system.4294967295"},
  };
  for (const Case &c : cases) {
    SnmpOid oid;
    ASSERT_TRUE(snmpOidParse(c.text, &oid)) << c.text;
    EXPECT_EQ(snmpOidDotted(oid), c.dotted);
    EXPECT_EQ(snmpOidNamed(oid), c.named);
  }
  for (const char *bad : {"", ".", "1..3", "1.3.", "1.3.x", "System", "ifEntry.", "-1", "1.4294967296", "1. 3"}) {
    SnmpOid oid;
    EXPECT_FALSE(snmpOidParse(bad, &oid)) << bad;
  }
  std::string longest = "1";
  for (size_t i = 1; i < kSnmpOidMaxArcs; ++i) longest += ".1";
  SnmpOid oid;
  EXPECT_TRUE(snmpOidParse(longest, &oid));
  EXPECT_FALSE(snmpOidParse(snmpOidDotted(oid) + ".1", &oid)) << "more than 128 sub-identifiers";
}

}  // namespace
