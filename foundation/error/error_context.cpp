#include "foundation/error/error_context.h"

#include "foundation/collection/vector.h"
#include "foundation/error/assert.h"
#include "foundation/error/log.h"
#include "foundation/memory/memory_globals.h"

#include <stdio.h>

namespace foundation {

namespace {

struct Entry {
  const char* label;
  const void* value;
  error_context::RenderFunction render;
};

thread_local Vector<Entry>* _thread_error_context_stack = nullptr;

void render_text(const void* value, char* out, unsigned size) {
  snprintf(out, size, "%s", static_cast<const char*>(value));
}

void render_int(const void* value, char* out, unsigned size) {
  snprintf(out, size, "%d", int(*static_cast<const int32_t*>(value)));
}

void render_unsigned(const void* value, char* out, unsigned size) {
  snprintf(out, size, "%u", unsigned(*static_cast<const uint32_t*>(value)));
}

} // namespace

namespace error_context {

void create_stack(Allocator& allocator) {
  TW_ASSERT(!_thread_error_context_stack);
  _thread_error_context_stack = allocator.make_new<Vector<Entry>>(allocator);
}

void destroy_stack() {
  TW_ASSERT(_thread_error_context_stack);
  Vector<Entry>* stack = _thread_error_context_stack;
  _thread_error_context_stack = nullptr;
  if (stack)
    stack->allocator().make_delete(stack);
}

void push(const char* label, const void* value, RenderFunction render) {
  if (!_thread_error_context_stack)
    create_stack(memory_globals::default_allocator());
  Entry e = {label, value, render};
  _thread_error_context_stack->push_back(e);
}

void pop() {
  Vector<Entry>* stack = _thread_error_context_stack;
  if (!stack || stack->empty())
    return;
  stack->pop_back();
  if (stack->empty())
    destroy_stack();
}

uint32_t depth() { return _thread_error_context_stack ? _thread_error_context_stack->size() : 0; }

void log_entries() {
  Vector<Entry>* stack = _thread_error_context_stack;
  if (!stack)
    return;
  for (const Entry& e : *stack) {
    char value[512];
    e.render(e.value, value, sizeof(value));
    log_error("Context", "%s %s", e.label, value);
  }
}

void format(char* out, unsigned size) {
  if (size == 0)
    return;
  out[0] = 0;
  Vector<Entry>* stack = _thread_error_context_stack;
  if (!stack)
    return;
  unsigned used = 0;
  for (const Entry& e : *stack) {
    char value[512];
    e.render(e.value, value, sizeof(value));
    int n = snprintf(out + used, size - used, "%s%s %s", used ? " > " : "", e.label, value);
    if (n < 0 || unsigned(n) >= size - used)
      return;
    used += unsigned(n);
  }
}

} // namespace error_context

// Without a memory system there is nowhere to keep a stack; such guards do nothing.
ErrorContext::ErrorContext(const char* label, const char* text) : _int(0), _pushed(memory_globals::is_inited()) {
  if (_pushed)
    error_context::push(label, text, &render_text);
}

ErrorContext::ErrorContext(const char* label, int32_t value) : _int(value), _pushed(memory_globals::is_inited()) {
  if (_pushed)
    error_context::push(label, &_int, &render_int);
}

ErrorContext::ErrorContext(const char* label, uint32_t value)
    : _unsigned(value), _pushed(memory_globals::is_inited()) {
  if (_pushed)
    error_context::push(label, &_unsigned, &render_unsigned);
}

ErrorContext::~ErrorContext() {
  if (_pushed)
    error_context::pop();
}

} // namespace foundation
