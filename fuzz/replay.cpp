// The main program of a fuzzer in builds without libFuzzer: runs the fuzzer over files.
//
//   replay [--mutations N] PATH...
//
// Each path is a file or a folder of files. A fuzzer that has a mutator also gets N changed forms
// of each file, always the same ones.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" __attribute__((weak)) std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data,
                                                                     std::size_t size,
                                                                     std::size_t max_size,
                                                                     unsigned seed);

// In libFuzzer's place: a small change that the mutator asks for.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size,
                                        std::size_t max_size) {
  if (size == 0 && max_size > 0) data[size++] = 0;
  data[size / 2] = static_cast<std::uint8_t>(data[size / 2] * 7 + 1);
  return size;
}

namespace {

constexpr std::size_t MAX_SIZE = 4096;

std::vector<std::filesystem::path> files_of(const std::vector<std::string>& paths) {
  std::vector<std::filesystem::path> files;
  for (const std::string& path : paths) {
    if (!std::filesystem::is_directory(path)) {
      files.emplace_back(path);
      continue;
    }
    for (const auto& entry : std::filesystem::directory_iterator(path)) {
      files.push_back(entry.path());
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

std::string bytes_of(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    std::cerr << "replay: cannot read " << path << '\n';
    std::exit(2);
  }
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string changed(std::string_view bytes, unsigned seed) {
  std::string data(bytes.substr(0, MAX_SIZE));
  const std::size_t size = data.size();
  data.resize(MAX_SIZE);
  auto* const begin = reinterpret_cast<std::uint8_t*>(data.data());
  data.resize(LLVMFuzzerCustomMutator(begin, size, MAX_SIZE, seed));
  return data;
}

void run(std::string_view bytes) {
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

}  // namespace

int main(int count, char** arguments) {
  std::vector<std::string> paths(arguments + 1, arguments + count);
  unsigned mutations = 0;
  if (paths.size() >= 2 && paths[0] == "--mutations") {
    mutations = static_cast<unsigned>(std::stoul(paths[1]));
    paths.erase(paths.begin(), paths.begin() + 2);
  }
  const std::vector<std::filesystem::path> files = files_of(paths);
  for (const std::filesystem::path& path : files) {
    const std::string bytes = bytes_of(path);
    run(bytes);
    if (LLVMFuzzerCustomMutator == nullptr) continue;
    for (unsigned seed = 1; seed <= mutations; ++seed) run(changed(bytes, seed));
  }
  std::cout << "replay: " << files.size() << " files\n";
  return files.empty() ? 1 : 0;
}
