// Ends a question from outside.
//
// Tested by tests/python/test_index.py.
#pragma once

#include <functional>

namespace repository {

// A question calls it often, on its own thread. Once it has given true, it must go on to do so
// until the question has ended with an IndexError. Empty: nothing ends the question.
using Poll = std::function<bool()>;

}  // namespace repository
