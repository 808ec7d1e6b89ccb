// How a question learns that nobody waits for its answer any more.
#pragma once

#include <functional>

namespace repository {

// Asked every fraction of a millisecond, on the thread that asks the question. Once it is true it
// stays so until the question has ended, which it does with an IndexError.
using Poll = std::function<bool()>;

}  // namespace repository
