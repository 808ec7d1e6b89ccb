// A call of the system that a signal may interrupt before it has done anything.
//
// Tested by tests/index_faults_test.py.
#pragma once

#include <cerrno>

namespace repository {

template <typename Call>
auto retried(const Call& call) {
  for (;;) {
    const auto result = call();
    if (result >= 0 || errno != EINTR) return result;
  }
}

}  // namespace repository
