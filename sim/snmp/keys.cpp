#include "sim/snmp/keys.h"

#include <cstring>

namespace {

uint32_t rotl32(uint32_t x, unsigned n) { return x << n | x >> (32 - n); }
uint64_t rotr64(uint64_t x, unsigned n) { return x >> n | x << (64 - n); }

// The padding shared by the three hashes: a one bit, zeros, and the message
// length in bits in the last `lengthBytes` bytes of the last block.
template <typename Compress>
void hashBlocks(const uint8_t *data, size_t length, size_t block, size_t lengthBytes, bool bigEndian,
                Compress compress) {
  size_t whole = length / block * block;
  for (size_t at = 0; at < whole; at += block) compress(data + at);
  std::vector<uint8_t> tail(data + whole, data + length);
  tail.push_back(0x80);
  while ((tail.size() + lengthBytes) % block != 0) tail.push_back(0);
  uint64_t bits = static_cast<uint64_t>(length) * 8;
  for (size_t i = 0; i < lengthBytes; ++i) {
    size_t shift = 8 * (bigEndian ? lengthBytes - 1 - i : i);
    tail.push_back(shift < 64 ? static_cast<uint8_t>(bits >> shift) : 0);
  }
  for (size_t at = 0; at < tail.size(); at += block) compress(tail.data() + at);
}

template <typename Word>
void putWords(const Word *words, size_t count, bool bigEndian, SnmpBytes &out) {
  for (size_t i = 0; i < count; ++i) {
    for (size_t b = 0; b < sizeof(Word); ++b) {
      size_t shift = 8 * (bigEndian ? sizeof(Word) - 1 - b : b);
      out.push_back(static_cast<uint8_t>(words[i] >> shift));
    }
  }
}

template <typename Word>
Word wordAt(const uint8_t *p, bool bigEndian) {
  Word w = 0;
  for (size_t b = 0; b < sizeof(Word); ++b) {
    size_t shift = 8 * (bigEndian ? sizeof(Word) - 1 - b : b);
    w |= static_cast<Word>(p[b]) << shift;
  }
  return w;
}

const uint32_t kMd5Sines[64] = {
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391};
const uint8_t kMd5Shifts[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};

SnmpBytes md5(const uint8_t *data, size_t length) {
  uint32_t h[4] = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};
  hashBlocks(data, length, 64, 8, false, [&h](const uint8_t *p) {
    uint32_t a = h[0], b = h[1], c = h[2], d = h[3];
    for (unsigned i = 0; i < 64; ++i) {
      unsigned round = i / 16, g = 0;
      uint32_t f = 0;
      switch (round) {
        case 0: f = (b & c) | (~b & d); g = i; break;
        case 1: f = (d & b) | (~d & c); g = (5 * i + 1) % 16; break;
        case 2: f = b ^ c ^ d; g = (3 * i + 5) % 16; break;
        default: f = c ^ (b | ~d); g = (7 * i) % 16; break;
      }
      f += a + kMd5Sines[i] + wordAt<uint32_t>(p + 4 * g, false);
      a = d;
      d = c;
      c = b;
      b += rotl32(f, kMd5Shifts[round][i % 4]);
    }
    h[0] += a, h[1] += b, h[2] += c, h[3] += d;
  });
  SnmpBytes out;
  putWords(h, 4, false, out);
  return out;
}

SnmpBytes sha1(const uint8_t *data, size_t length) {
  uint32_t h[5] = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476, 0xc3d2e1f0};
  hashBlocks(data, length, 64, 8, true, [&h](const uint8_t *p) {
    uint32_t w[80];
    for (unsigned i = 0; i < 16; ++i) w[i] = wordAt<uint32_t>(p + 4 * i, true);
    for (unsigned i = 16; i < 80; ++i) w[i] = rotl32(w[i - 3] ^ w[i - 8] ^ w[i - 14] ^ w[i - 16], 1);
    uint32_t a = h[0], b = h[1], c = h[2], d = h[3], e = h[4];
    for (unsigned i = 0; i < 80; ++i) {
      uint32_t f = 0, k = 0;
      if (i < 20) f = (b & c) | (~b & d), k = 0x5a827999;
      else if (i < 40) f = b ^ c ^ d, k = 0x6ed9eba1;
      else if (i < 60) f = (b & c) | (b & d) | (c & d), k = 0x8f1bbcdc;
      else f = b ^ c ^ d, k = 0xca62c1d6;
      uint32_t t = rotl32(a, 5) + f + e + k + w[i];
      e = d, d = c, c = rotl32(b, 30), b = a, a = t;
    }
    h[0] += a, h[1] += b, h[2] += c, h[3] += d, h[4] += e;
  });
  SnmpBytes out;
  putWords(h, 5, true, out);
  return out;
}

