// A folder that is open for reading: its entries, what lies in it, and which folder it is.
//
// All is reached through the descriptor and never through a path, so no depth of folders is too
// much for the system.
//
// Tested by tests/walk_test.cpp.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <string>
#include <utility>

namespace walk {

class OpenFolder {
 public:
  enum class Kind : std::uint8_t { file, folder, link, unknown };  // FIFOs and the like are files

  // Closed.
  OpenFolder() = default;
  OpenFolder(OpenFolder&& other) noexcept { *this = std::move(other); }
  OpenFolder& operator=(OpenFolder&& other) noexcept;
  ~OpenFolder() { close(); }

  // The folder at a path of the process, or in another folder, which may be `..`. Links are
  // followed at a path only. Closed when that fails, and errno tells why.
  static OpenFolder at_path(const std::string& path);
  static OpenFolder in(const OpenFolder& parent, const std::string& name);

  bool is_open() const { return _descriptor >= 0; }
  void close();

  // Closes it, and remembers which folder it was; none that could be opened again when the system
  // does not tell.
  void set_aside();
  int descriptor() const { return _descriptor; }  // while it is open

  // Whether this is the folder that was set aside, wherever it stands now.
  bool is(const OpenFolder& aside) const;

  // Each entry but `.` and `..` once, in any order. `error`: why an entry's kind is unknown. Gives
  // an errno, 0 when all were read. To be called once.
  int for_each(const std::function<void(const char* name, Kind kind, int error)>& take) const;

  // What an entry of that name is; `error` tells why that is unknown, ENOENT when there is none.
  Kind kind(const char* name, int& error) const;

  // A descriptor of the file of that name, which is the caller's, or -1 and errno. No link is
  // followed, and a FIFO not waited for.
  int open_file(const std::string& name) const;

 private:
  explicit OpenFolder(int descriptor) : _descriptor(descriptor) {}

  int _descriptor = -1;
  dev_t _device = 0;  // of one that is set aside
  ino_t _number = 0;  // 0 otherwise, which no folder has
};

}  // namespace walk
