#include "foundation/io/file_system.h"
#include "foundation/io/path.h"
#include "foundation/memory/memory_globals.h"
#include "foundation/utility/encoding.h"
#include "support/test_support.h"

#include <string.h>
#include <string>

#include <algorithm>
#include <thread>
#include <vector>

#if !defined(_WIN32)
  #include <fcntl.h>
  #include <sys/stat.h>
  #include <unistd.h>
#endif

using namespace foundation;

namespace {
Allocator& heap() { return memory_globals::default_allocator(); }

std::string read_back(FileSystem& fs, const char* path) {
  Vector<char> text(heap());
  fs.read_all(path, text);
  return std::string(text.data(), text.size());
}
} // namespace

TEST(FileSystem, RootMustBeADirectoryAndPathsJoinWithOneSlash) {
  test::TempDirectory dir;
  test::write_file(dir.file("plain.txt"), "x");
  EXPECT_REPORT(FileSystem(heap(), dir.file("plain.txt").c_str()),
                "Assertion failed: file_system_platform_interface::is_directory(built_path.c_str())\n\nNot a directory");
  FileSystem with_slash(heap(), (dir.path() + "/").c_str());
  String full(heap());
  with_slash.full_path("/a/b.twi", full);
  EXPECT_EQ(std::string(full.c_str()), dir.path() + "/a/b.twi");
  FileSystem empty_root(heap(), "");
  empty_root.full_path("relative/x", full);
  EXPECT_STREQ(full.c_str(), "relative/x");
}

TEST(FileSystem, WritesTruncateOrAppendAndReadBack) {
  test::TempDirectory dir;
  FileSystem fs(heap(), dir.path().c_str());
  fs.write_all("a.txt", "first version", 13);
  EXPECT_EQ(read_back(fs, "a.txt"), "first version");
  fs.write_all("a.txt", "second", 6); // truncates
  EXPECT_EQ(read_back(fs, "a.txt"), "second");
  FileOutputBuffer* out = fs.open_output("a.txt", heap(), true);
  out->write_text(" and more");
  EXPECT_EQ(out->position(), 15u);
  fs.close(out);
  EXPECT_EQ(read_back(fs, "a.txt"), "second and more");
  EXPECT_EQ(fs.size("a.txt"), 15u);
  EXPECT_GT(fs.last_modified_time("a.txt"), 1600000000u);

  // A large file goes through several buffer flushes and refills.
  std::string big;
  for (int i = 0; i < 100000; ++i)
    big += char('a' + i % 26);
  fs.write_all("big.txt", big.data(), uint32_t(big.size()));
  EXPECT_EQ(read_back(fs, "big.txt"), big);
  FileInputBuffer* in = fs.open_input("big.txt", heap());
  char chunk[40000];
  in->read(chunk, sizeof(chunk));
  in->ensure(10);
  EXPECT_EQ(memcmp(in->peek(), big.data() + 40000, 10), 0);
  EXPECT_EQ(in->remaining(), 60000u);
  in->read(chunk, 39999);
  EXPECT_EQ(in->remaining(), 20001u);
  EXPECT_REPORT(in->read(chunk, 30000), "Assertion failed: left_to_read >= 0\n\nReading past end of file");
  fs.close(in);
}

TEST(FileSystem, DirectoriesAndListing) {
  test::TempDirectory dir;
  FileSystem fs(heap(), dir.path().c_str());
  fs.make_directory("sub");
  EXPECT_TRUE(fs.is_directory("sub"));
  fs.make_file("sub/b.twi");
  fs.make_file("sub/a.twi");
  EXPECT_TRUE(fs.exists("sub/a.twi"));
  EXPECT_FALSE(fs.is_directory("sub/a.twi"));
  Vector<String> names(heap());
  fs.list_directory("sub", names);
  ASSERT_EQ(names.size(), 2u);
  EXPECT_STREQ(names[0].c_str(), "a.twi");
  EXPECT_STREQ(names[1].c_str(), "b.twi");
  EXPECT_REPORT(fs.remove_directory("sub"), "Cannot remove directory " + dir.path() + "/sub");
  fs.remove_file("sub/a.twi");
  fs.remove_file("sub/b.twi");
  fs.remove_directory("sub");
  EXPECT_FALSE(fs.exists("sub"));
}

