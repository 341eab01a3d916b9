// Packed bytes: a growing writer, and a reader that never leaves its input.
#ifndef TLMMDX_SRC_BYTES_H
#define TLMMDX_SRC_BYTES_H

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>

namespace mdx {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "numbers are written as they stand in memory");

class ByteWriter {
 public:
  ByteWriter() = default;
  ~ByteWriter() { std::free(data_); }
  ByteWriter(const ByteWriter&) = delete;
  ByteWriter& operator=(const ByteWriter&) = delete;

  size_t size() const { return size_; }
  std::string_view view() const { return {data_, size_}; }
  // Room for so many bytes; they are written by the caller and taken with `advance`.
  char* room(size_t bytes) {
    if (bytes > capacity_ - size_) grow(bytes);
    return data_ + size_;
  }
  void advance(size_t bytes) { size_ += bytes; }
  template <class T>
  void put(T value) {
    std::memcpy(room(sizeof value), &value, sizeof value);
    size_ += sizeof value;
  }
  void bytes(const void* from, size_t count) {
    if (count) std::memcpy(room(count), from, count);
    size_ += count;
  }
  void text(std::string_view text) { bytes(text.data(), text.size()); }
  template <class T>
  void patch(size_t at, T value) {
    std::memcpy(data_ + at, &value, sizeof value);
  }
  // Hands the bytes over; freed with std::free.
  void* release() {
    void* result = data_;
    data_ = nullptr;
    size_ = capacity_ = 0;
    return result;
  }

 private:
  void grow(size_t bytes) {
    const size_t wanted = size_ + bytes > capacity_ * 2 ? size_ + bytes + 64 : capacity_ * 2;
    void* fresh = std::realloc(data_, wanted);
    if (!fresh) throw std::bad_alloc();
    data_ = static_cast<char*>(fresh);
    capacity_ = wanted;
  }

  char* data_ = nullptr;
  size_t size_ = 0, capacity_ = 0;
};

// After a read past the end everything reads as zero, and `good` stays false.
class ByteReader {
 public:
  ByteReader(const void* data, size_t size) : at_(static_cast<const char*>(data)), end_(at_ + size) {}

  bool good() const { return good_; }
  size_t left() const { return static_cast<size_t>(end_ - at_); }
  const char* take(size_t count) {
    if (count > left()) {
      good_ = false;
      at_ = end_;
      return nullptr;
    }
    const char* start = at_;
    at_ += count;
    return start;
  }
  template <class T>
  T get() {
    T value{};
    if (const char* from = take(sizeof value)) std::memcpy(&value, from, sizeof value);
    return value;
  }
  std::string_view text(size_t count) {
    const char* from = take(count);
    return from ? std::string_view(from, count) : std::string_view();
  }
  void fail() { good_ = false; }

 private:
  const char *at_, *end_;
  bool good_ = true;
};

}  // namespace mdx

#endif
