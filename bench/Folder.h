#ifndef TLM_BENCH_FOLDER_H
#define TLM_BENCH_FOLDER_H

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace tlm::bench {

// A folder on a real disk (the temporary folder may be in memory), gone at the end.
class Folder {
 public:
  Folder() {
    const char* base = std::getenv("TLM_BENCH_DIR");
    path_ = std::string(base ? base : "/var/tmp") + "/tlm_bench_XXXXXX";
    if (!mkdtemp(path_.data())) throw std::runtime_error("no folder for the bench");
  }
  ~Folder() {
    std::error_code code;
    std::filesystem::remove_all(path_, code);
  }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  std::string file(const char* name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

}  // namespace tlm::bench

#endif
