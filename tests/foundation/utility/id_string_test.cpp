#include "foundation/io/file_system.h"
#include "foundation/memory/memory_globals.h"
#include "foundation/utility/id_string.h"
#include "foundation/utility/murmur_hash.h"
#include "support/test_support.h"

#include <set>
#include <string>
#include <vector>

using namespace foundation;

// The published verification: hash the keys {}, {0}, {0,1}, ... {0..254}
// with seed 256 - length, hash the concatenated results with seed 0, and
// read the first four bytes little-endian.
TEST(MurmurHash, PublishedVerificationValues) {
  unsigned char key[256];
  unsigned char hashes32[256 * 4];
  unsigned char hashes64[256 * 8];
  for (int i = 0; i < 256; ++i) {
    key[i] = (unsigned char)i;
    uint32_t h32 = murmur_hash(key, uint32_t(i), uint32_t(256 - i));
    uint64_t h64 = murmur_hash_64(key, uint32_t(i), uint64_t(256 - i));
    for (int b = 0; b < 4; ++b)
      hashes32[4 * i + b] = (unsigned char)(h32 >> (8 * b));
    for (int b = 0; b < 8; ++b)
      hashes64[8 * i + b] = (unsigned char)(h64 >> (8 * b));
  }
  EXPECT_EQ(murmur_hash(hashes32, sizeof(hashes32), 0), 0x27864C1Eu);
  EXPECT_EQ(uint32_t(murmur_hash_64(hashes64, sizeof(hashes64), 0)), 0x1F0D3804u);
}

TEST(IdString, HashesAndTheirPrintedForms) {
  EXPECT_EQ(IdString64("").id(), 0u); // the final mix of h = 0 is 0
  EXPECT_EQ(IdString32("").id(), 0u);
  IdString64 a("message");
  EXPECT_EQ(a.id(), murmur_hash_64("message", 7, 0));
  EXPECT_EQ(IdString32("message").id(), uint32_t(a.id() >> 32));
  EXPECT_EQ(IdString64(4, "messageXYZ"), IdString64("mess"));
  EXPECT_STREQ(IdString64::from_id(0x1234).to_string(), "#ID[0000000000001234]");
  EXPECT_STREQ(IdString32("").to_string(), "#ID[00000000]");
  char hex[17];
  a.to_hex(hex);
  EXPECT_EQ(strlen(hex), 16u);
  EXPECT_EQ(hash_key(a), murmur_hash(&a, 8, 0));
}

TEST(IdString, PrintedTextsStayValidUntilTheBufferWraps) {
  std::vector<const char*> texts;
  std::set<const char*> distinct;
  for (int i = 0; i < 18; ++i) {
    texts.push_back(IdString64::from_id(uint64_t(i)).to_string());
    distinct.insert(texts.back());
  }
  EXPECT_EQ(distinct.size(), 18u); // 18 * 22 bytes fit in the buffer
  EXPECT_STREQ(texts[3], "#ID[0000000000000003]");
  // Enough to wrap: an early text gets overwritten.
  for (int i = 0; i < 40; ++i)
    IdString64::from_id(uint64_t(1000 + i)).to_string();
  EXPECT_STRNE(texts[0], "#ID[0000000000000000]");
}

TEST(IdStringRepository, RecordsEachStringOnceInFirstSeenOrder) {
  test::TempDirectory dir;
  std::string path = dir.file("ids.bin");
  IdStringRepository* r = idstring::make_respository(memory_globals::default_allocator(), path.c_str());
  EXPECT_FALSE(test::read_file(path).size()); // nothing opened before the first id
  idstring::set_repository(r);
  IdString64 a("alpha");
  IdString32 b("beta");
  IdString64 again("alpha");
  IdString64 known = IdString64::known(77, "gamma");
  idstring::set_repository(nullptr);
  IdString64 unrecorded("delta"); // no repository: nothing recorded
  EXPECT_EQ(r->count(), 3u);
  r->flush();
  EXPECT_EQ(test::read_file(path), std::string("alpha\0beta\0gamma\0", 17));
  idstring::destroy_repository(r);
  (void)a;
  (void)b;
  (void)again;
  (void)known;
  (void)unrecorded;
}
