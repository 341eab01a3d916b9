#include "store.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <new>

namespace mdx {
namespace {

constexpr size_t kLine = 64, kFirstChunk = 512, kUsualChunk = 64 * 1024, kLargePage = 2 * 1024 * 1024;

// Doubles up to 64 KiB; large pages once what one of them leaves unused does not count.
size_t nextChunk(size_t sum) {
  if (sum < kUsualChunk) return std::max(sum, kFirstChunk);
  return sum < 4 * kLargePage ? kUsualChunk : kLargePage;
}

constexpr size_t roundUp(size_t bytes, size_t to) { return (bytes + to - 1) / to * to; }

}  // namespace

void* takeLarge(size_t bytes) {
  if (bytes < kLargePage) return std::aligned_alloc(kLine, roundUp(bytes, kLine));
  bytes = roundUp(bytes, kLargePage);
  void* memory = std::aligned_alloc(kLargePage, bytes);
  if (memory) madvise(memory, bytes, MADV_HUGEPAGE);  // a wish: without large pages all goes on, slower
  return memory;
}

void Chunks::grow(size_t size) {
  const size_t bytes = roundUp(std::max(size, nextChunk(bytes_)), kLine);
  chunks_.reserve(chunks_.size() < chunks_.capacity() ? chunks_.capacity() : chunks_.size() * 2 + 4);
  auto* chunk = static_cast<char*>(takeLarge(bytes));
  if (!chunk) throw std::bad_alloc();
  const auto above = std::upper_bound(chunks_.begin(), chunks_.end(), chunk,
                                      [](const char* place, const Chunk& known) { return place < known.begin; });
  chunks_.insert(above, {chunk, chunk + bytes});
  bytes_ += bytes + 16;
  next_ = chunk;
  end_ = chunk + bytes;
}

const char* Chunks::endAround(const void* place) const {
  const auto above = std::upper_bound(chunks_.begin(), chunks_.end(), static_cast<const char*>(place),
                                      [](const char* at, const Chunk& known) { return at < known.begin; });
  if (above == chunks_.begin()) return static_cast<const char*>(place);
  const char* end = std::prev(above)->end;
  return end == end_ ? next_ : end;
}

void Chunks::clear() {
  for (const Chunk& chunk : chunks_) std::free(chunk.begin);
  chunks_ = {};
  next_ = end_ = nullptr;
  bytes_ = 0;
}

void* TextHeap::take(size_t size) {
  const size_t rounded = (size + 7) & ~size_t{7};
  if (rounded > kSmall) {
    auto* large = static_cast<Large*>(std::malloc(sizeof(Large) + rounded));
    if (!large) throw std::bad_alloc();
    *large = {nullptr, large_};
    if (large_) large_->prev = large;
    large_ = large;
    largeBytes_ += sizeof(Large) + rounded + 16;
    return large + 1;
  }
  Link*& list = free_[rounded / 8];
  if (!list) return chunks_.take(rounded);
  Link* block = list;
  list = block->next;
  return block;
}

void TextHeap::give(void* block, size_t size) {
  const size_t rounded = (size + 7) & ~size_t{7};
  if (rounded <= kSmall) {
    Link*& list = free_[rounded / 8];
    list = new (block) Link{list};
    return;
  }
  Large* large = static_cast<Large*>(block) - 1;
  (large->prev ? large->prev->next : large_) = large->next;
  if (large->next) large->next->prev = large->prev;
  largeBytes_ -= sizeof(Large) + rounded + 16;
  std::free(large);
}

void TextHeap::clear() {
  chunks_.clear();
  free_.fill(nullptr);
  while (large_) {
    Large* next = large_->next;
    std::free(large_);
    large_ = next;
  }
  largeBytes_ = 0;
}

}  // namespace mdx
