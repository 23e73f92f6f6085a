#include "foundation/utility/id_string.h"

#include "foundation/error/assert.h"
#include "foundation/io/file_system.h"
#include "foundation/memory/allocator.h"

#include <atomic>
#include <stdio.h>
#include <string.h>

namespace foundation {

namespace {

std::atomic<IdStringRepository*> g_repository(nullptr);

// Two static rotating buffers, one per identifier width.
char g_buffer64[512];
uint32_t g_offset64 = 0;
char g_buffer32[512];
uint32_t g_offset32 = 0;

void record(uint64_t id, const char* s, uint32_t length) {
  if (IdStringRepository* r = g_repository.load())
    r->record(id, s, length);
}

} // namespace

IdString64::IdString64(const char* s) : IdString64(uint32_t(strlen(s)), s) {}

IdString64::IdString64(uint32_t length, const char* s) : _id(murmur_hash_64(s, length, 0)) { record(_id, s, length); }

IdString64 IdString64::known(uint64_t id, const char* s) {
  record(id, s, uint32_t(strlen(s)));
  return from_id(id);
}

void IdString64::to_hex(char* out) const { snprintf(out, 17, "%016llx", (unsigned long long)_id); }

const char* IdString64::to_string() const {
  if (sizeof(g_buffer64) - g_offset64 < 27)
    g_offset64 = 0;
  char* p = g_buffer64 + g_offset64;
  int n = snprintf(p, 27, "#ID[%016llx]", (unsigned long long)_id);
  g_offset64 += uint32_t(n) + 1;
  return p;
}

IdString32::IdString32(const char* s) : IdString32(uint32_t(strlen(s)), s) {}

IdString32::IdString32(uint32_t length, const char* s) {
  uint64_t full = murmur_hash_64(s, length, 0);
  _id = uint32_t(full >> 32);
  record(full, s, length);
}

void IdString32::to_hex(char* out) const { snprintf(out, 9, "%08x", _id); }

const char* IdString32::to_string() const {
  if (sizeof(g_buffer32) - g_offset32 < 19)
    g_offset32 = 0;
  char* p = g_buffer32 + g_offset32;
  int n = snprintf(p, 19, "#ID[%08x]", _id);
  g_offset32 += uint32_t(n) + 1;
  return p;
}

uint32_t hash_key(IdString64 id) {
  uint64_t v = id.id();
  unsigned char bytes[8];
  for (int i = 0; i < 8; ++i)
    bytes[i] = (unsigned char)(v >> (8 * i));
  return murmur_hash(bytes, 8, 0);
}

IdStringRepository::IdStringRepository(Allocator& allocator, const char* path, bool append)
    : _allocator(&allocator), _ids(allocator), _path(allocator, path), _append(append), _opened(false),
      _file_system(nullptr), _file(nullptr), _lock(4000) {}

IdStringRepository::~IdStringRepository() noexcept(false) {
  if (_file)
    _file_system->close(_file);
  _allocator->make_delete(_file_system);
}

void IdStringRepository::record(uint64_t id, const char* text, uint32_t length) {
  ScopedCriticalSection lock(_lock);
  if (_ids.has(id))
    return;
  _ids.insert(id);
  if (!_opened) {
    _opened = true;
    _file_system = _allocator->make_new<FileSystem>(*_allocator, "");
    _file = _file_system->open_output(_path.c_str(), *_allocator, _append);
  }
  if (_file) {
    _file->write(text, length);
    _file->write("", 1);
  }
}

void IdStringRepository::flush() {
  ScopedCriticalSection lock(_lock);
  if (_file)
    _file->flush();
}

namespace idstring {

IdStringRepository* make_respository(Allocator& allocator, const char* path, bool append) {
  return allocator.make_new<IdStringRepository>(allocator, path, append);
}

void destroy_repository(IdStringRepository* r) {
  if (!r)
    return;
  if (g_repository.load() == r)
    g_repository.store(nullptr);
  Allocator* a = &r->allocator();
  a->make_delete(r);
}

void set_repository(IdStringRepository* r) { g_repository.store(r); }
IdStringRepository* repository() { return g_repository.load(); }

} // namespace idstring
} // namespace foundation
