// Reading files: which paths can be read, and the errors of the others.
#include "engines/treesitter/reading/file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <string>
#include <thread>

#include "tests/support/temporary_folder.h"

namespace engines::treesitter {
namespace {

namespace fs = std::filesystem;

class FileTest : public testing::Test {
 protected:
  fs::path path(std::string_view name) const { return _folder.path(name); }
  fs::path file(std::string_view name, std::string_view bytes) const {
    return _folder.file(name, bytes);
  }

  static FileContent read(const fs::path& path) {
    Sha256 digest;
    RoomShare room;
    return SourceFile(path).read(digest, room, never_cancelled);
  }

  // "[Errno 2] No such file or directory", without the path that follows it.
  static std::string error_of(const fs::path& path) {
    try {
      read(path);
    } catch (const FileReadError& error) {
      const std::string text = error.what();
      EXPECT_EQ(text.rfind("[Errno " + std::to_string(error.code().value()) + "] ", 0), 0u) << text;
      return text.substr(0, text.find(": "));
    }
    return "read";
  }

  static std::string message(int number) {
    return "[Errno " + std::to_string(number) + "] " + std::strerror(number);
  }

 private:
  const TemporaryFolder _folder;
};

TEST_F(FileTest, BytesAsTheyAre) {
  std::string every_byte;
  for (int byte = 0; byte < 256; ++byte) every_byte.push_back(static_cast<char>(byte));
  std::string large;
  while (large.size() < 3'000'000) large += every_byte;
  const std::string cases[] = {
      "",   "x", every_byte, std::string(4095, 'a'), std::string(4096, 'a'), std::string(4097, 'a'),
      large};
  for (const std::string& bytes : cases) {
    const FileContent content = read(file("a", bytes));
    EXPECT_TRUE(content.bytes == bytes) << bytes.size();
    EXPECT_EQ(content.size, bytes.size());
    EXPECT_EQ(content.content_hash, "");
  }
}

TEST(BinaryTest, ANulInTheFirst8KiB) {
  EXPECT_TRUE(is_binary(std::string(8191, 'a') + '\0'));
  EXPECT_FALSE(is_binary(std::string(8192, 'a') + '\0'));
  EXPECT_TRUE(
      is_binary(std::string_view("\xFF\xFE"
                                 "a\0",
                                 4)));
  EXPECT_FALSE(is_binary(""));
}

TEST_F(FileTest, WhatClaimsToBeEmptyIsReadToItsEnd) {
  const FileContent content = read("/proc/self/status");
  EXPECT_NE(content.bytes.find("VmRSS"), std::string::npos);
  EXPECT_EQ(content.size, content.bytes.size());
}

TEST_F(FileTest, WhatIsNoFileIsAnErrorAndNotAWait) {
  EXPECT_EQ(error_of(path("missing")), message(ENOENT));
  EXPECT_EQ(error_of(""), message(ENOENT));
  EXPECT_EQ(error_of(file("file", "x") / "below"), message(ENOTDIR));
  EXPECT_EQ(error_of(path("")), message(EISDIR));
  EXPECT_EQ(error_of(path(std::string(300, 'a'))), message(ENAMETOOLONG));
  EXPECT_EQ(error_of("/dev/null"), "[Errno 22] Not a regular file");

  fs::create_symlink(path("loop"), path("loop"));
  EXPECT_EQ(error_of(path("loop")), message(ELOOP));

  ASSERT_EQ(::mkfifo(path("fifo").c_str(), 0600), 0);
  EXPECT_EQ(error_of(path("fifo")), "[Errno 22] Not a regular file");

  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path("socket").native().copy(address.sun_path, sizeof address.sun_path - 1);
  const int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  ASSERT_EQ(::bind(socket, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  EXPECT_EQ(error_of(path("socket")), message(ENXIO));
  ::close(socket);
}

// A file whose name is the part before the NUL exists, and must not be read instead.
TEST_F(FileTest, ANulEndsNoPath) {
  file("a", "x");
  EXPECT_EQ(error_of(path(std::string_view("a\0b", 3))), "[Errno 22] Path holds a NUL character");
}

// In the form of Python's own errors.
TEST_F(FileTest, ErrorsQuoteThePathOnOneLine) {
  const std::pair<std::string, std::string> cases[] = {
      {"/no/a.py", "'/no/a.py'"},
      {"/no/caf\u00e9 \u65e5.py", "'/no/caf\u00e9 \u65e5.py'"},
      {"/no/it's", "\"/no/it's\""},
      {"/no/\"", "'/no/\"'"},
      {"/no/'\"", "'/no/\\'\"'"},
      {"/no/\\", "'/no/\\\\'"},
      {"/no/\t\n\r\x01\x7f", "'/no/\\t\\n\\r\\x01\\x7f'"},
      {"/no/\u0085\u00a0\u2028\ue000\U000e0001", "'/no/\\x85\\xa0\\u2028\\ue000\\U000e0001'"},
      {"/no/a\xff\xe2\x82z", "'/no/a\\udcff\\udce2\\udc82z'"},
  };
  for (const auto& [path, shown] : cases) {
    const FileReadError error(ENOENT, path);
    EXPECT_EQ(error.what(), "[Errno 2] No such file or directory: " + shown);
    EXPECT_EQ(error.description(), "No such file or directory");
    EXPECT_EQ(error.path(), path);
  }
}

// Whatever is read of a file that changes meanwhile, `size` is the number of bytes that were read.
TEST_F(FileTest, FilesThatChangeMeanwhile) {
  const fs::path changing = file("changing", std::string(1'000'000, 'a'));
  std::atomic<bool> is_done = false;
  std::thread writer([&] {
    for (off_t i = 0; !is_done; ++i) {
      if (::truncate(changing.c_str(), i % 2 == 0 ? 10 : 3'000'000) != 0) return;
    }
  });
  for (int i = 0; i < 200; ++i) {
    const FileContent content = read(changing);
    EXPECT_EQ(content.size, content.bytes.size());
  }
  is_done = true;
  writer.join();
}

TEST(Sha256Test, KnownDigests) {
  Sha256 digest;
  EXPECT_EQ(digest.of(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  const std::string abc = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
  EXPECT_EQ(digest.of("abc"), abc);
  digest.start();
  digest.update("a");
  digest.update("bc");
  EXPECT_EQ(digest.finish(), abc);
}

}  // namespace
}  // namespace engines::treesitter
