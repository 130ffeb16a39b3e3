#include "subtitles/clsFilePKZ.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <filesystem>
#include <set>
#include <utility>
#include <vector>

#include "base/FileHelpers.h"
#include "support/TestSupport.h"

namespace zel {
namespace {

std::string LE(uint32_t value, int bytes) {
  std::string out;
  for (int i = 0; i < bytes; ++i) out += static_cast<char>((value >> (8 * i)) & 0xFF);
  return out;
}

std::string Header(int32_t count, int32_t length, int16_t start = 15) {
  return "PKZ\x01" + LE(static_cast<uint32_t>(count), 4) + LE(static_cast<uint16_t>(start), 2) +
         LE(static_cast<uint32_t>(length), 4);
}

std::string EntryBytes(const std::string& name, int32_t length, const std::string& data) {
  return LE(static_cast<uint32_t>(name.size()), 2) + name + LE(static_cast<uint32_t>(length), 4) + data;
}

// An archive a.pkz, created and left open.
class FilePKZ : public ::testing::Test {
 protected:
  FilePKZ() {
    pkz.SetFilename(archive);
    EXPECT_TRUE(pkz.CreateAchive());
  }
  std::string OnDisk() const { return ReadText(archive); }

  test::TempDir dir;
  std::string archive = dir / "a.pkz";
  clsFilePKZ pkz;
};

TEST_F(FilePKZ, LayoutByteByByte) {
  EXPECT_EQ(OnDisk(), Header(0, 0));
  ASSERT_EQ(Header(0, 0), std::string("PKZ\x01\0\0\0\0\x0f\0\0\0\0\0", 14));
  ASSERT_TRUE(pkz.AddByteFile("名", "xyz", 1));
  ASSERT_TRUE(pkz.AddByteFile("e", "", 1));
  ASSERT_TRUE(pkz.UpDateHeader());
  pkz.CloseAchive();
  EXPECT_EQ(OnDisk(), Header(2, 3) + EntryBytes("名", 3, "xyz") + EntryBytes("e", 0, ""));

  ASSERT_TRUE(pkz.OpenAchive());
  EXPECT_EQ(pkz.Signature(), "PKZ");
  EXPECT_EQ(pkz.Version(), 1);
  EXPECT_EQ(pkz.FileCount(), 2);
  EXPECT_EQ(pkz.FileLength(), 3);
  EXPECT_EQ(pkz.GetFileInfo(0), "名");
  EXPECT_EQ(pkz.GetFileLength(0), 3);
  EXPECT_EQ(pkz.ExtractFile(0), "xyz");
  EXPECT_EQ(pkz.GetFileInfo(2), "");

  // Creating over a longer file rewrites the header and truncates nothing.
  ASSERT_TRUE(WriteFileAtomic(dir / "long.pkz", std::string(40, 'z')));
  pkz.SetFilename(dir / "long.pkz");
  ASSERT_TRUE(pkz.CreateAchive());
  EXPECT_EQ(ReadText(dir / "long.pkz"), Header(0, 0) + std::string(26, 'z'));
}

TEST_F(FilePKZ, CountReachesTheDiskOnlyThroughUpDateHeader) {
  const std::string binary("\0\xff\n", 3);
  ASSERT_TRUE(WriteFileAtomic(dir / "one.txt", "first"));
  ASSERT_TRUE(WriteFileAtomic(dir / "two.bin", binary));
  ASSERT_TRUE(pkz.AddFile(dir / "one.txt"));
  ASSERT_TRUE(pkz.AddFile(dir / "two.bin", "folder\\two.bin"));
  EXPECT_EQ(pkz.FileCount(), 2);
  EXPECT_EQ(pkz.FileLength(), 8);
  pkz.CloseAchive();
  EXPECT_EQ(OnDisk(), Header(0, 0) + EntryBytes("one.txt", 5, "first") + EntryBytes("folder\\two.bin", 3, binary));

  // A closed archive does nothing.
  EXPECT_FALSE(pkz.IsOpen());
  EXPECT_EQ(pkz.Signature(), "");
  EXPECT_FALSE(pkz.AddByteFile("x", "y", 1));
  EXPECT_FALSE(pkz.UpDateHeader());
  EXPECT_EQ(pkz.GetFileInfo(0), "");
  EXPECT_FALSE(pkz.ExtractAll(dir / "out"));
  EXPECT_FALSE(FileExists(dir / "out/one.txt"));

  ASSERT_TRUE(pkz.OpenAchive());
  EXPECT_EQ(pkz.FileCount(), 0);
  EXPECT_TRUE(pkz.Entries().empty());
  EXPECT_EQ(pkz.GetFileInfo(1), "folder\\two.bin");
  EXPECT_EQ(pkz.ExtractFile(1), binary);

  // A file too long for the length field is refused, the archive untouched.
  const std::string before = OnDisk();
  ASSERT_TRUE(WriteFileAtomic(dir / "big", ""));
  ASSERT_EQ(::truncate((dir / "big").c_str(), int64_t{1} << 31), 0);  // sparse: no disk used
  EXPECT_FALSE(pkz.AddFile(dir / "big"));
  EXPECT_EQ(OnDisk(), before);
  EXPECT_EQ(pkz.FileCount(), 0);

  clsFilePKZ missing;
  missing.SetFilename(dir / "none.pkz");
  EXPECT_FALSE(missing.OpenAchive());
  EXPECT_FALSE(missing.IsOpen());
  EXPECT_FALSE(FileExists(dir / "none.pkz"));
}

TEST_F(FilePKZ, AddByteFileRecordsTheUpperBound) {
  ASSERT_TRUE(pkz.AddByteFile("zero", "abcde"));
  EXPECT_EQ(pkz.FileLength(), 4);
  EXPECT_EQ(pkz.GetFileLength(0), 4);
  EXPECT_EQ(pkz.ExtractFile(0), "abcd");
  EXPECT_EQ(OnDisk(), Header(0, 0) + EntryBytes("zero", 4, "abcde"));
  EXPECT_FALSE(pkz.AddByteFile("empty", ""));  // would record -1
  EXPECT_EQ(pkz.FileCount(), 1);
}

TEST_F(FilePKZ, DeleteRewritesWithoutTheEntry) {
  const std::pair<const char*, const char*> entries[] = {{"a", "11"}, {"b", "222"}, {"c", "3333"}};
  for (const auto& [name, data] : entries) ASSERT_TRUE(pkz.AddByteFile(name, data, 1));
  ASSERT_TRUE(pkz.UpDateHeader());
  const std::string before = OnDisk();
  EXPECT_FALSE(pkz.DeleteFile(3));
  EXPECT_FALSE(pkz.DeleteFile(-1));
  EXPECT_EQ(OnDisk(), before);

  ASSERT_TRUE(pkz.DeleteFile(1));
  EXPECT_TRUE(pkz.IsOpen());
  EXPECT_EQ(OnDisk(), Header(2, 6) + EntryBytes("a", 2, "11") + EntryBytes("c", 4, "3333"));
  EXPECT_EQ(pkz.ExtractFile(1), "3333");
  EXPECT_FALSE(FileExists(archive + ".tmp"));

  // The header in memory is the truth: an entry not yet counted on disk survives.
  ASSERT_TRUE(pkz.AddByteFile("d", "4", 1));
  ASSERT_TRUE(pkz.DeleteFile(0));
  const std::string kept = OnDisk();
  EXPECT_EQ(kept, Header(2, 5) + EntryBytes("c", 4, "3333") + EntryBytes("d", 1, "4"));

  // When the temporary file cannot be made the original stays as it was.
  ASSERT_TRUE(MakedPath(archive + ".tmp"));
  EXPECT_FALSE(pkz.DeleteFile(0));
  EXPECT_EQ(OnDisk(), kept);
  EXPECT_EQ(pkz.GetFileInfo(1), "d");
}

TEST_F(FilePKZ, ZeroLengthEntries) {
  ASSERT_TRUE(pkz.AddByteFile("empty", "", 1));
  ASSERT_TRUE(pkz.AddByteFile("full", "x", 1));
  EXPECT_EQ(pkz.ExtractFile(0), "");
  EXPECT_EQ(pkz.ExtractFile(0, dir / "one/empty"), "");
  EXPECT_FALSE(FileExists(dir / "one/empty"));
  EXPECT_EQ(pkz.ExtractFile(1, dir / "one/deep/full"), "");
  EXPECT_EQ(ReadText(dir / "one/deep/full"), "x");

  std::vector<std::pair<int, int>> events;
  pkz.ExtractProgress = [&](int position, int count) { events.emplace_back(position, count); };
  EXPECT_TRUE(pkz.ExtractAll(dir / "all"));
  EXPECT_TRUE(FileExists(dir / "all/empty"));
  EXPECT_EQ(FileSize(dir / "all/empty"), 0);
  EXPECT_EQ(events, (std::vector<std::pair<int, int>>{{1, 2}, {2, 2}}));
}

TEST_F(FilePKZ, ExtractAllKeepsEveryNameInsideTheFolder) {
  std::string binary;
  for (int i = 0; i < 256; ++i) binary += static_cast<char>(i);
  const std::string hostile[] = {"../evil1", dir / "evil2", "sub/../../evil3", "ok\\..\\..\\evil4", ""};
  ASSERT_TRUE(pkz.AddByteFile("sub/a.bin", binary, 1));
  for (const std::string& name : hostile) ASSERT_TRUE(pkz.AddByteFile(name, "bad", 1));
  ASSERT_TRUE(pkz.AddByteFile("win\\dir\\b.txt", "b", 1));
  int events = 0;
  pkz.ExtractProgress = [&](int, int) { ++events; };
  EXPECT_FALSE(pkz.ExtractAll(dir / "x/y"));
  EXPECT_EQ(events, 7);
  EXPECT_EQ(ReadText(dir / "x/y/sub/a.bin"), binary);
  std::set<std::string> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(dir.path())) {
    if (entry.is_regular_file()) files.insert(entry.path().lexically_relative(dir.path()).string());
  }
  EXPECT_EQ(files, (std::set<std::string>{"a.pkz", "x/y/sub/a.bin", "x/y/win/dir/b.txt"}));
  EXPECT_EQ(ReadText(dir / "x/y/win/dir/b.txt"), "b");
}

TEST_F(FilePKZ, DamagedFilesGiveEmptyResults) {
  const std::pair<const char*, std::string> cases[] = {
      {"truncated header", std::string("PKZ\x01\x01\0", 6)},
      {"count without entries", Header(1, 0)},
      {"negative length", Header(1, 5) + EntryBytes("a", -5, "hello")},
      {"length past the end", Header(1, 100) + EntryBytes("a", 100, "short")},
      {"name past the end", Header(1, 0) + LE(500, 2) + "abc"},
      {"length field cut", Header(1, 0) + LE(1, 2) + "a" + LE(1, 2)},
      {"huge count", Header(INT32_MAX, 0) + "\x01"},
      {"negative count", Header(-3, 0) + "\x01"},
      {"data start moved", Header(1, 1, 1) + EntryBytes("a", 1, "x")},
  };
  for (const auto& [what, bytes] : cases) {
    test::TempDir dir;  // each case in a folder of its own
    ASSERT_TRUE(WriteFileAtomic(dir / "d.pkz", bytes));
    clsFilePKZ pkz;
    pkz.SetFilename(dir / "d.pkz");
    ASSERT_TRUE(pkz.OpenAchive()) << what;
    EXPECT_EQ(pkz.GetFileInfo(0), "") << what;
    EXPECT_EQ(pkz.GetFileLength(0), 0) << what;
    EXPECT_EQ(pkz.GetFileInfo(INT_MAX), "") << what;
    EXPECT_EQ(pkz.ExtractFile(0), "") << what;
    EXPECT_TRUE(pkz.Entries().empty()) << what;
    pkz.ExtractAll(dir / "out");
    EXPECT_FALSE(DirectoryExists(dir / "out")) << what;
    EXPECT_FALSE(pkz.DeleteFile(0)) << what;
    EXPECT_EQ(ReadText(dir / "d.pkz"), bytes) << what;
    EXPECT_FALSE(FileExists(dir / "d.pkz.tmp")) << what;
  }
}

}  // namespace
}  // namespace zel
