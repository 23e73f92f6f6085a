#include "support/test_support.h"

#include "foundation/error/error.h"

#include <fstream>
#include <sstream>
#include <stdlib.h>
#include <string.h>

#include <stdio.h>

#if defined(_WIN32)
  #include <direct.h>
  #include <windows.h>
  #define popen _popen
  #define pclose _pclose
  #define WIFEXITED(status) true
  #define WEXITSTATUS(status) (status)
#else
  #include <dirent.h>
  #include <sys/stat.h>
  #include <sys/wait.h>
  #include <unistd.h>
#endif

namespace test {

Report capture_report(const std::function<void()>& statement) {
  Report r;
  foundation::error::ScopedMode mode(foundation::ERROR_MODE_THROW);
  try {
    statement();
  } catch (const foundation::ErrorException& e) {
    r.reported = true;
    r.message = e.message();
    r.report = e.report();
  }
  return r;
}

namespace {
Report* g_returning_report = nullptr;
void record_returning(const char* message, void*) {
  if (g_returning_report && !g_returning_report->reported) {
    g_returning_report->reported = true;
    g_returning_report->message = message;
  }
}
} // namespace

Report capture_report_returning(const std::function<void()>& statement) {
  Report r;
  foundation::error::ScopedMode mode(3);
  g_returning_report = &r;
  foundation::error::set_report_hook(&record_returning);
  statement();
  foundation::error::set_report_hook(nullptr);
  g_returning_report = nullptr;
  return r;
}

::testing::AssertionResult reports_with(const std::function<void()>& statement, const std::string& expected) {
  Report r = capture_report(statement);
  if (!r.reported)
    return ::testing::AssertionFailure() << "no report; expected one containing \"" << expected << "\"";
  if (r.message.find(expected) == std::string::npos)
    return ::testing::AssertionFailure() << "report \"" << r.message << "\" does not contain \"" << expected << "\"";
  return ::testing::AssertionSuccess();
}

#if defined(_WIN32)
TempDirectory::TempDirectory() {
  char base[MAX_PATH];
  GetTempPathA(MAX_PATH, base);
  static int counter = 0;
  _path = std::string(base) + "twi_test_" + std::to_string(GetCurrentProcessId()) + "_" + std::to_string(++counter);
  _mkdir(_path.c_str());
}
static void remove_tree(const std::string& path) {
  std::string cmd = "rmdir /s /q \"" + path + "\"";
  (void)system(cmd.c_str());
}
#else
TempDirectory::TempDirectory() {
  const char* base = getenv("TMPDIR");
  std::string pattern = std::string(base && *base ? base : "/tmp") + "/twi_test_XXXXXX";
  char* p = mkdtemp(&pattern[0]);
  _path = p ? p : pattern;
}
static void remove_tree(const std::string& path) {
  DIR* d = opendir(path.c_str());
  if (d) {
    while (dirent* e = readdir(d)) {
      std::string name = e->d_name;
      if (name == "." || name == "..")
        continue;
      std::string full = path + "/" + name;
      struct stat st;
      if (lstat(full.c_str(), &st) == 0 && S_ISDIR(st.st_mode))
        remove_tree(full);
      else
        unlink(full.c_str());
    }
    closedir(d);
  }
  rmdir(path.c_str());
}
#endif

TempDirectory::~TempDirectory() { remove_tree(_path); }

#if defined(_WIN32)
unsigned directory_size(const std::string& path) {
  WIN32_FIND_DATAA data;
  HANDLE h = FindFirstFileA((path + "\\*").c_str(), &data);
  if (h == INVALID_HANDLE_VALUE)
    return 0;
  unsigned n = 0;
  do {
    if (strcmp(data.cFileName, ".") != 0 && strcmp(data.cFileName, "..") != 0)
      ++n;
  } while (FindNextFileA(h, &data));
  FindClose(h);
  return n;
}
#else
unsigned directory_size(const std::string& path) {
  DIR* d = opendir(path.c_str());
  if (!d)
    return 0;
  unsigned n = 0;
  while (dirent* e = readdir(d))
    if (strcmp(e->d_name, ".") != 0 && strcmp(e->d_name, "..") != 0)
      ++n;
  closedir(d);
  return n;
}
#endif

std::string read_file(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

unsigned stress_scale() {
  const char* text = getenv("TW_STRESS_SCALE");
  int scale = text ? atoi(text) : 1;
  return scale > 0 ? unsigned(scale) : 1u;
}

ProgramRun run_program(const std::string& command) {
  ProgramRun r;
  r.status = -1;
  FILE* p = popen((command + " 2>&1").c_str(), "r");
  if (!p)
    return r;
  char buffer[4096];
  size_t n;
  while ((n = fread(buffer, 1, sizeof(buffer), p)) > 0)
    r.output.append(buffer, n);
  int status = pclose(p);
  r.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return r;
}

void write_file(const std::string& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary);
  out << text;
}

} // namespace test
