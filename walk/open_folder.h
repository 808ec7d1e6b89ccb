// A folder that is open for reading: lists its entries, opens what lies in it, and recognises it.
//
// Everything is reached through the descriptor and never through a path, so no depth of folders
// exceeds what the system takes.
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

  OpenFolder() = default;  // closed
  OpenFolder(OpenFolder&& other) noexcept { *this = std::move(other); }
  OpenFolder& operator=(OpenFolder&& other) noexcept;
  ~OpenFolder() { close(); }

  // Open a folder by its path, following symbolic links; or by its name in another folder, which
  // may be `..`, following none. The result is closed on failure, and errno says why.
  static OpenFolder at_path(const std::string& path);
  static OpenFolder in(const OpenFolder& parent, const std::string& name);

  bool is_open() const { return _descriptor >= 0; }
  void close();

  // Closes the folder and keeps its identity for is(). When the system does not tell the identity,
  // is() will hold for no folder.
  void set_aside();
  int descriptor() const { return _descriptor; }  // still owned by this object; negative if closed

  // Whether this open folder is the one that `aside` was before set_aside(), wherever it lies now.
  bool is(const OpenFolder& aside) const;

  // Calls `take` for each entry but `.` and `..` once, in any order; `error` is the errno when
  // `kind` is unknown, else 0. Returns 0 when all entries were read, else an errno. Call it once.
  int for_each(const std::function<void(const char* name, Kind kind, int error)>& take) const;

  // The kind of the entry of that name. When it is unknown, `error` becomes the errno: ENOENT when
  // there is no such entry.
  Kind kind(const char* name, int& error) const;

  // Opens a file for reading and returns its descriptor, which the caller owns, or -1 and errno.
  // Follows no symbolic link, and does not wait for the writer of a FIFO.
  int open_file(const std::string& name) const;

 private:
  explicit OpenFolder(int descriptor) : _descriptor(descriptor) {}

  int _descriptor = -1;
  dev_t _device = 0;  // kept by set_aside()
  ino_t _inode = 0;   // the same; 0, which no folder has, while nothing is kept
};

}  // namespace walk
