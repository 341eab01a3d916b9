// Making and opening of store files.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "identity.h"
#include "sqliteSchema.h"
#include "sqliteStore.h"

namespace tlm::server {
namespace {

constexpr int64_t kCheckedWhole = int64_t{64} << 20;  // bytes of a file that is checked whole when it is opened

// The log is written back into the file every 8 MB, and cut to that size after a large import.
constexpr const char* kSettings = "PRAGMA temp_store = MEMORY; PRAGMA cache_size = -65536;";
constexpr const char* kWritingSettings =
    "PRAGMA synchronous = FULL;"
    "PRAGMA wal_autocheckpoint = 2048; PRAGMA journal_size_limit = 8388608;";

std::unique_ptr<Store> refused(const Failure& failure, std::string* error, StoreError* why) {
  *error = failure.text;
  if (why) *why = failure.why;
  return nullptr;
}

bool soundIfSmall(Db& db, const std::string& path, Failure* failure) {
  struct stat info {};
  if (stat(path.c_str(), &info) != 0 || info.st_size > kCheckedWhole) return true;
  std::string first;
  if (!db.text("PRAGMA quick_check(1)", &first, failure)) return false;
  if (first == "ok") return true;
  *failure = {StoreError::kDamaged, path + " is damaged: " + first};
  return false;
}

// Everything that is known without writing.
bool lookOver(Db& db, const std::string& path, Failure* failure) {
  std::string missing;
  if (!db.exec("PRAGMA locking_mode = EXCLUSIVE", failure) ||
      !db.text("SELECT ifnull(group_concat(column1, ', '), '') FROM"
               " (VALUES ('store_identity'), ('store_event'), ('store_block'), ('store_forgotten'))"
               " WHERE column1 NOT IN (SELECT name FROM sqlite_schema WHERE type = 'table')",
               &missing, failure))
    return false;
  if (!missing.empty()) {
    *failure = {StoreError::kDamaged, path + " is damaged: tables are missing: " + missing};
    return false;
  }
  return soundIfSmall(db, path, failure);
}

bool prepare(SqliteStore& store, const Catalogue& catalogue, Failure* failure) {
  Db& db = store.db();
  std::string mode;
  if (!db.text("PRAGMA journal_mode = WAL", &mode, failure)) return false;
  if (mode != "wal") {
    *failure = {StoreError::kOther, "the store cannot keep a log beside its file"};
    return false;
  }
  return db.exec(kSettings, failure) && db.exec(kWritingSettings, failure) &&
         upgrade(db, upgradeSteps(), kStoreVersion, failure) && addMissing(db, catalogue, failure) &&
         store.readState(failure);
}

// ---- a new file ----

bool systemFailed(const std::string& path, Failure* failure) {
  if (errno == EEXIST)
    *failure = {StoreError::kExists, path + " exists already"};
  else
    *failure = {reasonOf(SQLITE_IOERR, errno), path + ": " + std::strerror(errno)};
  return false;
}

// The file that is being made, of a name that nobody else has; goes unless it was given its own.
class Unfinished {
 public:
  Unfinished() = default;
  ~Unfinished() {
    if (!path_.empty()) std::remove(path_.c_str());
  }
  Unfinished(const Unfinished&) = delete;
  Unfinished& operator=(const Unfinished&) = delete;

  const std::string& path() const { return path_; }

  // An empty file beside the one that it will be.
  bool make(const std::string& target, Failure* failure) {
    std::string path;
    int fd = -1;
    do {
      path = target + "." + newIdentity().substr(0, kRandomDigits) + ".new";
      fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    } while (fd < 0 && errno == EEXIST);
    if (fd < 0) return systemFailed(path, failure);
    ::close(fd);
    path_ = std::move(path);
    return true;
  }

  // Never takes the place of a file that is there.
  bool publish(const std::string& path, Failure* failure) {
    return (give(path) && syncFolder(path)) || systemFailed(path, failure);
  }

 private:
  // Not every file system has links; a kernel that knows neither way refuses.
  bool give(const std::string& path) {
    if (link(path_.c_str(), path.c_str()) == 0) return true;
    const bool noLinks = errno == EPERM || errno == ENOTSUP || errno == ENOSYS;
    if (!noLinks || renameat2(AT_FDCWD, path_.c_str(), AT_FDCWD, path.c_str(), RENAME_NOREPLACE) != 0) return false;
    path_.clear();
    return true;
  }

  static constexpr size_t kRandomDigits = 8;

