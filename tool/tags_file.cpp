// See tags_file.h.
#include "tool/tags_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "index/index_error.h"
#include "index/questions.h"
#include "tool/byte_sink.h"
#include "tool/ctags_output.h"
#include "tool/descriptors.h"
#include "tool/interrupts.h"
#include "tool/line_sorter.h"

namespace tool {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void fail(const std::string& path, int error) {
  throw repository::IndexError("cannot write '" + path +
                               "': " + std::generic_category().message(error));
}

class FileSink final : public ByteSink {
 public:
  FileSink(int descriptor, const std::string& path) : _descriptor(descriptor), _path(path) {}
  void write(std::string_view bytes) override {
    if (const int error = write_all(_descriptor, bytes); error != 0) fail(_path, error);
  }

 private:
  const int _descriptor;
  const std::string& _path;
};

// The root as paths in the tags begin with it: "./", "../../" or "/srv/root/".
std::string way_to(const std::string& root, const fs::path& folder) {
  const fs::path down = folder.lexically_relative(root);
  if (down.empty() || *down.begin() == "..") return root.ends_with('/') ? root : root + '/';
  if (down == ".") return "./";
  std::string way;
  for ([[maybe_unused]] const auto& name : down) way += "../";
  return way;
}

fs::path folder_of(const std::string& file) {
  std::error_code error;
  fs::path folder = fs::canonical(fs::path(file).parent_path() / ".", error);
  if (error) fail(file, error.value());
  return folder;
}

// Sorts the tags into a new file and renames it. Signals wait meanwhile (WholeRecord), so that they
// leave no such file behind.
void replace(const std::string& file, LineSorter& tags) {
  const fs::path path(file);
  const std::string beside =
      path.parent_path() / ("." + path.filename().native() + '-' + std::to_string(::getpid()));
  const WholeRecord whole;
  {
    const OwnedDescriptor opened(
        ::open(beside.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0666));
    if (opened.number() < 0) fail(beside, errno);
    try {
      FileSink sink(opened.number(), file);
      write_ctags_head(sink);
      tags.write_sorted(sink);
    } catch (...) {
      ::unlink(beside.c_str());
      throw;
    }
  }
  if (::rename(beside.c_str(), file.c_str()) == 0) return;
  const int error = errno;
  ::unlink(beside.c_str());
  fail(file, error);
}

}  // namespace

std::size_t write_tags_file(const std::string& file, const std::string& path,
                            const std::optional<std::string>& database, Messages& messages) {
  repository::Questions questions(path, database);
  const std::string way = way_to(questions.root(), folder_of(file));
  LineSorter tags;
  std::size_t failed = 0;
  questions.for_each_file([&](const repository::FileSymbols& of) {
    const std::size_t before = tags.left_out();
    write_ctags(tags, way + of.path, of.prefix, of.language, of.symbols);
    if (tags.left_out() == before) return;
    ++failed;
    messages.report(of.path, tags_left_out_text(tags.left_out() - before));
  });
  replace(file, tags);
  return failed;
}

}  // namespace tool
