// Memory of one table: slots of one size for its records, blocks for its long texts. Both give back
// everything at once, so a table is emptied without a walk over its records.
#ifndef TLMMDX_SRC_STORE_H
#define TLMMDX_SRC_STORE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <utility>
#include <vector>

namespace mdx {

// Memory that begins at a cache line, from two megabytes on in large pages where the system has them. Freed by
// std::free; null when there is none.
void* takeLarge(size_t bytes);

// Of vectors that are read here and there.
template <class T>
struct LargePages {
  using value_type = T;

  LargePages() = default;
  template <class Other>
  LargePages(const LargePages<Other>&) {}
  T* allocate(size_t count) {
    if (void* memory = takeLarge(count * sizeof(T))) return static_cast<T*>(memory);
    throw std::bad_alloc();
  }
  void deallocate(T* memory, size_t) { std::free(memory); }
  bool operator==(const LargePages&) const { return true; }
};

// Chunks of memory that grow with their sum, so that a table of one record stays small and a large one
// lies in large pages. They begin at cache lines.
class Chunks {
 public:
  Chunks() = default;
  ~Chunks() { clear(); }
  Chunks(const Chunks&) = delete;
  Chunks& operator=(const Chunks&) = delete;

  // `size` is a multiple of 8.
  void* take(size_t size) {
    if (size > static_cast<size_t>(end_ - next_)) grow(size);
    char* place = next_;
    next_ += size;
    return place;
  }
  void clear();
  void swap(Chunks& other) {
    chunks_.swap(other.chunks_);
    std::swap(next_, other.next_);
    std::swap(end_, other.end_);
    std::swap(bytes_, other.bytes_);
  }
  size_t memory() const { return bytes_ + chunks_.capacity() * sizeof(Chunk); }
  // Where the memory that was taken from the chunk of `place` ends.
  const char* endAround(const void* place) const;

 private:
  struct Chunk {
    char *begin, *end;
  };
  void grow(size_t size);

  std::vector<Chunk> chunks_;  // by address
  char* next_ = nullptr;
  char* end_ = nullptr;
  size_t bytes_ = 0;
};

// Slots of one size.
class Slab {
 public:
  void setSlotSize(size_t size) { size_ = (size + 7) & ~size_t{7}; }
  size_t slotSize() const { return size_; }
  void* take() {
    if (!free_) return chunks_.take(size_);
    Link* link = free_;
    free_ = link->next;
    return reinterpret_cast<char*>(link) - linkOffset();
  }
  void give(void* slot) { free_ = new (static_cast<char*>(slot) + linkOffset()) Link{free_}; }
  void clear() {
    chunks_.clear();
    free_ = nullptr;
  }
  void swap(Slab& other) {
    chunks_.swap(other.chunks_);
    std::swap(free_, other.free_);
    std::swap(size_, other.size_);
  }
  size_t memory() const { return chunks_.memory(); }
  const char* endAround(const void* slot) const { return chunks_.endAround(slot); }

 private:
  struct Link {
    Link* next;
  };
  // Leaves the head of a returned record readable, so that a stale handle shows that it has no owner.
  size_t linkOffset() const { return size_ >= 40 ? 24 : 0; }

  Chunks chunks_;
  Link* free_ = nullptr;
  size_t size_ = 8;
};

// Blocks of any size, aligned to 8 bytes.
class TextHeap {
 public:
  TextHeap() = default;
  ~TextHeap() { clear(); }
  TextHeap(const TextHeap&) = delete;
  TextHeap& operator=(const TextHeap&) = delete;

  void* take(size_t size);
  // `size` as it was asked for.
  void give(void* block, size_t size);
  void clear();
  size_t memory() const { return chunks_.memory() + largeBytes_; }

 private:
  static constexpr size_t kSmall = 256;
  struct Link {
    Link* next;
  };
  struct Large {
    Large *prev, *next;
  };

  Chunks chunks_;
  std::array<Link*, kSmall / 8 + 1> free_{};
  Large* large_ = nullptr;
  size_t largeBytes_ = 0;
};

}  // namespace mdx

#endif
