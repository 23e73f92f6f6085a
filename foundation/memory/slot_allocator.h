// SlotAllocator: small blocks (under 1024 bytes) in fixed size classes.
//
// Requests go to the first of 33 classes (4, 8, 12, ... 1024 bytes) whose
// slot size holds them and is a multiple of the alignment. A class serves
// slots from 16 KiB pages, each page keeping its bookkeeping in a header in
// its last bytes (so freeing finds it by rounding the address down) and its
// free slots in a list threaded through them. Pages are cut from chunks of
// the backing allocator (64 KiB, aligned to their size); the highest free
// page is used first, a page whose slots are all free goes back to the free
// page list, and a chunk whose pages are all free goes back to the backing
// allocator. The last word of a chunk counts its pages in use.
//
// With memory poisoning on, every slot is followed by a red zone and free
// slots are inaccessible, so an overflow into a neighbour is reported.
#pragma once

#include "foundation/memory/allocator.h"
#include "foundation/thread/critical_section.h"

namespace foundation {

class SlotAllocator : public Allocator {
public:
  static const int NUM_SIZE_CLASSES = 33;
  static const uint32_t PAGE_SIZE = 16384;

  SlotAllocator(const char* name, Allocator& backing, bool thread_safe = true);
  ~SlotAllocator() override;

  void* allocate(uint32_t size, uint32_t align = 4) override;
  void deallocate(void* p) override;
  uint32_t allocated_size(void* p) override;
  // Chunks held times the chunk size.
  uint32_t total_allocated() override;
  void backing_allocators(Vector<Allocator*>& list) override;

  uint32_t max_size() const { return 1024; }
  uint32_t max_align() const { return 1024; }
  uint32_t chunk_size() const { return _chunk_size; }
  uint32_t page_size() const { return _page_size; }
  uint32_t chunk_count() const { return _num_chunks; }

  struct PageHeader;

  struct SizeClass {
    uint32_t slot_size;
    uint32_t slots_in_use;
    uint32_t total_slots;
    PageHeader* all_head;
    PageHeader* all_tail;
    PageHeader* free_head;
    PageHeader* free_tail;
    uint32_t stride; // slot size plus the red zone when poisoning
  };

  // The last bytes of every page; 44 bytes in the 32-bit build. While a page
  // is free its first two words link the allocator's free-page list.
  struct PageHeader {
    union {
      SizeClass* size_class;
      PageHeader* free_page_prev;
    };
    union {
      char* bump;
      PageHeader* free_page_next;
    };
    PageHeader* prev_all;
    PageHeader* next_all;
    PageHeader* prev_free;
    PageHeader* next_free;
    uint32_t slot_size;
    uint32_t capacity;
    uint32_t free_slots;
    uint32_t free_slot_head; // offset of the first free slot in the page, or NO_SLOT
#if TW_64BIT
    uint32_t unused; // keeps `spare` in the page's last four bytes
#endif
    uint32_t spare; // in a chunk's last page: the chunk's pages in use
  };

  // The class a request of (size, align) goes to, or -1. For tests.
  int size_class_for(uint32_t size, uint32_t align) const;
  const SizeClass& size_class(int i) const { return _size_classes[i]; }
  // Pages on the free-page list. For tests.
  uint32_t free_page_count() const;

private:
  static PageHeader* header_of_page(char* page);
  static char* page_of(const void* p);
  char* chunk_of(const void* p) const;
  uint32_t& chunk_pages_in_use(char* chunk) const;
  void push_free_page(PageHeader* h);
  void unlink_free_page(PageHeader* h);
  PageHeader* prepare_page(SizeClass& c);
  void release_page(PageHeader* h);

  uint32_t _chunk_size;
  uint32_t _page_size;
  // First class whose slot holds (size + 3) / 4 words: the search's start.
  uint8_t _class_by_words[257];
  Allocator* _backing;
  SizeClass _size_classes[NUM_SIZE_CLASSES];
  int _num_size_classes;
  bool _thread_safe;
  CriticalSection _lock;
  uint32_t _num_chunks;
  PageHeader* _free_pages_head;
  PageHeader* _free_pages_tail;
};

} // namespace foundation