TEST(FileSystem, FailuresNameThePath) {
  test::TempDirectory dir;
  FileSystem fs(heap(), dir.path().c_str());
  std::string missing = dir.path() + "/missing.twi";
  // Opening names the system's reason after the path.
  EXPECT_REPORT(fs.open_input("missing.twi", heap()),
                "Assertion failed: h != INVALID_HANDLE_VALUE\n\nCannot open input " + missing + ": No such file");
  EXPECT_REPORT(fs.open_output("no/such/dir/x.twi", heap()),
                "Cannot open output " + dir.path() + "/no/such/dir/x.twi: No such file or directory");
  EXPECT_REPORT(fs.open_replacement("no/such/dir/x.twi", heap()),
                "Cannot open output " + dir.path() + "/no/such/dir/x.twi: No such file or directory");
  EXPECT_REPORT(fs.size("missing.twi"), "Assertion failed: exists(file)\n\nFile does not exist " + missing);
  EXPECT_REPORT(fs.last_modified_time("missing.twi"), "File does not exist " + missing);
  EXPECT_REPORT(fs.is_directory("missing.twi"), "Cannot check if path is directory " + missing);
  EXPECT_REPORT(fs.make_directory("no/such/dir"), "Cannot make directory " + dir.path() + "/no/such/dir");
  EXPECT_REPORT(fs.make_file("no/such/x"), "Cannot make file " + dir.path() + "/no/such/x");
  Vector<String> names(heap());
  EXPECT_REPORT(fs.list_directory("missing", names), "Cannot list dir " + missing.substr(0, missing.size() - 4));
}

#if !defined(_WIN32)
TEST(FileSystem, SizeOfFourGibibytesOverflows) {
  test::TempDirectory dir;
  std::string path = dir.file("huge.bin");
  int fd = open(path.c_str(), O_WRONLY | O_CREAT, 0644);
  ASSERT_GE(fd, 0);
  ASSERT_EQ(ftruncate(fd, off_t(4294967296LL)), 0); // sparse: takes no disk
  close(fd);
  FileSystem fs(heap(), dir.path().c_str());
  EXPECT_REPORT(fs.size("huge.bin"), "Assertion failed: fd.nFileSizeHigh == 0\n\nFile size overflow");
}

TEST(FileSystem, AWriteTheSystemRefusesIsReportedWithThePathAndReason) {
  if (access("/dev/full", W_OK) != 0)
    GTEST_SKIP() << "no /dev/full";
  FileSystem fs(heap(), "");
  FileOutputBuffer* out = fs.open_output("/dev/full", heap());
  out->write_text("this cannot be written");
  EXPECT_REPORT(out->flush(), "Assertion failed: written\n\nCannot write to /dev/full: No space left on device");
  // Closing tries the flush again, reports again and still releases the
  // stream and its buffer (the test's leak check would see them).
  EXPECT_REPORT(fs.close(out), "Cannot write to /dev/full");

  // A device is written directly, never replaced by a renamed file.
  out = fs.open_replacement("/dev/full", heap());
  ASSERT_TRUE(out);
  EXPECT_FALSE(out->is_replacement());
  out->write_text("x");
  EXPECT_REPORT(fs.close(out), "Cannot write to /dev/full: No space left on device");
  out = fs.open_replacement("/dev/null", heap());
  out->write_text("gone");
  fs.close(out);
}

TEST(FileSystem, ReadingGoesOnToTheEndOfPipesAndProcFiles) {
  FileSystem fs(heap(), "");
  // /proc files say they are empty.
  Vector<char> text(heap());
  fs.read_all("/proc/self/status", text);
  EXPECT_NE(std::string(text.data(), text.size()).find("Name:"), std::string::npos);

  // A pipe filled by a writer thread, larger than one read.
  int fds[2];
  ASSERT_EQ(0, pipe(fds));
  std::string sent;
  for (int i = 0; i < 30000; ++i)
    sent += "line " + std::to_string(i) + "\n";
  std::thread writer([&] {
    size_t done = 0;
    while (done < sent.size()) {
      ssize_t n = ::write(fds[1], sent.data() + done, sent.size() - done);
      if (n <= 0)
        break;
      done += size_t(n);
    }
    ::close(fds[1]);
  });
  Vector<char> piped(heap());
  fs.read_all(("/dev/fd/" + std::to_string(fds[0])).c_str(), piped);
  writer.join();
  ::close(fds[0]);
  EXPECT_EQ(sent, std::string(piped.data(), piped.size()));
}

