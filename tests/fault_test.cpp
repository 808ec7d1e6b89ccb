// Faults of the machine: any allocation fails, any system call fails, a process of several threads
// forks, threads start and end by the thousand.
//
// A separate program: it replaces operator new, and the linker directs open, fstat and read to the
// functions here (tests/CMakeLists.txt).
#include <fcntl.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <new>
#include <optional>
#include <thread>
#include <utility>

#include "engines/treesitter/text/text.h"
#include "tests/support/inputs.h"
#include "tests/support/parse.h"
#include "tests/support/sanitizers.h"
#include "tests/support/temporary_folder.h"

// ---- Operator new: can fail one allocation of a thread, and counts blocks ----

namespace {

thread_local constinit std::size_t allocations_until_failure = 0;  // 0 for none
constinit std::atomic<std::ptrdiff_t> live_blocks = 0;

}  // namespace

void* operator new(std::size_t size) {
  if (allocations_until_failure > 0 && --allocations_until_failure == 0) throw std::bad_alloc();
  void* const block = std::malloc(std::max<std::size_t>(size, 1));
  if (block == nullptr) throw std::bad_alloc();
  ++live_blocks;
  return block;
}
// Replaced too, since that of a sanitizer would not call the one above.
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
  try {
    return operator new(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
void operator delete(void* block) noexcept {
  if (block != nullptr) --live_blocks;
  std::free(block);
}
void operator delete(void* block, std::size_t /*size*/) noexcept { operator delete(block); }

// ---- System calls: can fail one call, and bound what a read gives ----

namespace {

enum class Call { open, fstat, read };

constexpr int END_OF_FILE = 0;  // for Plan::error: the file has been cut, so that read gives 0

struct Plan {
  Call call = Call::open;
  int error = 0;
  int calls_until_failure = 0;  // 0 for none
  std::size_t most_bytes = SIZE_MAX;
} plan;

bool fails(Call call) {
  if (call != plan.call || plan.calls_until_failure == 0 || --plan.calls_until_failure > 0) {
    return false;
  }
  errno = plan.error;
  return true;
}

}  // namespace

extern "C" {
int __real_open(const char* path, int flags, ...);
int __real_fstat(int file, struct stat* status);
ssize_t __real_read(int file, void* buffer, std::size_t size);

int __wrap_open(const char* path, int flags, ...) {
  EXPECT_EQ(flags & O_CREAT, 0) << "there would be one more argument";
  return fails(Call::open) ? -1 : __real_open(path, flags);
}
int __wrap_fstat(int file, struct stat* status) {
  return fails(Call::fstat) ? -1 : __real_fstat(file, status);
}
ssize_t __wrap_read(int file, void* buffer, std::size_t size) {
  if (fails(Call::read)) return plan.error == END_OF_FILE ? 0 : -1;
  return __real_read(file, buffer, std::min(size, plan.most_bytes));
}
}

namespace engines::treesitter {
namespace {

// ---- Memory ----

// Runs `call` again and again, each time on a new engine, and fails its first allocation, its
// second, and so on. A failure must reach the caller as std::bad_alloc, or change nothing where the
// memory is not needed (a stable sort does without it). Afterwards the engine must give the usual
// result, and leave no block behind.
template <typename Call>
void fail_every_allocation(Call call) {
  const ParseResult expected = call(TreeSitterEngine());
  for (std::size_t n = 1;; ++n) {
    const std::ptrdiff_t before = live_blocks;
    bool is_reached = true;
    {
      const TreeSitterEngine engine;
      allocations_until_failure = n;
      try {
        const ParseResult result = call(engine);
        is_reached = std::exchange(allocations_until_failure, 0) == 0;
        ASSERT_EQ(result, expected) << n;
      } catch (const std::bad_alloc&) {
      }
      ASSERT_EQ(call(engine), expected) << n;
    }
    ASSERT_EQ(live_blocks, before) << n;
    if (!is_reached) break;
  }
}

TEST(MemoryFaultTest, EveryAllocationOfAParse) {
  const std::size_t stride = IS_SANITIZED ? 10 : 1;
  for (std::size_t i = 0; i < inputs().size(); i += stride) {
    const Input& input = inputs()[i];
    SCOPED_TRACE(input.language + '/' + input.name);
    const std::string content = decode_replacing(input.bytes);
    ASSERT_NO_FATAL_FAILURE(fail_every_allocation([&](const TreeSitterEngine& engine) {
      return engine.parse_content(content, input.language, "a/input.x");
    }));
  }
}

TEST(MemoryFaultTest, EveryAllocationWhereOtherThingsFail) {
  const std::pair<std::string, std::string> hostile[] = {
      {"yaml", repeated("- ", 150) + "a: 1\n"},
      {"ruby", "x = <<" + repeated("A", 300) + "\n"},
      {"json", R"({"a\u0000b": {"c\u0000": 1}, "": 2})"},
  };
  for (const auto& [language, content] : hostile) {
    ASSERT_NO_FATAL_FAILURE(
        fail_every_allocation([&, &language = language, &content = content](const auto& engine) {
          return engine.parse_content(content, language, "a/input.x");
        }));
  }
  for (const char* const path :
       {"/no/such/folder/input.py", TESTS_DIR "/golden/python/realistic/input.py", "/"}) {
    ASSERT_NO_FATAL_FAILURE(fail_every_allocation([&](const TreeSitterEngine& engine) {
      return engine.parse_file(path).value_or(ParseResult());
    }));
  }
}

// ---- System calls ----

class CallFaultTest : public testing::Test {
 protected:
  CallFaultTest() { _folder.file("input.py", content); }

  std::filesystem::path path() const { return _folder.path("input.py"); }

  ParseResult parse_with(const Plan& faults) {
    plan = faults;
    ParseResult result = engine.parse_file(path()).value();
    _is_reached = plan.calls_until_failure == 0;
    plan = {};
    return result;
  }
  bool is_reached() const { return _is_reached; }

  static std::ptrdiff_t open_files() {
    const std::filesystem::directory_iterator files("/proc/self/fd");
    return std::distance(begin(files), end(files));
  }

  const TreeSitterEngine engine;
  const std::string content = repeated("def f():\n  g()\n\n", 60);
  static constexpr std::size_t SHORT_READ = 100;

 private:
  const TemporaryFolder _folder;
  bool _is_reached = false;
};

TEST_F(CallFaultTest, EveryFailureIsAnOrderlyResult) {
  const std::pair<Call, int> faults[] = {
      {Call::open, EACCES},     {Call::open, EMFILE}, {Call::open, ELOOP}, {Call::fstat, EIO},
      {Call::fstat, EOVERFLOW}, {Call::read, EIO},    {Call::read, EISDIR}};
  const std::ptrdiff_t files_before = open_files();
  for (const auto& [call, error] : faults) {
    int n = 1;
    for (;; ++n) {
      const ParseResult result = parse_with({call, error, n, SHORT_READ});
      if (!is_reached()) break;
      EXPECT_EQ(result.errors, std::vector<std::string>{
                                   "Failed to read file: [Errno " + std::to_string(error) + "] " +
                                   std::strerror(error) + ": '" + path().native() + "'"});
      EXPECT_TRUE(result.symbols.empty() && result.references.empty());
      EXPECT_EQ(result.content_hash, "");
    }
    EXPECT_GT(n, call == Call::read ? 9 : 1) << "no call failed";
  }
  EXPECT_EQ(open_files(), files_before);
}

TEST_F(CallFaultTest, InterruptedAndShortCallsChangeNothing) {
  const ParseResult expected = engine.parse_content(content, "python", path().native());
  for (const std::size_t most : {std::size_t{1}, std::size_t{7}, SHORT_READ}) {
    EXPECT_EQ(parse_with({Call::open, 0, 0, most}), expected) << most;
  }
  for (const Call call : {Call::open, Call::read}) {
    int n = 1;
    do {
      EXPECT_EQ(parse_with({call, EINTR, n++, SHORT_READ}), expected);
    } while (is_reached());
    EXPECT_GT(n, call == Call::read ? 9 : 2) << "no call was interrupted";
  }
}

TEST_F(CallFaultTest, AFileThatIsCutIsWhatIsLeft) {
  for (int n = 1;; ++n) {
    const ParseResult result = parse_with({Call::read, END_OF_FILE, n, SHORT_READ});
    if (!is_reached()) break;
    const std::string left = content.substr(0, static_cast<std::size_t>(n - 1) * SHORT_READ);
    EXPECT_EQ(result, engine.parse_content(left, "python", path().native())) << n;
  }
}

// ---- Threads and processes ----

std::vector<ParseResult> parse_all(const TreeSitterEngine& engine) {
  std::vector<ParseResult> results;
  for (const std::string_view language : languages::language_names()) {
    results.push_back(engine.parse_content(
        "class A { f() { g(); } }\n# B\nkey: &c 1\n\"d\": [<e>]\n", language, "a/b.c"));
  }
  return results;
}

TEST(ThreadFaultTest, TenThousandThreadsThatParseLeaveNothing) {
  constexpr std::size_t COUNT = IS_SANITIZED ? 500 : 10'000;
  const TreeSitterEngine engine;
  const std::vector<ParseResult> expected = parse_all(engine);
  const auto one_thread = [&](std::size_t i) {
    std::thread([&, i] {
      const std::string_view language = languages::language_names()[i % expected.size()];
      const ParseResult result = engine.parse_content(
          "class A { f() { g(); } }\n# B\nkey: &c 1\n\"d\": [<e>]\n", language, "a/b.c");
      EXPECT_EQ(result, expected[i % expected.size()]);
    }).join();
  };
  for (std::size_t i = 0; i < 100; ++i) one_thread(i);
  const std::ptrdiff_t blocks_before = live_blocks;
  const std::size_t bytes_before = mallinfo2().uordblks;
  for (std::size_t i = 0; i < COUNT; ++i) one_thread(i);
  EXPECT_EQ(live_blocks, blocks_before);
  if (!IS_SANITIZED) {
    EXPECT_LT(mallinfo2().uordblks, bytes_before + COUNT);
  }
}

// Three threads parse on one engine while this thread makes engines and forks. A child has one
// thread, the engine in the state of that moment, and whatever locks the other threads held.
TEST(ThreadFaultTest, EnginesAndProcessesComeAndGoWhileOthersParse) {
  const TreeSitterEngine engine;
  const std::vector<ParseResult> expected = parse_all(engine);
  std::atomic<bool> is_done = false;
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i) {
    threads.emplace_back([&] {
      while (!is_done) EXPECT_EQ(parse_all(engine), expected);
    });
  }
  for (int i = 0; i < 20; ++i) EXPECT_EQ(parse_all(TreeSitterEngine()), expected);
  for (int i = 0; i < (IS_SANITIZED ? 0 : 20); ++i) {  // sanitizers do not work in such a child
    const pid_t child = ::fork();
    if (child == 0) {
      ::alarm(600);  // against a lock that nobody gives back
      ::_exit(parse_all(engine) == expected && parse_all(TreeSitterEngine()) == expected ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  }
  is_done = true;
  for (std::thread& thread : threads) thread.join();
}

}  // namespace
}  // namespace engines::treesitter
