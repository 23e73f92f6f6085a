// Running a piece of a test in a child process held to an address space
// and a processor time: scenes made to exhaust memory or time fail such a
// test instead of the machine that runs it.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <string>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__)
#define TW_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TW_ADDRESS_SANITIZER 1
#endif
#endif

namespace test {

#ifdef TW_ADDRESS_SANITIZER
const bool ADDRESS_SANITIZER = true;
#else
const bool ADDRESS_SANITIZER = false;
#endif

// Runs `job` in a child process held to `megabytes` of address space and
// `seconds` of processor time; true when it returned true within them and
// no check failed in it. `message` gets what ended it otherwise.
inline bool within_bounds(const std::function<bool()>& job, long megabytes, int seconds, std::string& message) {
  int pipe_ends[2];
  if (pipe(pipe_ends) != 0)
    return false;
  fflush(nullptr);
  pid_t child = fork();
  if (child == 0) {
    close(pipe_ends[0]);
    struct rlimit memory = {rlim_t(megabytes) << 20, rlim_t(megabytes) << 20};
    struct rlimit cpu = {rlim_t(seconds), rlim_t(seconds)};
    setrlimit(RLIMIT_AS, &memory);
    setrlimit(RLIMIT_CPU, &cpu);
    bool ok = false;
    std::string said;
    try {
      ok = job();
    } catch (const std::bad_alloc&) {
      said = "std::bad_alloc escaped";
    }
    if (::testing::Test::HasFailure())
      said += " (a check failed in the child)";
    ssize_t written = write(pipe_ends[1], said.data(), said.size());
    fflush(nullptr);
    _exit(written >= 0 && ok && !::testing::Test::HasFailure() ? 0 : 1);
  }
  close(pipe_ends[1]);
  char buffer[512];
  ssize_t n;
  message.clear();
  while ((n = read(pipe_ends[0], buffer, sizeof(buffer))) > 0)
    message.append(buffer, size_t(n));
  close(pipe_ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  if (WIFSIGNALED(status))
    message += " (ended by signal " + std::to_string(WTERMSIG(status)) + ")";
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace test

// Skips a test whose bounds an address sanitizer's own reservations break.
#define TW_SKIP_UNDER_ADDRESS_SANITIZER()                                                                              \
  do {                                                                                                                 \
    if (test::ADDRESS_SANITIZER)                                                                                       \
      GTEST_SKIP() << "address space limits do not apply under the address sanitizer";                                \
  } while (0)
