#include "jobs/EngineSetup.h"

#include <gtest/gtest.h>

#include <map>

#include "engine/FFmpegX.h"
#include "engine/PriorityClass.h"
#include "jobs/JobsTestSupport.h"
#include "jobs/Settings.h"

namespace zel {
namespace {

TEST(EngineSetup, SettingTextsBecomeNumbers) {
  const std::pair<const char*, int> priorities[] = {
      {"0", kPriorityIdle}, {"1", kPriorityBelowNormal}, {"2", kPriorityNormal}, {"3", kPriorityAboveNormal},
      {"4", kPriorityHigh}, {"5", kPriorityRealtime},    {"6", kPriorityIdle},   {"", kPriorityIdle},
  };
  for (const auto& [text, priority] : priorities) EXPECT_EQ(PriorityForSetting(text), priority) << text;

  const std::pair<const char*, float> ratios[] = {
      {"16:9", 16.0f / 9}, {"4x3", 4.0f / 3}, {"2.35/1", 2.35f}, {"1.85", 1.85f}, {"", 0}, {"4:0", 0}, {"wide", 0},
  };
  for (const auto& [text, ratio] : ratios) EXPECT_FLOAT_EQ(RatioSetting(text), ratio) << text;

  EXPECT_TRUE(IsAudioOnlyFormat("mp3/me"));
  EXPECT_TRUE(IsAudioOnlyFormat("AUDIO"));
  EXPECT_FALSE(IsAudioOnlyFormat("mkv"));
}

class EngineSetupTest : public test::StoreTest {
 protected:
  void Configure(const std::map<std::string, std::string>& values, const std::string& format = "mp4") {
    for (const auto& [key, value] : values) WriteSetting(key, value);
    task = {dir / "a.avi", dir.path(), format, "", false};
    ConfigureConversion(engine, task, [](std::string_view key) { return ReadSetting(key); });
  }
  FFmpegX engine;
  ConversionTask task;
};

TEST_F(EngineSetupTest, RatesAndSwitchesAreReadTheTaskLoopsWay) {
  Configure({{"VideoBitrate", "25vbr"}, {"AudioBitrate", "4aq"}, {"Twopass", "是"}, {"VideoCodec", "禁用视频"},
             {"SubtitleEncodeFormat", "Unicode big endian"}, {"x264QualityMode", "恒定量化模式"},
             {"VideoPadBorder", "16:9"}});
  EXPECT_EQ(engine.VideoVBR, 25);
  EXPECT_EQ(engine.VideoBitRate, 0);
  EXPECT_EQ(engine.AudioQuality, 4);
  EXPECT_TRUE(engine.Twopass);
  EXPECT_TRUE(engine.DisableVideo);
  EXPECT_TRUE(engine.DisableSubtitle);  // the store's default codec is "禁用字幕"
  EXPECT_EQ(engine.SubtitleEncodeFormat, 3);
  EXPECT_EQ(engine.x264QualityMode, 1);
  EXPECT_FLOAT_EQ(engine.PadBorder, 16.0f / 9);
  EXPECT_EQ(engine.OutputDir(), dir.path() + "/");

  Configure({{"VideoBitrate", "800"}, {"AudioBitrate", "96"}, {"SubtitleEncodeFormat", "ANSI"}}, "mp3");
  EXPECT_EQ(engine.VideoVBR, 0);
  EXPECT_EQ(engine.VideoBitRate, 800);
  EXPECT_EQ(engine.AudioBitRate, 96);
  EXPECT_FALSE(engine.Twopass);  // no second pass for sound alone
  EXPECT_EQ(engine.SubtitleEncodeFormat, -1);
}

TEST_F(EngineSetupTest, PartsNumberTheNameAndRoundTheRange) {
  Configure({{"FileNameAddStringAfter", "_cut"}});
  const SettingReader read = [](std::string_view key) { return ReadSetting(key); };
  PreparePart(engine, task, read, 1, 3, 10, 3.33333);
  EXPECT_EQ(engine.FileNameAddStringAfter, "_cut_2");
  EXPECT_FLOAT_EQ(engine.TimeStartPoint, 13.333f);
  EXPECT_FLOAT_EQ(engine.TimeEndPoint, 16.667f);
  EXPECT_EQ(engine.ForceFormat(), "mp4");
  EXPECT_TRUE(engine.Refresh);

  PreparePart(engine, task, read, 0, 1, 0, 0);
  EXPECT_EQ(engine.FileNameAddStringAfter, "_cut");
  EXPECT_EQ(engine.TimeStartPoint + engine.TimeEndPoint, 0);
}

}  // namespace
}  // namespace zel