TEST(FileSystem, AReplacementFollowsLinksAndKeepsPermissions) {
  test::TempDirectory dir;
  FileSystem fs(heap(), dir.path().c_str());
  test::write_file(dir.file("real.twi"), "old");
  ASSERT_EQ(0, chmod(dir.file("real.twi").c_str(), 0640));
  ASSERT_EQ(0, symlink("real.twi", dir.file("link.twi").c_str()));
  fs.write_all("link.twi", "new", 3);
  struct stat st;
  ASSERT_EQ(0, lstat(dir.file("link.twi").c_str(), &st));
  EXPECT_TRUE(S_ISLNK(st.st_mode)) << "the link stays a link";
  EXPECT_EQ("new", test::read_file(dir.file("real.twi")));
  ASSERT_EQ(0, stat(dir.file("real.twi").c_str(), &st));
  EXPECT_EQ(0640u, unsigned(st.st_mode & 0777));
}
#endif

namespace {
// The names in a directory, sorted.
std::vector<std::string> entries(const std::string& path) {
  FileSystem fs(heap(), "");
  Vector<String> names(heap());
  fs.list_directory(path.c_str(), names);
  std::vector<std::string> out;
  for (const String& n : names)
    out.push_back(n.c_str());
  return out;
}

// Clears the injected write fault when the test ends, whatever happens.
struct WriteFault {
  explicit WriteFault(uint32_t writes_that_succeed) { SystemFile::set_write_fault(writes_that_succeed); }
  ~WriteFault() { SystemFile::clear_write_fault(); }
};
} // namespace

TEST(FileSystem, AReplacementTakesThePlaceOfTheOldFileOnlyWhenComplete) {
  test::TempDirectory dir;
  FileSystem fs(heap(), dir.path().c_str());
  test::write_file(dir.file("doc.twi"), "old text");
  FileOutputBuffer* out = fs.open_replacement("doc.twi", heap());
  ASSERT_TRUE(out->is_replacement());
  std::string big(3 * FileOutputBuffer::CAPACITY + 5, 'n');
  out->write(big.data(), uint32_t(big.size()));
  out->write_text("!");
  EXPECT_EQ("old text", test::read_file(dir.file("doc.twi"))) << "untouched while written";
  fs.close(out);
  EXPECT_EQ(big + "!", test::read_file(dir.file("doc.twi")));
  EXPECT_EQ((std::vector<std::string>{"doc.twi"}), entries(dir.path())) << "no temporary file left";

  // Abandoned: the old file stays, nothing else is left.
  out = fs.open_replacement("doc.twi", heap());
  out->write_text("never");
  fs.abandon(out);
  EXPECT_EQ(big + "!", test::read_file(dir.file("doc.twi")));
  EXPECT_EQ((std::vector<std::string>{"doc.twi"}), entries(dir.path()));
}

TEST(FileSystem, AFailedWriteLeavesTheOldFileAndNoOtherFile) {
  test::TempDirectory dir;
  FileSystem fs(heap(), dir.path().c_str());
  test::write_file(dir.file("keep.twi"), "the previous export");
  std::string big(5 * FileOutputBuffer::CAPACITY, 'x');
  // Writes `text` in small pieces, as a printer does, abandoning the
  // replacement when a report is thrown.
  auto write_in_pieces = [&](const char* name, const std::string& text) {
    FileOutputBuffer* out = fs.open_replacement(name, heap());
    try {
      for (size_t at = 0; at < text.size(); at += 1000)
        out->write(text.data() + at, uint32_t(std::min<size_t>(1000, text.size() - at)));
    } catch (...) {
      fs.abandon(out);
      throw;
    }
    fs.close(out);
  };
  // The write that fails: the first (at the final flush of a small text,
  // or the one write of a large piece) or a later flush; into a file that
  // exists and one that does not.
  for (uint32_t succeed : {0u, 1u, 3u}) {
    for (const char* name : {"keep.twi", "fresh.twi"}) {
      std::string expected = "Cannot write to " + dir.file(name) + ": No space left on device";
      {
        WriteFault fault(succeed);
        if (succeed == 0) {
          EXPECT_REPORT(fs.write_all(name, "small", 5), expected);
          EXPECT_REPORT(fs.write_all(name, big.data(), uint32_t(big.size())), expected);
        }
        EXPECT_REPORT(write_in_pieces(name, big), expected);
      }
      EXPECT_EQ("the previous export", test::read_file(dir.file("keep.twi"))) << succeed << " " << name;
      EXPECT_EQ((std::vector<std::string>{"keep.twi"}), entries(dir.path())) << succeed << " " << name;
    }
  }
  // Without the fault the same calls replace it.
  write_in_pieces("keep.twi", big);
  EXPECT_EQ(big, test::read_file(dir.file("keep.twi")));
  fs.write_all("keep.twi", "new", 3);
  EXPECT_EQ("new", test::read_file(dir.file("keep.twi")));
}

