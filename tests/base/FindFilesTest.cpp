#include "base/FindFiles.h"

#include <gtest/gtest.h>
#include <linux/capability.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <thread>

#include "base/FileHelpers.h"
#include "base/PathHelpers.h"
#include "support/TestSupport.h"

namespace zel {
namespace {

using Paths = std::vector<std::string>;

// Root reads every folder; a thread that gives up the override walks as anyone else.
void DropReadOverride() {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct data[2]{};
  if (::syscall(SYS_capget, &header, data) != 0) return;
  data[0].effective &= ~((1u << CAP_DAC_OVERRIDE) | (1u << CAP_DAC_READ_SEARCH));
  ::syscall(SYS_capset, &header, data);
}

void Touch(const std::string& path, const std::string& text = "x") {
  MakedPath(FolderOf(path));
  WriteText(text, path, false);
}

TEST(MatchesFilter, PatternsIgnoreCaseAndAllMatchesNamesWithoutADot) {
  struct Case {
    std::string_view name, filter;
    bool match;
  };
  const Case cases[] = {
      {"Clip.MP4", "*.mp4", true},   {"clip.mp4", "*.avi; *.mp4", true}, {"clip.mp4.part", "*.mp4", false},
      {"README", "*.*", true},       {"README", "*", true},              {"a.srt", "", false},
      {"a.srt", "*.ssa;*.srt", true}, {"x.tiff", "*.tif", false},
  };
  for (const Case& c : cases) EXPECT_EQ(MatchesFilter(c.name, c.filter), c.match) << c.name << " in " << c.filter;
}

// A tree with files at three depths, a folder no one may read, a link to a
// file, a link to a folder above (a loop), a broken link, a hidden and a
// read-only file, and a pipe.
class FindFilesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char* name : {"b.mp4", "A.txt", ".hidden.mp4", "z/deep/e.mp4", "y/c.mp4", "y/d.txt", "locked/f.mp4"}) {
      Touch(root + name, "12345");
    }
    Touch(root + "ro.mp4", "1");
    ::chmod((root + "ro.mp4").c_str(), 0444);
    ::mkfifo((root + "pipe.mp4").c_str(), 0644);
    ::symlink("b.mp4", (root + "link.mp4").c_str());
    ::symlink(dir.path().c_str(), (root + "y/up").c_str());
    ::symlink("/nowhere/g.mp4", (root + "broken.mp4").c_str());
    ::chmod((root + "locked").c_str(), 0);
  }
  void TearDown() override { ::chmod((root + "locked").c_str(), 0755); }

  // Searches on a thread without root's override.
  int64_t Find(clsFindFileApi& finder, std::string_view filter, FileAttr mask, bool recursive) {
    int64_t size = 0;
    std::thread([&] {
      DropReadOverride();
      size = finder.FindFiles(dir.path(), filter, mask, recursive);
    }).join();
    return size;
  }

  test::TempDir dir;
  const std::string root = dir.path() + "/";
};

TEST_F(FindFilesTest, BreadthFirstByMaskAndFilterThroughLinksWithoutLooping) {
  struct Case {
    std::string_view filter;
    FileAttr mask;
    bool recursive;
    Paths expected;
  };
  const std::string r = root;
  const Case cases[] = {
      // Each folder's entries in name order, folders in the order they were reached;
      // the link to a file counts, the loop back up is walked once, the broken link not at all.
      {"*.mp4", FileAttr::Plain, true,
       {r + ".hidden.mp4", r + "b.mp4", r + "link.mp4", r + "ro.mp4", r + "y/c.mp4", r + "z/deep/e.mp4"}},
      {"*.*", FileAttr::Plain, false, {r + ".hidden.mp4", r + "A.txt", r + "b.mp4", r + "link.mp4", r + "ro.mp4"}},
      {"*", FileAttr::Directory, true, {r + "locked", r + "y", r + "z", r + "y/up", r + "z/deep"}},
      {"*.mp4", FileAttr::Hidden, false, {r + ".hidden.mp4"}},
      {"*.mp4", FileAttr::ReadOnly, false, {r + "ro.mp4"}},
      {"*.mp4", FileAttr::System, false, {r + "pipe.mp4"}},
      {"*.mp4", FileAttr::Link, true, {r + "link.mp4"}},
      {"*.TXT", FileAttr::Plain | FileAttr::Directory, false, {r + "A.txt"}},
  };
  for (const Case& c : cases) {
    clsFindFileApi finder;
    Find(finder, c.filter, c.mask, c.recursive);
    EXPECT_EQ(finder.Files(), c.expected) << c.filter << " mask " << static_cast<int>(c.mask);
    EXPECT_EQ(finder.Count(), c.expected.size());
  }
}

TEST_F(FindFilesTest, SizesSumTheCountedFilesAndUnreadableFoldersArePassedOver) {
  clsFindFileApi finder;
  Paths reported;
  finder.Found = [&](const std::string& path) { reported.push_back(path); };
  // Six bytes (text and line end) for each of seven files, the link counting its
  // target, and two for the read-only one; the pipe and the locked folder's file not at all.
  EXPECT_EQ(Find(finder, "*.mp4; *.txt", FileAttr::Plain, true), 7 * 6 + 2);
  EXPECT_EQ(finder.Size(), 44);
  EXPECT_EQ(reported, finder.Files());
  EXPECT_EQ(finder.Skipped(), Paths{root + "locked/"});

  // A stop keeps what was found; the next search starts afresh.
  int asked = 0;
  finder.Stop = [&asked] { return ++asked > 4; };
  Find(finder, "*.mp4", FileAttr::Plain, true);
  EXPECT_EQ(finder.Files(), (Paths{root + ".hidden.mp4", root + "b.mp4"}));
  EXPECT_TRUE(finder.Skipped().empty());
  finder.Stop = nullptr;
  EXPECT_EQ(finder.FindFiles(root + "nothing-here", "*", FileAttr::Plain, true), 0);
  EXPECT_EQ(finder.Count(), 0u);
}

}  // namespace
}  // namespace zel
