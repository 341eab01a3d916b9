// What the tests of the store share: folders that go, rows written as text, files compared byte for byte.
#ifndef TLM_TEST_STORE_H
#define TLM_TEST_STORE_H

#include <TlmMdx/CMDArray.h>
#include <TlmServer/Catalogue.h>
#include <TlmServer/MemoryStore.h>
#include <TlmServer/ModelTables.h>
#include <TlmServer/SqliteStore.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

namespace tlm::test {

using namespace tlm::server;

// Where syncing costs nothing, for tests that do not need a disk under them.
inline std::string memoryFolder() { return access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp"; }

class Folder {
 public:
  explicit Folder(const std::string& base = memoryFolder()) : path_(base + "/tlm_store_XXXXXX") {
    if (!mkdtemp(path_.data())) ADD_FAILURE() << "no folder";
  }
  ~Folder() {
    std::error_code code;
    std::filesystem::permissions(path_, std::filesystem::perms::owner_all, code);
    std::filesystem::remove_all(path_, code);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  const std::string& path() const { return path_; }
  std::string file(const std::string& name) const { return path_ + "/" + name; }

  // Names and bytes of all files, for "nothing has changed".
  std::map<std::string, std::string> contents() const {
    std::map<std::string, std::string> all;
    for (const auto& entry : std::filesystem::directory_iterator(path_)) {
      std::ifstream in(entry.path(), std::ios::binary);
      all[entry.path().filename().string()] = std::string(std::istreambuf_iterator<char>(in), {});
    }
    return all;
  }

 private:
  std::string path_;
};

inline void writeFile(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
}

inline std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

// A key of 32 characters that ends in the number.
inline std::string keyOf(int number) {
  std::string digits = std::to_string(number);
  return std::string(32 - digits.size(), '0') + digits;
}

// A model of two tables, enough for what is not about the real catalogue.
inline const Catalogue& smallCatalogue() {
  static const auto catalogue = [] {
    std::string error;
    auto parsed = Catalogue::parse(
        "table Thing \"Вещь\"\n  keys KeyLink, number\n  field KeyLink GUID \"Ключ\"\n"
        "  field name_ TEXT \"Имя\"\n  field number INTEGER:int64 \"Номер\"\n"
        "table Part \"Часть\"\n  keys KeyLink\n  field KeyLink GUID \"Ключ\"\n  field text_ TEXT \"Текст\"\n",
        &error);
    EXPECT_TRUE(parsed) << error;
    return parsed;
  }();
  return *catalogue;
}

inline MDRVar textVar(const std::string& text) {
  MDRVar v{};
  v.type = MDX_MEMO;
  v.text.length = static_cast<uint32_t>(text.size());
  v.text.data = text.data();
  return v;
}

inline MDRVar intVar(int64_t number) {
  MDRVar v{};
  v.type = MDX_INT64;
  v.i64 = number;
  return v;
}

// Rows of one table of a catalogue, kept for the change sets that point at them.
class Rows {
 public:
  Rows(const Catalogue& catalogue, const std::string& table) : name_(table) {
    Catalogue::makeFields(*catalogue.table(table), array_.array);
  }

  MDRData* add(const std::string& key) {
    MDRData* record = MDARecNew(array_.array);
    const MDRVar v = textVar(key);
    array_.SetVal(record, 0, v);
    return array_.RecPost(record);
  }
  MDRData* thing(int key, const std::string& name) {
    MDRData* record = add(keyOf(key));
    array_.SetVal(record, 1, textVar(name));
    if (name_ == "Thing") array_.SetVal(record, 2, intVar(key));
    return record;
  }

  StoredChange change(int kind, MDRData* record) {
    MDRVar key{};
    array_.GetVal(record, 0, key);
    return {name_, kind, {key.text.data, key.text.length}, kind == MDX_REC_DELETE ? nullptr : record};
  }

  CMDArray& array() { return array_; }
  const std::string& name() const { return name_; }

 private:
  std::string name_;
  CMDArray array_;
};

// The rows of a stored table, "key tail=name", in order of arrival.
inline std::vector<std::string> stored(Store& store, const Catalogue& catalogue, const std::string& table) {
  CMDArray array;
  Catalogue::makeFields(*catalogue.table(table), array.array);
  std::string error;
  EXPECT_TRUE(store.load(table, array.array, &error)) << error;
  std::vector<std::string> rows;
  for (int i = 0; i < MDARecCount(array.array); ++i) {
    MDRVar key{}, name{};
    array.GetVal(MDARec(array.array, 0, i), 0, key);
    array.GetVal(MDARec(array.array, 0, i), 1, name);
    std::string digits(key.text.data, key.text.length);
    digits.erase(0, digits.find_first_not_of('0'));
    rows.push_back(digits + "=" + (name.isNull ? "null" : std::string(name.text.data, name.text.length)));
  }
  return rows;
}

inline wire::Event eventOf(int64_t sequence, const std::string& key = keyOf(1)) {
  wire::Event event;
  event.sequence = sequence;
  event.kind = 602;
  event.time = 45000.25 + static_cast<double>(sequence);
  event.key = key;
  event.param = "tbl=Thing,";
  event.user = "\xC8\xE2\xE0\xED\xEE\xE2";  // a Russian name in Windows-1251
  event.image = std::string("image\0\xFF of ", 12) + std::to_string(sequence);
  return event;
}

inline std::unique_ptr<Store> createSmall(const Folder& folder) {
  std::string error;
  auto store = createSqliteStore(folder.file("model.tlm"), smallCatalogue(), &error);
  EXPECT_TRUE(store) << error;
  return store;
}

inline std::unique_ptr<Store> openSmall(const Folder& folder) {
  std::string error;
  auto store = openSqliteStore(folder.file("model.tlm"), smallCatalogue(), &error);
  EXPECT_TRUE(store) << error;
  return store;
}

// One of the places where a model can live, empty, with the two tables; what every store owes holds for each.
class StorePlace {
 public:
  virtual ~StorePlace() = default;
  virtual std::unique_ptr<Store> open() = 0;  // again too, after the store before was let go
};

class FilePlace : public StorePlace {
 public:
  std::unique_ptr<Store> open() override {
    auto store = made_ ? openSmall(folder_) : createSmall(folder_);
    made_ = true;
    return store;
  }

 private:
  Folder folder_;
  bool made_ = false;
};

class MemoryPlace : public StorePlace {
 public:
  std::unique_ptr<Store> open() override { return openMemoryStore(data_); }

 private:
  std::shared_ptr<MemoryStoreData> data_ = makeMemoryStoreData(smallCatalogue());
};

// The suites over stores run once for each kind of place.
using MakePlace = std::unique_ptr<StorePlace> (*)();
struct PlaceKind {
  const char* name;
  MakePlace make;
};
inline const PlaceKind kPlaces[] = {
    {"File", [] { return std::unique_ptr<StorePlace>(std::make_unique<FilePlace>()); }},
    {"Memory", [] { return std::unique_ptr<StorePlace>(std::make_unique<MemoryPlace>()); }},
};

class StoreTest : public ::testing::TestWithParam<PlaceKind> {
 protected:
  void reopen() {
    store_.reset();
    store_ = place_->open();
  }

  std::unique_ptr<StorePlace> place_ = GetParam().make();
  std::unique_ptr<Store> store_ = place_->open();
  std::string error_;
};

inline std::string placeName(const ::testing::TestParamInfo<PlaceKind>& info) { return info.param.name; }

// Commits a new thing with that number and name.
inline bool commitThing(Store& store, int number, const std::string& name) {
  Rows rows(smallCatalogue(), "Thing");
  Commit commit;
  commit.changes.push_back(rows.change(MDX_REC_INSERT, rows.thing(number, name)));
  std::string error;
  return store.commit(commit, &error);
}

}  // namespace tlm::test

#endif
