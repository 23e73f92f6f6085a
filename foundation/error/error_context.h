// Error context: what a thread was doing, printed by crash reports.
//
// Each thread keeps a stack of entries (a label and a value rendered as text
// only when a report prints it). ErrorContext is the scoped guard: it pushes
// an entry, creating the thread's stack when there is none, and pops it on
// every exit, exceptions included, destroying the stack when it empties. A
// report logs every entry, oldest first, as "Context": "<label> <value>".
//
//   ErrorContext node("node", name);      // report shows "node pCube1"
//   ErrorContext stream("stream", i);     // report shows "stream 3"
//
// Entries point at their values: a value must outlive its guard.
#pragma once

#include "foundation/platform.h"

namespace foundation {

class Allocator;

namespace error_context {

typedef void (*RenderFunction)(const void* value, char* out, unsigned size);

// Creates the calling thread's stack on `allocator` (it must have none).
void create_stack(Allocator& allocator);
// Destroys the calling thread's stack (it must have one).
void destroy_stack();

void push(const char* label, const void* value, RenderFunction render);
void pop();
// Number of entries on the calling thread's stack.
uint32_t depth();

// Logs every entry of the calling thread's stack to system "Context".
void log_entries();

// Writes the entries as one line, oldest first: "node pCube1 > key local"
// ("" when there are none).
void format(char* out, unsigned size);

} // namespace error_context

class ErrorContext {
public:
  ErrorContext(const char* label, const char* text);
  ErrorContext(const char* label, int32_t value);
  ErrorContext(const char* label, uint32_t value);
  ~ErrorContext();
  ErrorContext(const ErrorContext&) = delete;
  ErrorContext& operator=(const ErrorContext&) = delete;

private:
  union {
    int32_t _int;
    uint32_t _unsigned;
  };
  bool _pushed;
};

} // namespace foundation