const uint64_t kSha512Roots[80] = {
    0x428a2f98d728ae22, 0x7137449123ef65cd, 0xb5c0fbcfec4d3b2f, 0xe9b5dba58189dbbc, 0x3956c25bf348b538,
    0x59f111f1b605d019, 0x923f82a4af194f9b, 0xab1c5ed5da6d8118, 0xd807aa98a3030242, 0x12835b0145706fbe,
    0x243185be4ee4b28c, 0x550c7dc3d5ffb4e2, 0x72be5d74f27b896f, 0x80deb1fe3b1696b1, 0x9bdc06a725c71235,
    0xc19bf174cf692694, 0xe49b69c19ef14ad2, 0xefbe4786384f25e3, 0x0fc19dc68b8cd5b5, 0x240ca1cc77ac9c65,
    0x2de92c6f592b0275, 0x4a7484aa6ea6e483, 0x5cb0a9dcbd41fbd4, 0x76f988da831153b5, 0x983e5152ee66dfab,
    0xa831c66d2db43210, 0xb00327c898fb213f, 0xbf597fc7beef0ee4, 0xc6e00bf33da88fc2, 0xd5a79147930aa725,
    0x06ca6351e003826f, 0x142929670a0e6e70, 0x27b70a8546d22ffc, 0x2e1b21385c26c926, 0x4d2c6dfc5ac42aed,
    0x53380d139d95b3df, 0x650a73548baf63de, 0x766a0abb3c77b2a8, 0x81c2c92e47edaee6, 0x92722c851482353b,
    0xa2bfe8a14cf10364, 0xa81a664bbc423001, 0xc24b8b70d0f89791, 0xc76c51a30654be30, 0xd192e819d6ef5218,
    0xd69906245565a910, 0xf40e35855771202a, 0x106aa07032bbd1b8, 0x19a4c116b8d2d0c8, 0x1e376c085141ab53,
    0x2748774cdf8eeb99, 0x34b0bcb5e19b48a8, 0x391c0cb3c5c95a63, 0x4ed8aa4ae3418acb, 0x5b9cca4f7763e373,
    0x682e6ff3d6b2b8a3, 0x748f82ee5defb2fc, 0x78a5636f43172f60, 0x84c87814a1f0ab72, 0x8cc702081a6439ec,
    0x90befffa23631e28, 0xa4506cebde82bde9, 0xbef9a3f7b2c67915, 0xc67178f2e372532b, 0xca273eceea26619c,
    0xd186b8c721c0c207, 0xeada7dd6cde0eb1e, 0xf57d4f7fee6ed178, 0x06f067aa72176fba, 0x0a637dc5a2c898a6,
    0x113f9804bef90dae, 0x1b710b35131c471b, 0x28db77f523047d84, 0x32caab7b40c72493, 0x3c9ebe0a15c9bebc,
    0x431d67c49c100d4c, 0x4cc5d4becb3e42b6, 0x597f299cfc657e2a, 0x5fcb6fab3ad6faec, 0x6c44198c4a475817};

SnmpBytes sha512(const uint8_t *data, size_t length) {
  uint64_t h[8] = {0x6a09e667f3bcc908, 0xbb67ae8584caa73b, 0x3c6ef372fe94f82b, 0xa54ff53a5f1d36f1,
                   0x510e527fade682d1, 0x9b05688c2b3e6c1f, 0x1f83d9abfb41bd6b, 0x5be0cd19137e2179};
  hashBlocks(data, length, 128, 16, true, [&h](const uint8_t *p) {
    uint64_t w[80];
    for (unsigned i = 0; i < 16; ++i) w[i] = wordAt<uint64_t>(p + 8 * i, true);
    for (unsigned i = 16; i < 80; ++i) {
      uint64_t s0 = rotr64(w[i - 15], 1) ^ rotr64(w[i - 15], 8) ^ (w[i - 15] >> 7);
      uint64_t s1 = rotr64(w[i - 2], 19) ^ rotr64(w[i - 2], 61) ^ (w[i - 2] >> 6);
      w[i] = w[i - 16] + s0 + w[i - 7] + s1;
    }
    uint64_t v[8];
    memcpy(v, h, sizeof v);
    for (unsigned i = 0; i < 80; ++i) {
      uint64_t s1 = rotr64(v[4], 14) ^ rotr64(v[4], 18) ^ rotr64(v[4], 41);
      uint64_t choice = (v[4] & v[5]) ^ (~v[4] & v[6]);
      uint64_t t1 = v[7] + s1 + choice + kSha512Roots[i] + w[i];
      uint64_t s0 = rotr64(v[0], 28) ^ rotr64(v[0], 34) ^ rotr64(v[0], 39);
      uint64_t majority = (v[0] & v[1]) ^ (v[0] & v[2]) ^ (v[1] & v[2]);
      memmove(v + 1, v, 7 * sizeof v[0]);
      v[4] += t1;
      v[0] = t1 + s0 + majority;
    }
    for (unsigned i = 0; i < 8; ++i) h[i] += v[i];
  });
  SnmpBytes out;
  putWords(h, 8, true, out);
  return out;
}

constexpr size_t kStretchedLength = 1048576;

}  // namespace

SnmpBytes snmpDigest(SnmpHash hash, const uint8_t *data, size_t length) {
  switch (hash) {
    case SnmpHash::Md5: return md5(data, length);
    case SnmpHash::Sha1: return sha1(data, length);
    case SnmpHash::Sha512: return sha512(data, length);
  }
  return {};
}

size_t snmpDigestSize(SnmpHash hash) {
  switch (hash) {
    case SnmpHash::Md5: return 16;
    case SnmpHash::Sha1: return 20;
    case SnmpHash::Sha512: return 64;
  }
  return 0;
}

SnmpBytes snmpLocalizedKey(SnmpHash hash, const std::string &passPhrase, const SnmpBytes &engineId) {
  if (passPhrase.empty()) return {};
  SnmpBytes stretched(kStretchedLength);
  for (size_t i = 0; i < stretched.size(); ++i) stretched[i] = static_cast<uint8_t>(passPhrase[i % passPhrase.size()]);
  SnmpBytes master = snmpDigest(hash, stretched.data(), stretched.size());
  SnmpBytes localized = master;
  localized.insert(localized.end(), engineId.begin(), engineId.end());
  localized.insert(localized.end(), master.begin(), master.end());
  return snmpDigest(hash, localized.data(), localized.size());
}

SnmpBytes snmpKeyOfLength(SnmpHash hash, SnmpBytes key, size_t length) {
  while (!key.empty() && key.size() < length) {
    SnmpBytes more = snmpDigest(hash, key.data(), key.size());
    key.insert(key.end(), more.begin(), more.end());
  }
  key.resize(length);
  return key;
}
