#include "sqliteFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <set>

namespace tlm::server {
namespace {

constexpr size_t kHeaderSize = 100;
constexpr std::string_view kMagic{"SQLite format 3\0", 16};

std::mutex heldMutex;
std::set<std::pair<uint64_t, uint64_t>>& heldFiles() {
  static std::set<std::pair<uint64_t, uint64_t>> files;
  return files;
}

bool refuse(StoreError why, std::string text, Failure* failure) {
  *failure = {why, std::move(text)};
  return false;
}

uint32_t bigEndian(const unsigned char* at) {
  return uint32_t{at[0]} << 24 | uint32_t{at[1]} << 16 | uint32_t{at[2]} << 8 | uint32_t{at[3]};
}

class Descriptor {
 public:
  Descriptor(const std::string& path, int flags) : fd_(::open(path.c_str(), flags | O_CLOEXEC)) {}
  ~Descriptor() {
    if (fd_ >= 0) ::close(fd_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int get() const { return fd_; }
  bool read(void* into, size_t length, off_t offset) const {
    return pread(fd_, into, length, offset) == static_cast<ssize_t>(length);
  }
  uint64_t size() const {
    struct stat info {};
    return fstat(fd_, &info) == 0 ? static_cast<uint64_t>(info.st_size) : 0;
  }

 private:
  int fd_;
};

// The fields of SQLite's file header that tell a store.
struct Header {
  uint32_t pageSize = 0;
  uint32_t pages = 0;
  uint32_t version = 0;
  uint32_t application = 0;
};

bool readHeader(const Descriptor& file, const std::string& path, Header* header, Failure* failure) {
  std::array<unsigned char, kHeaderSize> bytes{};
  const uint64_t size = file.size();
  if (size < kHeaderSize || !file.read(bytes.data(), bytes.size(), 0)) {
    std::array<char, kMagic.size()> start{};
    const bool cut = size >= kMagic.size() && file.read(start.data(), start.size(), 0) &&
                     std::memcmp(start.data(), kMagic.data(), kMagic.size()) == 0;
    return cut ? refuse(StoreError::kDamaged, path + " is cut short", failure)
               : refuse(StoreError::kNoStore, path + " is no model store", failure);
  }
  const uint32_t pageSize = uint32_t{bytes[16]} << 8 | bytes[17];
  *header = {pageSize == 1 ? 65536u : pageSize, bigEndian(&bytes[28]), bigEndian(&bytes[60]), bigEndian(&bytes[68])};
  if (std::memcmp(bytes.data(), kMagic.data(), kMagic.size()) != 0 || header->application != kStoreApplicationId)
    return refuse(StoreError::kNoStore, path + " is no model store", failure);
  return true;
}

// SQLite keeps the log beside the file itself, not beside a link to it.
std::string logOf(const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr), &std::free);
  return (real ? std::string(real.get()) : path) + "-wal";
}

// The pages of the file that the log holds a newer copy of, as far as its frames belong to its last use.
std::set<uint32_t> pagesInLog(const std::string& path, uint32_t pageSize) {
  std::set<uint32_t> pages;
  const Descriptor log(logOf(path), O_RDONLY);
  std::array<unsigned char, 32> header{};
  if (log.get() < 0 || !log.read(header.data(), header.size(), 0)) return pages;
  std::array<unsigned char, 24> frame{};
  for (off_t at = 32; log.read(frame.data(), frame.size(), at); at += 24 + static_cast<off_t>(pageSize)) {
    if (std::memcmp(&frame[8], &header[16], 8) != 0) break;  // the salt of an earlier use
    pages.insert(bigEndian(frame.data()));
  }
  return pages;
}

// A write-back of the log that was interrupted leaves the file shorter than its header says; then the log
// holds what is missing. Any other shortness is damage.
bool isWhole(const Descriptor& file, const Header& header, const std::string& path) {
  if (header.pageSize < 512 || (header.pageSize & (header.pageSize - 1)) != 0) return false;
  const uint64_t there = file.size() / header.pageSize;
  if (there >= header.pages) return true;
  const std::set<uint32_t> logged = pagesInLog(path, header.pageSize);
  for (uint64_t page = there + 1; page <= header.pages; ++page)
    if (logged.count(static_cast<uint32_t>(page)) == 0) return false;
  return true;
}

// Of the bytes that SQLite locks.
struct flock lockOf(short type) {
  struct flock lock {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  lock.l_start = 0x40000000;
  lock.l_len = 512;
  return lock;
}

bool refuseHeld(const std::string& path, Failure* failure) {
  return refuse(StoreError::kHeld, path + " is in use by another server", failure);
}

bool refuseUnread(const std::string& path, Failure* failure) {
  return refuse(StoreError::kReadOnly, path + " cannot be read: " + std::strerror(errno), failure);
}

// Whether another process has a lock on the bytes that SQLite locks.
bool lockedElsewhere(const Descriptor& file) {
  struct flock lock = lockOf(F_WRLCK);
  return fcntl(file.get(), F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

}  // namespace

std::unique_ptr<FileHold> FileHold::take(const std::string& path, Failure* failure) {
  struct stat info {};
  if (stat(path.c_str(), &info) != 0) {
    const bool missing = errno == ENOENT || errno == ENOTDIR;
    refuse(missing ? StoreError::kNotThere : StoreError::kReadOnly, path + ": " + std::strerror(errno), failure);
    return nullptr;
  }
  if (!S_ISREG(info.st_mode)) {
    refuse(StoreError::kNoStore, path + " is no file", failure);
    return nullptr;
  }
  const std::lock_guard guard(heldMutex);
  if (!heldFiles().emplace(info.st_dev, info.st_ino).second) {
    refuse(StoreError::kHeld, path + " is open in this program already", failure);
    return nullptr;
  }
  return std::unique_ptr<FileHold>(new FileHold(info.st_dev, info.st_ino));
}

FileHold::~FileHold() {
  const std::lock_guard guard(heldMutex);
  heldFiles().erase({device_, node_});
}

std::unique_ptr<ReadLock> ReadLock::take(const std::string& path, Failure* failure) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  std::unique_ptr<ReadLock> taken(new ReadLock(fd));
  struct flock lock = lockOf(F_RDLCK);
  if (fd >= 0 && fcntl(fd, F_SETLK, &lock) == 0) return taken;
  const bool held = fd >= 0 && (errno == EAGAIN || errno == EACCES);
  held ? refuseHeld(path, failure) : refuseUnread(path, failure);
  return nullptr;
}

ReadLock::~ReadLock() {
  if (fd_ >= 0) ::close(fd_);
}

bool inspectFile(const std::string& path, Failure* failure) {
  const Descriptor file(path, O_RDONLY);
  if (file.get() < 0) return refuseUnread(path, failure);
  if (lockedElsewhere(file)) return refuseHeld(path, failure);
  Header header;
  if (!readHeader(file, path, &header, failure)) return false;
  if (header.version > static_cast<uint32_t>(kStoreVersion))
    return refuse(StoreError::kNewer,
                  path + " is of version " + std::to_string(header.version) + "; this program knows versions up to " +
                      std::to_string(kStoreVersion),
                  failure);
  if (header.version == 0) return refuse(StoreError::kDamaged, path + " has no version", failure);
  return isWhole(file, header, path) || refuse(StoreError::kDamaged, path + " is cut short", failure);
}

bool checkWritable(const std::string& path, Failure* failure) {
  if (faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0)
    return refuse(StoreError::kReadOnly, path + " cannot be written: " + std::strerror(errno), failure);
  return checkFolderWritable(path, failure);
}

bool hasLog(const std::string& path) {
  struct stat info {};
  return stat(logOf(path).c_str(), &info) == 0 && info.st_size > 0;
}

std::string folderOf(const std::string& path) {
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

bool checkFolderWritable(const std::string& path, Failure* failure) {
  const std::string folder = folderOf(path);
  if (faccessat(AT_FDCWD, folder.c_str(), W_OK | X_OK, AT_EACCESS) == 0) return true;
  const bool missing = errno == ENOENT || errno == ENOTDIR;
  return refuse(missing ? StoreError::kNotThere : StoreError::kReadOnly,
                "the folder " + folder + " cannot be written: " + std::strerror(errno), failure);
}

bool syncFolder(const std::string& path) {
  const Descriptor folder(folderOf(path), O_RDONLY | O_DIRECTORY);
  return folder.get() >= 0 && fsync(folder.get()) == 0;
}

}  // namespace tlm::server
