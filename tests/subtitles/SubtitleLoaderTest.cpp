#include "subtitles/SubtitleLoader.h"

#include <gtest/gtest.h>

#include "base/FileHelpers.h"
#include "support/TestSupport.h"

namespace zel {
namespace {

TEST(SubtitleLoader, CandidatesGoPlainFirstThenByLanguageTag) {
  const std::vector<std::string> candidates = SubtitleCandidates("/m/a.dat.mpg");
  ASSERT_EQ(candidates.size(), 7u * 16u);
  EXPECT_EQ(candidates[0], "/m/a.dat.srt");
  EXPECT_EQ(candidates[15], "/m/a.dat.stxt");
  EXPECT_EQ(candidates[16], "/m/a.dat.chs.srt");
  EXPECT_EQ(candidates.back(), "/m/a.dat.eng.stxt");
}

TEST(SubtitleLoader, TableEntriesAllHaveEndsAndTheLastLineCounts) {
  test::TempDir dir;
  // Line ends of every system, and none after the last line: the player's loader
  // still reads that one.
  ASSERT_TRUE(WriteFileAtomic(dir / "w.lrc", "[ti:x]\n[00:04.00]b\r[00:01.00]a"));
  EXPECT_EQ(LoadSubtitleFormFile(dir / "w.lrc", -0.5),
            (std::vector<std::string>{"00:00:00,500->00:00:03,500|a\r\n", "00:00:03,500->00:00:13,500|b\r\n"}));
  EXPECT_TRUE(LoadSubtitleFormFile(dir / "v.sub", 0).empty());
  EXPECT_TRUE(LoadSubtitleFormFile(dir / "missing.srt", 0).empty());

  // An existing candidate that holds nothing is passed over.
  ASSERT_TRUE(WriteFileAtomic(dir / "v.srt", ""));
  ASSERT_TRUE(WriteFileAtomic(dir / "v.chs.ass",
                              "Format: Marked,Start,End,Text\r\nDialogue: Marked=0,0:00:01.00,0:00:02.00,hi"));
  int pumps = 0;
  const LoadedSubtitle loaded = LoadSubtitleToArray(dir / "v.mkv", 0, [&] { ++pumps; });
  EXPECT_EQ(loaded.path, dir / "v.chs.ass");
  EXPECT_EQ(loaded.table, (std::vector<std::string>{"00:00:01,000->00:00:02,000|hi\r\n"}));
  EXPECT_TRUE(LoadSubtitleToArray(dir / "other.mkv", 0).path.empty());
}

}  // namespace
}  // namespace zel
