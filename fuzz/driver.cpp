// Runs a fuzzer's function over files: each as it is, cut short at many places, and with changed bytes.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

void runOn(const std::string& bytes) {
  LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
}

void runDamaged(const std::string& bytes, std::mt19937& random) {
  if (bytes.empty()) return;
  const auto below = [&random](size_t bound) { return std::uniform_int_distribution<size_t>(0, bound - 1)(random); };
  for (int round = 0; round < 40; ++round) {
    std::string damaged = bytes.substr(0, round % 2 ? bytes.size() : below(bytes.size()));
    for (size_t edit = below(4); edit > 0 && !damaged.empty(); --edit)
      damaged[below(damaged.size())] = static_cast<char>(below(256));
    runOn(damaged);
  }
}

std::vector<std::filesystem::path> filesOf(const std::filesystem::path& path) {
  if (!std::filesystem::is_directory(path)) return {path};
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(path))
    if (entry.is_regular_file()) files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace

int main(int count, char** arguments) {
  std::mt19937 random(1);
  size_t files = 0;
  for (int i = 1; i < count; ++i) {
    for (const auto& path : filesOf(arguments[i])) {
      std::ifstream file(path, std::ios::binary);
      const std::string bytes((std::istreambuf_iterator<char>(file)), {});
      runOn(bytes);
      runDamaged(bytes, random);
      ++files;
    }
  }
  std::printf("%zu files\n", files);
  return files ? 0 : 1;
}
