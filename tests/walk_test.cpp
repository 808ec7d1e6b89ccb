// The walk of folders where it is hardest: deeper than any path may be long, with few descriptors,
// and while folders are moved. What a user sees of the rest is in tool_test.py.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "walk/folder_walk.h"

namespace walk {
namespace {

namespace fs = std::filesystem;

class FolderWalkTest : public testing::Test {
 protected:
  FolderWalkTest() {
    std::string name = fs::temp_directory_path() / "walk_test_XXXXXX";
    _top = ::mkdtemp(name.data());
  }
  // The standard library's own removal holds a descriptor for each level.
  ~FolderWalkTest() override { EXPECT_EQ(std::system(("rm -rf " + _top.native()).c_str()), 0); }

  std::string top() const { return _top; }

  void write(const std::string& path) const {
    fs::create_directories((_top / path).parent_path());
    std::ofstream(_top / path) << path;
  }

  // Nested folders of that name, each with a file z.py, which stands behind the folder.
  void write_chain(const std::string& name, int depth) const {
    int folder = ::open(_top.c_str(), O_RDONLY | O_DIRECTORY);
    for (int level = 0; level < depth; ++level) {
      const int file = ::openat(folder, "z.py", O_WRONLY | O_CREAT, 0644);
      ASSERT_EQ(::dprintf(file, "%d", level), static_cast<int>(std::to_string(level).size()));
      ::close(file);
      ASSERT_EQ(::mkdirat(folder, name.c_str(), 0755), 0);
      const int next = ::openat(folder, name.c_str(), O_RDONLY | O_DIRECTORY);
      ASSERT_GE(next, 0);
      ::close(folder);
      folder = next;
    }
    ::close(folder);
  }

  // The paths below the first folder; what has an error ends in its number.
  std::vector<std::string> rest(FolderWalk& walk) const {
    std::vector<std::string> paths;
    while (const auto found = walk.next()) {
      paths.push_back(found->path.substr(top().size() + 1));
      if (found->error != 0) paths.back() += ' ' + std::to_string(found->error);
    }
    return paths;
  }

 private:
  fs::path _top;
};

std::string content_of(int descriptor) {
  std::array<char, 16> buffer{};
  const ssize_t size = ::read(descriptor, buffer.data(), buffer.size());
  ::close(descriptor);
  return size < 0 ? "unreadable" : std::string(buffer.data(), static_cast<std::size_t>(size));
}

TEST_F(FolderWalkTest, LosesNothingBeyondTheLongestPathWithFewDescriptors) {
  constexpr int DEPTH = 3000;
  const std::string name(200, 'n');
  write_chain(name, DEPTH);
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlim_t few = static_cast<rlim_t>(::dup(0)) + FolderWalk::OPEN_FOLDERS + 3;
  ::close(static_cast<int>(few - FolderWalk::OPEN_FOLDERS - 3));
  const rlimit lowered{few, before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &lowered), 0);
  FolderWalk walk(top());
  for (int level = DEPTH - 1; level >= 0; --level) {
    const auto found = walk.next();
    ASSERT_TRUE(found);
    ASSERT_EQ(found->error, 0) << level;
    ASSERT_EQ(found->path.size(), top().size() + static_cast<std::size_t>(level) * 201 + 5);
    ASSERT_EQ(content_of(walk.open_last()), std::to_string(level));
  }
  EXPECT_FALSE(walk.next());
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
}

TEST_F(FolderWalkTest, ReportsAFolderForWhichNoDescriptorIsLeft) {
  for (const char* path : {"a/b/c/d.py", "a/z.py", "z.py"}) write(path);
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  FolderWalk walk(top());
  const int first_free = ::dup(0);
  ::close(first_free);
  // Room for one more folder: the second takes it, and the third its parent's.
  const rlimit lowered{static_cast<rlim_t>(first_free) + 1, before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &lowered), 0);
  EXPECT_EQ(rest(walk), (std::vector<std::string>{"a/b/c/d.py", "a/z.py", "z.py"}));
  FolderWalk other(top());
  const rlimit none{static_cast<rlim_t>(first_free), before.rlim_max};
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
  EXPECT_EQ(rest(other), (std::vector<std::string>{"a " + std::to_string(EMFILE), "z.py"}));
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &before), 0);
}

TEST_F(FolderWalkTest, TakesNoOtherFolderForOneThatWasMoved) {
  const std::string deep = "a/1/2/3/4/5/6/7/8/9/x.py";
  for (const std::string path : {deep.c_str(), "a/1/y/in.py", "a/1/z.py", "b/other.py"})
    write(path);
  FolderWalk walk(top());
  EXPECT_EQ(walk.next()->path, top() + '/' + deep);
  // Neither `..` of what was moved nor the path that it had leads to a/1.
  fs::rename(top() + "/a/1/2", top() + "/b/2");
  fs::rename(top() + "/a/1", top() + "/b/1");
  EXPECT_EQ(rest(walk),
            (std::vector<std::string>{"a/1/y " + std::to_string(ENOENT), "a/1/z.py", "b/1/y/in.py",
                                      "b/1/z.py", "b/2/3/4/5/6/7/8/9/x.py", "b/other.py"}));
}

TEST_F(FolderWalkTest, CountsWhatItLeavesOut) {
  for (const char* path : {".git/a.py", ".b.py", "README", "LICENSE", "c/d.py", "c/NEWS"}) {
    write(path);
  }
  fs::create_symlink("d.py", top() + "/c/link.py");
  FolderWalk walk(top() + "/");
  EXPECT_EQ(walk.next()->path, top() + "/c/d.py");
  EXPECT_FALSE(walk.next());
  EXPECT_EQ(walk.left_out().hidden, 2U);
  EXPECT_EQ(walk.left_out().links, 1U);
  EXPECT_EQ(walk.left_out().unknown, 3U);
}

}  // namespace
}  // namespace walk
