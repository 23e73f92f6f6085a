#include "foundation/error/file_logging.h"

#include "foundation/error/assert.h"
#include "foundation/error/log_sinks.h"
#include "foundation/io/file_system.h"
#include "foundation/memory/memory_globals.h"

#include <stdio.h>
#include <string.h>

namespace foundation {

namespace {

FileLogging* __instance = nullptr;

void sink_append(const char* timestamp, const char* system, const char* message) {
  if (__instance)
    __instance->append(timestamp, system, message);
}
void sink_flush() {
  if (__instance)
    __instance->flush();
}
void sink_finish() {
  if (__instance)
    __instance->finish();
}

const FileLogSink SINK = {&sink_append, &sink_flush, &sink_finish};

} // namespace

void FileLogging::create(const char* local_filename) {
  TW_ASSERT_MSG(local_filename && local_filename[0] != 0, "Logging filename is required");
  TW_ASSERT_MSG(__instance == 0, "Singleton already exists.");
  if (!local_filename || !local_filename[0] || __instance)
    return;
  Allocator& a = memory_globals::default_allocator();
  __instance = a.make_new<FileLogging>(local_filename);
  log_sinks::set_file_log(&SINK);
}

void FileLogging::destroy() {
  FileLogging* instance = &FileLogging::instance();
  log_sinks::set_file_log(nullptr);
  __instance = nullptr;
  memory_globals::default_allocator().make_delete(instance);
}

bool FileLogging::exists() { return __instance != nullptr; }

FileLogging& FileLogging::instance() {
  TW_ASSERT_MSG(__instance, "Singleton does not exist.");
  return *__instance;
}

FileLogging::FileLogging(const char* local_filename)
    : _allocator("filelog", memory_globals::default_allocator(), true), _lock(4000), _text(_allocator),
      _file_system(nullptr), _file(nullptr) {
  _file_system = _allocator.make_new<FileSystem>(_allocator, "");
  _file = _file_system->open_output(local_filename, _allocator, false);
}

FileLogging::~FileLogging() noexcept(false) {
  finish();
  _allocator.make_delete(_file_system);
  _text.set_capacity(0);
}

void FileLogging::append(const char* timestamp, const char* system, const char* message) {
  ScopedCriticalSection lock(_lock);
  if (!_file)
    return;
  char line[32768];
  int n = snprintf(line, sizeof(line), "%s [%s] %s\n", timestamp, system, message);
  if (n < 0)
    return;
  if (n >= int(sizeof(line)))
    n = int(sizeof(line)) - 1;
  _text.push_back_n(line, uint32_t(n));
}

void FileLogging::flush() {
  ScopedCriticalSection lock(_lock);
  if (!_file)
    return;
  if (!_text.empty()) {
    _file->write(_text.data(), _text.size());
    _text.clear();
  }
  _file->flush();
}

void FileLogging::finish() {
  ScopedCriticalSection lock(_lock);
  flush();
  if (_file) {
    _file_system->close(_file);
    _file = nullptr;
  }
}

} // namespace foundation
