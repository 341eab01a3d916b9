// A look at a store file before SQLite touches it, so that what is no store is left as it was.
#ifndef TLMSERVER_SQLITEFILE_H
#define TLMSERVER_SQLITEFILE_H

#include "sqliteDb.h"

#include <memory>

namespace tlm::server {

// Files that this process holds. Opening and closing a file a second time in one process would drop the
// locks of the first, so nothing touches a file before it has a hold.
class FileHold {
 public:
  // Null with a reason when the file is not there or this process holds it already.
  static std::unique_ptr<FileHold> take(const std::string& path, Failure* failure);
  ~FileHold();
  FileHold(const FileHold&) = delete;
  FileHold& operator=(const FileHold&) = delete;

 private:
  FileHold(uint64_t device, uint64_t node) : device_(device), node_(node) {}
  uint64_t device_;
  uint64_t node_;
};

// Keeps servers off a file while it is read. Requires a hold of it, which must outlive this.
class ReadLock {
 public:
  // Null with a reason when the file cannot be read or is in use.
  static std::unique_ptr<ReadLock> take(const std::string& path, Failure* failure);
  ~ReadLock();
  ReadLock(const ReadLock&) = delete;
  ReadLock& operator=(const ReadLock&) = delete;

 private:
  explicit ReadLock(int fd) : fd_(fd) {}
  int fd_;
};

// Whether the file is a whole store of a version that is known, and is not in use. Requires a hold of it.
bool inspectFile(const std::string& path, Failure* failure);

// Whether the file may be written, and others beside it.
bool checkWritable(const std::string& path, Failure* failure);

// Whether a log with something in it stands beside the file.
bool hasLog(const std::string& path);

std::string folderOf(const std::string& path);
bool checkFolderWritable(const std::string& path, Failure* failure);

// Brings a file's name in its folder to disk.
bool syncFolder(const std::string& path);

}  // namespace tlm::server

#endif