  std::string path_;
};

bool insertAll(Db& db, const Catalogue& catalogue, const NamedTables& tables, Failure* failure) {
  Transaction transaction(db);
  if (!transaction.begin(failure)) return false;
  for (const auto& [name, array] : tables) {
    const TableDef* def = Catalogue::describesItself(name) ? nullptr : catalogue.table(name);
    if (!def) {
      *failure = {StoreError::kOther, "the store has no table " + name};
      return false;
    }
    TableWriter writer(db, *def);
    for (int i = 0; i < MDARecCount(array); ++i)
      if (!writer.insert(MDARec(array, 0, i), failure)) return false;
  }
  return transaction.commit(failure);
}

// Nothing has to survive a crash until the file has its name, so the work needs no journal; the last step,
// the change of mode, brings all of it to disk.
bool build(const std::string& path, const Catalogue& catalogue, const NamedTables& tables, Failure* failure) {
  Db db;
  std::string mode;
  if (!db.open(path, SQLITE_OPEN_READWRITE, failure) ||
      !db.exec("PRAGMA locking_mode = EXCLUSIVE; PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF;"
               "PRAGMA cache_size = -262144; PRAGMA temp_store = FILE;",
               failure) ||
      !makeTables(db, catalogue, newIdentity(), failure) || !insertAll(db, catalogue, tables, failure) ||
      !makeIndexes(db, catalogue, failure))
    return false;
  return db.exec("PRAGMA synchronous = FULL", failure) && db.text("PRAGMA journal_mode = WAL", &mode, failure);
}

bool syncFile(const std::string& path, Failure* failure) {
  const int fd = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
  const bool done = (fd >= 0 && fsync(fd) == 0) || systemFailed(path, failure);
  if (fd >= 0) ::close(fd);
  return done;
}

bool nameIsFree(const std::string& path, Failure* failure) {
  struct stat info {};
  if (lstat(path.c_str(), &info) != 0) return checkFolderWritable(path, failure);
  errno = EEXIST;
  return systemFailed(path, failure);
}

// The last of the making is done on the store itself, before anybody else can see it.
bool finishBy(const FinishStore& finish, const std::string& path, const Catalogue& catalogue, Failure* failure) {
  if (!finish) return true;
  const auto store = openSqliteStore(path, catalogue, &failure->text, &failure->why);
  if (!store) return false;
  failure->why = StoreError::kOther;
  return finish(*store, &failure->text);
}

}  // namespace

bool SqliteStore::attach(const std::string& path, std::unique_ptr<FileHold> hold, Failure* failure) {
  hold_ = std::move(hold);
  const bool logged = hasLog(path);
  if (!db_.open(path, SQLITE_OPEN_READWRITE, failure)) return false;
  if (lookOver(db_, path, failure)) return true;
  if (failure->why == StoreError::kHeld) failure->text = path + " is in use by another server";
  logged ? db_.closeUntouched() : db_.close();
  return false;
}

bool SqliteStore::attachToRead(const std::string& path, std::unique_ptr<FileHold> hold, Failure* failure) {
  hold_ = std::move(hold);
  lock_ = ReadLock::take(path, failure);
  return lock_ && db_.openToRead(path, hasLog(path), failure) && lookOver(db_, path, failure) &&
         db_.exec(kSettings, failure) && readState(failure);
}

std::unique_ptr<Store> readSqliteStore(const std::string& path, const Catalogue& catalogue, std::string* error,
                                       StoreError* why) {
  Failure failure;
  auto hold = FileHold::take(path, &failure);
  if (!hold || !inspectFile(path, &failure)) return refused(failure, error, why);
  auto store = std::make_unique<SqliteStore>(catalogue);
  if (!store->attachToRead(path, std::move(hold), &failure)) return refused(failure, error, why);
  if (why) *why = StoreError::kNone;
  return store;
}

std::unique_ptr<Store> openSqliteStore(const std::string& path, const Catalogue& catalogue, std::string* error,
                                       StoreError* why) {
  Failure failure;
  auto hold = FileHold::take(path, &failure);
  if (!hold || !inspectFile(path, &failure)) return refused(failure, error, why);
  if (!checkWritable(path, &failure)) return refused(failure, error, why);
  auto store = std::make_unique<SqliteStore>(catalogue);
  if (!store->attach(path, std::move(hold), &failure) || !prepare(*store, catalogue, &failure))
    return refused(failure, error, why);
  if (why) *why = StoreError::kNone;
  return store;
}

std::unique_ptr<Store> createSqliteStore(const std::string& path, const Catalogue& catalogue, const NamedTables& tables,
                                         std::string* error, StoreError* why, const FinishStore& finish) {
  Failure failure;
  if (!nameIsFree(path, &failure)) return refused(failure, error, why);
  {
    Unfinished file;
    if (!file.make(path, &failure) || !build(file.path(), catalogue, tables, &failure) ||
        !finishBy(finish, file.path(), catalogue, &failure) || !syncFile(file.path(), &failure) ||
        !file.publish(path, &failure))
      return refused(failure, error, why);
  }
  return openSqliteStore(path, catalogue, error, why);
}

std::unique_ptr<Store> createSqliteStore(const std::string& path, const Catalogue& catalogue, std::string* error) {
  return createSqliteStore(path, catalogue, {}, error, nullptr);
}

std::vector<std::string> checkSqliteStore(Store& store) {
  auto* file = dynamic_cast<SqliteStore*>(&store);
  return file ? file->check() : std::vector<std::string>{"not a store in a file"};
}

std::vector<std::string> missingInSqliteStore(Store& store) {
  auto* file = dynamic_cast<SqliteStore*>(&store);
  return file ? file->missing() : std::vector<std::string>{"not a store in a file"};
}

}  // namespace tlm::server
