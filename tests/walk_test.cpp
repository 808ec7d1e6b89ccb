// The walk of folders in hard cases: deeper than the longest path, with few descriptors, while
// folders are moved; and which ignore rules hold where. ignore_parity_test.py compares the meaning
// of patterns with git, and tool_test.py tests the rest through the tool.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "walk/folder_walk.h"
#include "walk/tracked_files.h"
#include "walk/wildmatch.h"

namespace walk {
namespace {

namespace fs = std::filesystem;

// The words of a text.
std::vector<std::string> words(const std::string& text) {
  std::istringstream stream(text);
  return {std::istream_iterator<std::string>(stream), {}};
}

// A file `index` of git in its second version, with these paths and no data of the files.
std::string git_index(const std::vector<std::string>& paths) {
  std::string index = std::string("DIRC\0\0\0\2\0\0\0", 11) + static_cast<char>(paths.size());
  for (const std::string& path : paths) {
    const std::string entry = std::string(60, '\0') + '\0' + static_cast<char>(path.size()) + path;
    index += entry + std::string(8 - entry.size() % 8, '\0');
  }
  return index + std::string(20, '\0');
}

class FolderWalkTest : public testing::Test {
 protected:
  FolderWalkTest() {
    std::string name = fs::temp_directory_path() / "walk_test_XXXXXX";
    _top = ::mkdtemp(name.data());
    // So that no settings of git but the test's own are read.
    ::setenv("HOME", (_top / ".home").c_str(), 1);
    ::setenv("GIT_CONFIG_NOSYSTEM", "1", 1);
    for (const char* variable : {"XDG_CONFIG_HOME", "GIT_CONFIG_GLOBAL"}) ::unsetenv(variable);
  }
  // std::filesystem::remove_all would hold a descriptor for each level.
  ~FolderWalkTest() override { EXPECT_EQ(std::system(("rm -rf " + _top.native()).c_str()), 0); }

  std::string top() const { return _top; }

  void write(const std::string& path, const std::string& content = "x") const {
    fs::create_directories((_top / path).parent_path());
    std::ofstream(_top / path) << content;
  }

  // Nested folders of that name. Each has a file z.py, whose name comes after the folder's. Some
  // have another file, which their rules ignore.
  void write_chain(const std::string& name, int depth) const {
    int folder = ::open(_top.c_str(), O_RDONLY | O_DIRECTORY);
    for (int level = 0; level < depth; ++level) {
      const int file = ::openat(folder, "z.py", O_WRONLY | O_CREAT, 0644);
      ASSERT_EQ(::dprintf(file, "%d", level), static_cast<int>(std::to_string(level).size()));
      ::close(file);
      if (level % 10 == 0) {
        const int rules = ::openat(folder, ".ignore", O_WRONLY | O_CREAT, 0644);
        ASSERT_EQ(::write(rules, "/*.js", 5), 5);
        ::close(rules);
        ::close(::openat(folder, "y.js", O_WRONLY | O_CREAT, 0644));
      }
      ASSERT_EQ(::mkdirat(folder, name.c_str(), 0755), 0);
      const int next = ::openat(folder, name.c_str(), O_RDONLY | O_DIRECTORY);
      ASSERT_GE(next, 0);
      ::close(folder);
      folder = next;
    }
    ::close(folder);
  }

