// zel-cli tags on MP3 files made by the real ffmpeg, as a user's script drives it.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "base/FileHelpers.h"
#include "base/TextHelpers.h"
#include "support/TestSupport.h"

namespace zel {
namespace {

using test::RunCli;

class ZelCliTags : public ::testing::Test {
 protected:
  void SetUp() override {
    const std::string ffmpeg = test::ToolPath("ffmpeg");
    ASSERT_EQ(test::Run({ffmpeg,
                         "-v",
                         "error",
                         "-nostdin",
                         "-y",
                         "-f",
                         "lavfi",
                         "-i",
                         "sine=duration=1",
                         "-c:a",
                         "libmp3lame",
                         "-id3v2_version",
                         "3",
                         "-metadata",
                         "title=Song",
                         "-metadata",
                         "artist=Singer",
                         "-metadata",
                         "genre=17",
                         "-metadata",
                         "track=4",
                         "-metadata",
                         "date=1999",
                         mp3})
                  .exitCode,
              0);
    ASSERT_EQ(test::Run({ffmpeg, "-v", "error", "-nostdin", "-y", "-f", "lavfi", "-i", "color=green:size=32x24",
                         "-frames:v", "1", png})
                  .exitCode,
              0);
  }

  test::TempDir dir;
  std::string mp3 = dir / "song.mp3";
  std::string png = dir / "art.png";
};

TEST_F(ZelCliTags, AddCountExtractDeleteInfo) {
  EXPECT_EQ(RunCli({"tags", mp3, "--count"}).output, "0\n");
  EXPECT_EQ(RunCli({"tags", mp3, "--add", png}).output, "pictures: 1\n");
  EXPECT_EQ(RunCli({"tags", mp3, "--add", png, "--type", "4"}).output, "pictures: 2\n");
  EXPECT_EQ(RunCli({"tags", mp3, "--count"}).output, "2\n");

  const test::RunResult jpg = RunCli({"tags", mp3, "--extract", "1", dir / "one.jpg"});
  ASSERT_EQ(jpg.exitCode, 0) << jpg.output;
  EXPECT_EQ(jpg.output, "picture 1 (type 4) written to " + dir / "one.jpg" + "\n");
  EXPECT_TRUE(StartsWith(ReadText(dir / "one.jpg"), "\xFF\xD8"));
  ASSERT_EQ(RunCli({"tags", mp3, "--extract", "2", dir / "two.png"}).exitCode, 0);
  EXPECT_TRUE(StartsWith(ReadText(dir / "two.png"), "\x89PNG"));
  EXPECT_EQ(test::Run({test::ToolPath("ffprobe"), "-v", "error", "-show_entries", "stream=width,height", "-of",
                       "csv=p=0", dir / "two.png"})
                .output,
            "32,24\n");

  EXPECT_EQ(RunCli({"tags", mp3, "--delete", "1"}).output, "pictures: 1\n");
  ASSERT_TRUE(WriteFileAtomic(dir / "song.cover.png", "x"));
  EXPECT_EQ(RunCli({"tags", mp3, "--info"}).output,
            "title: Song\nartist: Singer\nalbum: \nyear: 1999\ncomment: \ngenre: Rock\ntrack: 4\npictures: 1\n"
            "cover: " +
                dir / "song.cover.png" + "\n");

  const test::RunResult missing = RunCli({"tags", mp3, "--extract", "3", dir / "three.jpg"});
  EXPECT_EQ(missing.exitCode, 1);
  EXPECT_NE(missing.output.find("has no readable picture 3"), std::string::npos) << missing.output;
  EXPECT_FALSE(FileExists(dir / "three.jpg"));
  EXPECT_EQ(RunCli({"tags", mp3, "--delete", "2"}).exitCode, 1);
  EXPECT_EQ(RunCli({"tags", mp3, "--add", dir / "song.cover.png"}).exitCode, 1);  // no image
  EXPECT_EQ(RunCli({"tags", png, "--add", png}).exitCode, 1);                     // no MP3
  EXPECT_EQ(RunCli({"tags", dir / "none.mp3", "--count"}).exitCode, 1);
}

TEST_F(ZelCliTags, WrongArguments) {
  const std::vector<std::vector<std::string>> cases = {
      {"tags"},
      {"tags", mp3, "--count", "--info"},
      {"tags", mp3, "--extract", "0", "x.jpg"},
      {"tags", mp3, "--extract", "1"},
      {"tags", mp3, "--add", png, "--type", "21"},
      {"tags", mp3, "--delete", "1", "--type", "3"},
      {"tags", mp3, "--delete", "x"},
      {"tags", mp3, "--shuffle"},
  };
  for (const auto& args : cases) EXPECT_EQ(RunCli(args).exitCode, 2) << args.back();
}

TEST_F(ZelCliTags, ReadOnlyFileIsLeftUnlessYes) {
  const std::string original = ReadText(mp3);
  ASSERT_EQ(::chmod(mp3.c_str(), 0444), 0);
  const test::RunResult refused = RunCli({"tags", mp3, "--add", png});
  EXPECT_EQ(refused.exitCode, 1);
  EXPECT_NE(refused.output.find("is read-only; it is unchanged"), std::string::npos) << refused.output;
  EXPECT_EQ(ReadText(mp3), original);

  EXPECT_EQ(RunCli({"tags", mp3, "--add", png, "--yes"}).output, "pictures: 1\n");
  struct stat st {};
  ASSERT_EQ(::stat(mp3.c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0644u);
}

}  // namespace
}  // namespace zel