TEST(FileOutputBuffer, MaximumSizeIsCheckedAtTheFlush) {
  test::TempDirectory dir;
  FileSystem fs(heap(), dir.path().c_str());
  FileOutputBuffer* out = fs.open_output("limited.bin", heap());
  out->set_max_size(4);
  out->write("123456", 6); // only buffered: no report yet
  EXPECT_EQ(out->position(), 6u);
  EXPECT_REPORT(out->flush(), "Assertion failed: position() <= size()\n\nWriting past end of file");
  out->set_max_size(100);
  fs.close(out);
  EXPECT_EQ(test::read_file(dir.file("limited.bin")), "123456");
}

TEST(FileOutputBuffer, LargePiecesBypassTheBufferInOrder) {
  test::TempDirectory dir;
  FileSystem fs(heap(), dir.path().c_str());
  FileOutputBuffer* out = fs.open_output("mixed.bin", heap());
  std::string big(FileOutputBuffer::CAPACITY * 3 + 17, 'b');
  for (size_t i = 0; i < big.size(); ++i)
    big[i] = char('a' + i % 26);
  out->write("head:", 5);
  out->write(big.data(), uint32_t(big.size())); // straight to the file, after "head:"
  out->write(":tail", 5);
  EXPECT_EQ(int64_t(10 + big.size()), out->position());
  fs.close(out);
  EXPECT_EQ("head:" + big + ":tail", test::read_file(dir.file("mixed.bin")));

  out = fs.open_output("limited.bin", heap());
  out->set_max_size(FileOutputBuffer::CAPACITY);
  EXPECT_REPORT(out->write(big.data(), uint32_t(big.size())), "Assertion failed: position() <= size()\n\nWriting past end of file");
  fs.close(out);
}

TEST(SystemFile, AsynchronousReadRules) {
  test::TempDirectory dir;
  test::write_file(dir.file("a.bin"), "0123456789");
  uint64_t size = 0;
  FileHandle h = file_system_platform_interface::open_async_input(dir.file("a.bin").c_str(), &size);
  ASSERT_NE(h, INVALID_FILE_HANDLE);
  SystemFile file(h, size, true);
  char buffer[4];
  EXPECT_REPORT(file.read(buffer, 4), "Assertion failed: !_async");
  EXPECT_REPORT(file.wait_for_async_read(), "Assertion failed: _async_read_pending");
  file.async_read(3, buffer, 4);
  EXPECT_REPORT(file.async_read(0, buffer, 4), "Assertion failed: _async && !_async_read_pending");
  EXPECT_TRUE(file.is_async_read_complete());
  EXPECT_EQ(file.wait_for_async_read(), 4u);
  EXPECT_EQ(std::string(buffer, 4), "3456");
}

TEST(Path, Extensions) {
  EXPECT_TRUE(path::has_extension("a/b.twi"));
  EXPECT_FALSE(path::has_extension("a.d/b"));
  EXPECT_FALSE(path::has_extension(".profile"));
  EXPECT_STREQ(path::extension("scene.v2.twi"), "twi");
  EXPECT_REPORT(path::extension("README"), "Assertion failed: has_extension(path)");
}

TEST(Encoding, Utf8ToUtf16) {
  Vector<uint16_t> out(heap());
  ASSERT_TRUE(encoding::utf8_to_utf16("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", out));
  std::vector<uint16_t> expected = {'a', 0xE9, 0x20AC, 0xD83D, 0xDE00, 0};
  ASSERT_EQ(out.size(), expected.size());
  for (uint32_t i = 0; i < out.size(); ++i)
    EXPECT_EQ(out[i], expected[i]) << i;
  EXPECT_REPORT(encoding::utf8_to_utf16("bad \x80 byte", out), "Archive not utf-8 encoded bad \x80 byte");
  EXPECT_REPORT(encoding::utf8_to_utf16("cut \xC3", out), "Archive not utf-8 encoded");
  EXPECT_REPORT(encoding::utf8_to_utf16("overlong \xC0\xAF", out), "Archive not utf-8 encoded");
  EXPECT_REPORT(encoding::utf8_to_utf16("surrogate \xED\xA0\x80", out), "Cannot encode character");
  EXPECT_REPORT(encoding::utf8_to_utf16("too big \xF4\x90\x80\x80", out), "Cannot encode character");
}
