// A temporary folder for one test. Its destructor removes it with its content.
#pragma once

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace engines::treesitter {

class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string name = std::filesystem::temp_directory_path() / "engine_test_XXXXXX";
    if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
    _path = name;
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(_path, ignored);
  }

  const std::filesystem::path& path() const { return _path; }
  std::string path(std::string_view name) const { return _path / name; }
  // Writes the file, and gives its path.
  std::string file(std::string_view name, std::string_view bytes) const {
    std::ofstream(path(name), std::ios::binary) << bytes;
    return path(name);
  }

 private:
  std::filesystem::path _path;
};

}  // namespace engines::treesitter
