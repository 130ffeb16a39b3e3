#include "base/FileHelpers.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "support/TestSupport.h"

namespace zel {
namespace {

TEST(FileHelpers, ExistenceTellsFilesFromFolders) {
  test::TempDir dir;
  EXPECT_FALSE(FileExists(""));
  EXPECT_FALSE(FileExists(dir.path()));
  EXPECT_TRUE(DirectoryExists(dir.path()));
  ASSERT_TRUE(WriteText("x", dir / "f.txt", false));
  EXPECT_TRUE(FileExists(dir / "f.txt"));
  EXPECT_FALSE(DirectoryExists(dir / "f.txt"));
  EXPECT_TRUE(MakedPath(dir / "a/b/c"));
  EXPECT_TRUE(DirectoryExists(dir / "a/b/c"));
  EXPECT_FALSE(MakedPath(dir / "f.txt/sub"));

  // One file under another name is the same file; a copy is not.
  ASSERT_EQ(::symlink((dir / "f.txt").c_str(), (dir / "link").c_str()), 0);
  ASSERT_TRUE(WriteText("x", dir / "copy.txt", false));
  EXPECT_TRUE(SameFile(dir / "f.txt", dir / "link"));
  EXPECT_TRUE(SameFile(dir / "a/../f.txt", dir / "f.txt"));
  EXPECT_FALSE(SameFile(dir / "f.txt", dir / "copy.txt"));
  EXPECT_TRUE(SameFile(dir / "gone", dir / "gone"));
  EXPECT_FALSE(SameFile(dir / "gone", dir / "f.txt"));
}

TEST(FileHelpers, WriteTextReplacesOrAppendsWithLineEnds) {
  test::TempDir dir;
  const std::string path = dir / "t.txt";
  ASSERT_TRUE(WriteText("first", path, false));
  ASSERT_TRUE(WriteText("second", path, true));
  EXPECT_EQ(ReadText(path), "first\nsecond\n");
  ASSERT_TRUE(WriteText("again", path, false));
  EXPECT_EQ(ReadText(path), "again\n");
  EXPECT_EQ(ReadText(dir / "missing"), "");
  // The replacing write leaves no temporary file behind.
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 1);
  EXPECT_FALSE(WriteText("x", dir / "no/such/folder/t.txt", false));
}

TEST(FileHelpers, RenameExistsFindsTheFirstFreeName) {
  test::TempDir dir;
  const std::string path = dir / "clip.mp4";
  EXPECT_EQ(RenameExists(path, false), path);
  ASSERT_TRUE(WriteText("", path, false));
  EXPECT_EQ(RenameExists(path, true), path);
  EXPECT_EQ(RenameExists(path, false), dir / "clip(1).mp4");
  ASSERT_TRUE(WriteText("", dir / "clip(1).mp4", false));
  EXPECT_EQ(RenameExists(path, false), dir / "clip(2).mp4");
  ASSERT_TRUE(WriteText("", dir / "noext", false));
  EXPECT_EQ(RenameExists(dir / "noext", false), dir / "noext(1)");
  ASSERT_TRUE(MakedPath(dir / "v.d"));
  ASSERT_TRUE(WriteText("", dir / "v.d/clip", false));
  EXPECT_EQ(RenameExists(dir / "v.d/clip", false), dir / "v.d/clip(1)");  // a folder's point is no extension
}

TEST(FileHelpers, SizeTextAndPaths) {
  EXPECT_EQ(SizeText(0), "0B");
  EXPECT_EQ(SizeText(1023), "1023B");
  EXPECT_EQ(SizeText(1024), "1.00KB");
  EXPECT_EQ(SizeText(1536), "1.50KB");
  EXPECT_EQ(SizeText(1048576), "1.00MB");
  EXPECT_EQ(SizeText(5368709120LL), "5.00GB");  // beyond 4 GB stays right
  EXPECT_EQ(FileSize("/no/such/file"), 0);
}

}  // namespace
}  // namespace zel