  // The paths below the top that the walk still gives. A path with an error ends in its number.
  std::vector<std::string> rest(FolderWalk& walk) const {
    std::vector<std::string> paths;
    while (const auto found = walk.next()) {
      paths.push_back(found->path.substr(top().size() + 1));
      EXPECT_TRUE(found->error != 0 || !found->is_rules);
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
  for (const char* path : {"a/b/c/d.py", "a/b/x.py", "a/z.py", "z.py"}) write(path);
  write("a/b/.ignore", "x.py");
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  FolderWalk walk(top());
  const int first_free = ::dup(0);
  ::close(first_free);
  // Room for one more descriptor: the second folder takes it, the third that of its parent, and
  // then the rules file.
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
  std::string deep = "2/x.py";  // so deep that the folders above are closed
  for (std::size_t level = 0; level < FolderWalk::OPEN_FOLDERS; ++level) deep.insert(2, "3/");
  for (const std::string& path :
       std::vector<std::string>{"a/1/" + deep, "a/1/y/in.py", "a/1/z.py", "b/other.py"}) {
    write(path);
  }
  FolderWalk walk(top());
  EXPECT_EQ(walk.next()->path, top() + "/a/1/" + deep);
  // Neither `..` of the moved folder nor its old path leads to a/1.
  fs::rename(top() + "/a/1/2", top() + "/b/2");
  fs::rename(top() + "/a/1", top() + "/b/1");
  EXPECT_EQ(rest(walk),
            (std::vector<std::string>{"a/1/y " + std::to_string(ENOENT), "a/1/z.py", "b/1/y/in.py",
                                      "b/1/z.py", "b/" + deep, "b/other.py"}));
}

TEST_F(FolderWalkTest, CountsWhatItLeavesOut) {
  for (const char* path : {".git/a.py", ".b.py", "README", "LICENSE", "c/d.py", "c/NEWS", "e/a.py",
                           "e/b.py", "f/g.py", "h.py", "i.py", "j.js"}) {
    write(path);
  }
  fs::create_symlink("d.py", top() + "/c/link.py");
  write(".gitignore", "h.py\ni.py\ne/\nLICENSE");
  FolderWalk walk(top() + "/", {.exclude = {"f", "i.*"}, .types = {"python"}});
  EXPECT_EQ(walk.next()->path, top() + "/c/d.py");
  EXPECT_FALSE(walk.next());
  const LeftOut& left_out = walk.left_out();
  EXPECT_EQ((std::array{left_out.hidden, left_out.links, left_out.unknown, left_out.other_type,
                        left_out.excluded, left_out.ignored}),
            (std::array<std::size_t, 6>{3, 1, 3, 1, 2, 2}));
}

struct RulesCase {
  const char* shows;
  std::vector<std::pair<std::string, std::string>> files;  // in addition to a.py, b.py and d/a.py
  const char* taken;
  const char* folder = "r";
  WalkOptions options = {};
};

TEST_F(FolderWalkTest, FollowsTheRulesThatHoldInAFolder) {
  const std::string git = "r/.git/HEAD";
  const std::vector<RulesCase> cases = {
      {"git's files count in repositories only",
       {{"r/.gitignore", "a.py"}},
       "r/a.py r/b.py r/d/a.py"},
      {"others everywhere", {{"r/.ignore", "a.py"}}, "r/b.py"},
      {"but not above the named folder", {{"r/.ignore", "a.py"}}, "r/d/a.py", "r/d"},
      {"they are stronger in one folder",
       {{git, ""}, {"r/.gitignore", "a.py\n!b.py"}, {"r/.ignore", "!a.py\nb.py"}},
       "r/a.py r/d/a.py"},
      {"and weaker than those below",
       {{git, ""}, {"r/.ignore", "a.py"}, {"r/d/.gitignore", "!a.py"}},
       "r/b.py r/d/a.py"},
      {"no folder that is ignored is looked into",
       {{git, ""}, {"r/.gitignore", "d"}, {"r/d/.gitignore", "!a.py"}},
       "r/a.py r/b.py"},
      {"unless it is named", {{git, ""}, {"r/.gitignore", "d"}}, "r/d/a.py", "r/d"},
      {"or holds what is tracked, which alone counts in it",
       {{git, ""},
        {"r/.gitignore", "/d\na.py"},
        {"r/d/b.py", ""},
        {"r/d/e/a.py", ""},
        {"r/d/f/a.py", ""},
        {"r/d/f/.gitignore", "!a.py"},
        {"r/.git/index", git_index({"d/b.py", "d/e/a.py", "d/e0", "d0"})}},
       "r/b.py r/d/b.py r/d/e/a.py"},
      {"a submodule that is tracked has rules of its own",
       {{git, ""},
        {"r/.gitignore", "/d"},
        {"r/d/.git", "gitdir: ../.git/m"},
        {"r/d/.gitignore", "a*"},
        {"r/d/b.py", ""},
        {"r/d/ab.py", ""},
        {"r/.git/m/index", git_index({"ab.py"})},
        {"r/.git/index", git_index({"d"})}},
       "r/a.py r/b.py r/d/ab.py r/d/b.py"},
      {"what other files name is left out, tracked or not",
       {{git, ""},
        {"r/.gitignore", "a.py"},
        {"r/.ignore", "/d/"},
        {"r/.git/index", git_index({"a.py", "d/a.py"})}},
       "r/a.py r/b.py"},
      {"rules above the named folder count, from where they stand",
       {{git, ""},
        {"r/.gitignore", "/d/e/*.py\n/a.py"},
        {"r/d/.ignore", "/e/f/a.py"},
        {"r/d/e/f/a.py", ""},
        {"r/d/e/f/b.py", ""},
        {"r/d/e/a.py", ""}},
       "r/d/e/f/b.py",
       "r/d/e"},
      {"a repository within another begins anew",
       {{git, ""},
        {"r/.gitignore", "a.py"},
        {"r/.ignore", "b.py"},
        {"r/d/.git", "gitdir: ../no"},
        {"r/d/.gitignore", "c.py"},
        {"r/d/b.py", ""},
        {"r/d/c.py", ""},
        {"r/e/a.py", ""},
        {"r/e/c.py", ""}},
       "r/d/a.py r/d/b.py r/e/c.py"},
      {"also where it is named",
       {{git, ""}, {"r/.gitignore", "a.py"}, {"r/d/.git/HEAD", ""}},
       "r/d/a.py",
       "r/d"},
      {"a further working tree shares the repository's own rules",
       {{"r/.git", "gitdir: ../main/w\n"},
        {"main/w/commondir", "..\n"},
        {"main/info/exclude", "/a.py"}},
       "r/b.py r/d/a.py"},
      {"the user's rules are the weakest",
       {{git, ""},
        {".home/.config/git/ignore", "*.py"},
        {"r/.git/info/exclude", "!d/\n!a.py"},
        {"r/d/.gitignore", "a.py"}},
       "r/a.py"},
      {"settings say where they are",
       {{git, ""},
        {".home/.config/git/ignore", "*"},
        {".home/mine", "d"},
        {".home/.gitconfig",
         "[Core] # one\n\texcludesFile = \"~/m\"in\\\ne ; two\n[core \"x\"]\n"
         "excludesFile = no"}},
       "r/a.py r/b.py"},
      {"or that there are none",
       {{git, ""},
        {".home/.config/git/ignore", "*"},
        {".home/.gitconfig", "[core]\nexcludesFile = /dev/null"}},
       "r/a.py r/b.py r/d/a.py"},
      {"and whether case counts, in files that they include, too",
       {{git, ""},
        {"r/.gitignore", "A.PY\n[A-B]?PY\n!D/a.*"},
        {"r/.git/config", "[include]\npath = more\n"},
        {"r/.git/more", "[core]ignorecase"}},
       "r/d/a.py"},
      {"exclusions are the strongest, and begin at the named folder",
       {{git, ""}, {"r/.gitignore", "a.py"}, {"r/d/e/a.py", ""}, {"r/d/#", ""}},
       "r/d/a.py",
       "r/d",
       {.exclude = {"#", "*.py", "!/a.py", "e "}}},
      {"no file is read when none is wanted",
       {{git, ""}, {"r/.gitignore", "a.py"}, {"r/.ignore", "b.py"}},
       "r/a.py r/d/a.py",
       "r",
       {.no_ignore = true, .exclude = {"b.py"}}},
      {"hidden entries are taken when wanted, git's own never",
       {{"r/.git/a.py", ""}, {"r/.h/a.py", ""}, {"r/.gitignore", "/d"}},
       "r/.h/a.py r/a.py r/b.py",
       "r",
       {.hidden = true}},
      {"types",
       {{"r/a.js", ""}, {"r/a.go", ""}},
       "r/a.go r/a.js",
       "r",
       {.types = {"go", "javascript"}}},
  };
  for (const RulesCase& row : cases) {
    for (const char* name : {"r", "main", ".home"}) fs::remove_all(top() + '/' + name);
    for (const char* path : {"r/a.py", "r/b.py", "r/d/a.py"}) write(path);
    for (const auto& [path, content] : row.files) write(path, content);
    FolderWalk walk(top() + '/' + row.folder, row.options);
    EXPECT_EQ(rest(walk), words(row.taken)) << row.shows;
  }
}

TEST_F(FolderWalkTest, LooksAtWhatIsSelectedByTheRulesThatHoldThere) {
  for (const char* path : {"a.py", "a/b/c.py", "a/b/d.py", "a/b.py", "a.b/e.py", "a/i/f.py",
                           "r/g.py", "r/sub/h.py", "z.py"}) {
    write(path);
  }
  write(".ignore", "/a/b/d.py\nsub");
  write("a/.ignore", "i");
  fs::create_directories(top() + "/r/.git");
  fs::create_directory_symlink("a", top() + "/link");
  const struct {
    std::vector<std::string> selected;
    std::string expected;
    std::string entered;
  } rows[] = {
      {{""}, "a.b/e.py a.py a/b.py a/b/c.py r/g.py r/sub/h.py z.py", "/ a.b/ a/ a/b/ r/ r/sub/"},
      {{}, "", "/"},
      {{"a/b/c.py", "a/b/d.py", "none.py", "none/x.py"}, "a/b/c.py", "/ a/ a/b/"},
      {{"a", "a/b/c.py", "a.b", "a.py", "a"}, "a.b/e.py a.py a/b.py a/b/c.py", "/ a.b/ a/ a/b/"},
      {{"a/i/f.py", "a/i", "link/b.py", "r/sub/h.py"}, "r/sub/h.py", "/ a/ r/ r/sub/"},
      {{"a", "", "z.py"},
       "a.b/e.py a.py a/b.py a/b/c.py r/g.py r/sub/h.py z.py",
       "/ a.b/ a/ a/b/ r/ r/sub/"},
  };
  for (const auto& row : rows) {
    std::string entered;
    FolderWalk walk(top(), {}, Selection(row.selected), [&](const std::string& path, int folder) {
      EXPECT_GE(folder, 0);
      const std::string way = path.substr(top().size() + 1);
      entered += (entered.empty() ? "" : " ") + (way.empty() ? "/" : way);
    });
    EXPECT_EQ(rest(walk), words(row.expected));
    EXPECT_EQ(entered, row.entered);
  }
}

TEST_F(FolderWalkTest, SaysWhichRulesItCannotReadAndGoesOn) {
  for (const char* path : {"r/.git/HEAD", "r/a/a.py", "r/b/a.py", "r/c/a.py", "r/z.py"})
    write(path);
  fs::create_symlink("no", top() + "/r/.gitignore");
  ASSERT_EQ(::mkfifo((top() + "/r/a/.ignore").c_str(), 0644), 0);
  write("r/b/.gitignore", "a.py");
  fs::resize_file(top() + "/r/b/.gitignore", (std::size_t{16} << 20) + 1);
  fs::create_directories(top() + "/r/c/.ignore");
  write("r/.git/index", "no index");
  FolderWalk walk(top() + "/r");
  const auto with = [](const char* path, int error) {
    return path + (' ' + std::to_string(error));
  };
  EXPECT_EQ(rest(walk), (std::vector<std::string>{
                            with("r/.git/index", EBADMSG), with("r/.gitignore", ELOOP),
                            with("r/a/.ignore", EINVAL), "r/a/a.py", with("r/b/.gitignore", EFBIG),
                            "r/b/a.py", "r/c/a.py", "r/z.py"}));
  // A rules file of the largest size that is read, with a pattern in each line.
  std::string most;
  while (most.size() + 3 <= std::size_t{16} << 20) most += "*x\n";
  write("r/b/.gitignore", most.replace(most.size() - 6, 6, "a.py\n#"));
  // Settings that include themselves, twice.
  write("r/b/.git/config", "[include]path=config\n[include]path=config");
  FolderWalk looping(top() + "/r/b");
  EXPECT_EQ(rest(looping), (std::vector<std::string>{with("r/b/.git/config", ELOOP)}));
  fs::remove_all(top() + "/r/b/.git");
  FolderWalk other(top() + "/r/b");
  EXPECT_EQ(rest(other),
            (std::vector<std::string>{with("r/.git/index", EBADMSG), with("r/.gitignore", ELOOP)}));
}

TEST(TrackedFiles, OfAnIndexThatIsCutNothingIsTaken) {
  const std::string index = git_index({"a.py", "a/b.py", "ab"});
  for (std::size_t size = 0; size + 20 < index.size(); ++size) {
    EXPECT_EQ(TrackedFiles().read(index.substr(0, size), 20), EBADMSG) << size;
  }
  TrackedFiles tracked;
  EXPECT_EQ(tracked.read(index, 20), 0);
  for (const char* path : {"a", "a/b.py", "ab"}) EXPECT_TRUE(tracked.has_folder(path)) << path;
  for (const char* path : {"a/b", "a.p", "b", ""}) EXPECT_FALSE(tracked.has_folder(path)) << path;
  EXPECT_FALSE(tracked.has_file("a"));
  EXPECT_EQ(TrackedFiles().read(index, 32), EBADMSG);
  EXPECT_EQ(TrackedFiles().read(git_index({"b", "a"}), 20), EBADMSG);
  // In the fourth version a path says how much of the path before it is dropped; here too much.
  std::string compressed = index;
  compressed[7] = 4;
  EXPECT_EQ(TrackedFiles().read(compressed, 20), EBADMSG);
}

TEST(Wildmatch, GivesUpInTime) {
  // An exponential matcher would try each star at each letter.
  std::string stars = "**/**/**/**/";
  for (int i = 0; i < 40; ++i) stars += "*a";
  const std::string name(4000, 'a');
  std::string path = name;
  for (int i = 0; i < 20; ++i) path += '/' + name;
  EXPECT_FALSE(wildmatch(stars + 'b', name, false));
  EXPECT_FALSE(wildmatch(stars + 'b', path, false));
  EXPECT_TRUE(wildmatch(stars + 'b', path + 'b', false));
  EXPECT_FALSE(wildmatch("**/*a/**/*a/**/*a/**/b", path, false));
  EXPECT_FALSE(wildmatch("**\\/**\\/**\\/b", path, false));
}

}  // namespace
}  // namespace walk
