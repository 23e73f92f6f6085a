// Hashed string identifiers: IdString64 and IdString32.
//
// Names compared often (message types, resource names) become 64- or 32-bit
// numbers: MurmurHash64A of the bytes with seed 0, and its upper 32 bits for
// IdString32. The text is gone, so identifiers print as "#ID[%016llx]" and
// "#ID[%08x]"; to_string() writes into one of two static rotating buffers
// (one per width) and the text stays valid until that buffer wraps around.
//
// An optional process-wide repository records every string hashed, once per
// identifier, as zero-terminated strings in first-seen order in a file, so
// that tools can map identifiers back to text. With no repository, hashing
// never touches a file.
#pragma once

#include "foundation/collection/hash_set.h"
#include "foundation/collection/string.h"
#include "foundation/thread/critical_section.h"
#include "foundation/utility/murmur_hash.h"

namespace foundation {

class FileOutputBuffer;
class FileSystem;

class IdString64 {
public:
  IdString64() : _id(0) {}
  explicit IdString64(const char* s);
  IdString64(uint32_t length, const char* s);
  // A known value and its string (recorded in the repository).
  static IdString64 known(uint64_t id, const char* s);
  // A value whose string is not known here.
  static IdString64 from_id(uint64_t id) {
    IdString64 r;
    r._id = id;
    return r;
  }

  uint64_t id() const { return _id; }
  // "#ID[%016llx]" in a rotating static buffer.
  const char* to_string() const;
  // "%016llx" into `out` (17 bytes).
  void to_hex(char* out) const;

  bool operator==(const IdString64& o) const { return _id == o._id; }
  bool operator!=(const IdString64& o) const { return _id != o._id; }
  bool operator<(const IdString64& o) const { return _id < o._id; }

private:
  uint64_t _id; // low word first in memory on the little-endian targets
};

class IdString32 {
public:
  IdString32() : _id(0) {}
  explicit IdString32(const char* s);
  IdString32(uint32_t length, const char* s);

  uint32_t id() const { return _id; }
  // "#ID[%08x]" in a rotating static buffer.
  const char* to_string() const;
  void to_hex(char* out) const;

  bool operator==(const IdString32& o) const { return _id == o._id; }
  bool operator!=(const IdString32& o) const { return _id != o._id; }
  bool operator<(const IdString32& o) const { return _id < o._id; }

private:
  uint32_t _id;
};

// Hash-table placement of an identifier: MurmurHash2 of its 8 bytes.
uint32_t hash_key(IdString64 id);

// The repository of strings hashed while it exists.
class IdStringRepository {
public:
  IdStringRepository(Allocator& allocator, const char* path, bool append);
  ~IdStringRepository() noexcept(false);

  // Records `text` under `id` unless the id is already known.
  void record(uint64_t id, const char* text, uint32_t length);
  uint32_t count() const { return _ids.size(); }
  void flush();
  Allocator& allocator() const { return *_allocator; }

private:
  Allocator* _allocator;
  HashSet<uint64_t> _ids;
  String _path;
  bool _append;
  bool _opened;
  FileSystem* _file_system;
  FileOutputBuffer* _file;
  CriticalSection _lock;
};

namespace idstring {

// Makes a repository writing to `path` (the spelling is the system's own).
IdStringRepository* make_respository(Allocator& allocator, const char* path, bool append = false);
void destroy_repository(IdStringRepository* repository);

// The process-wide repository, or null.
void set_repository(IdStringRepository* repository);
IdStringRepository* repository();

} // namespace idstring
} // namespace foundation
