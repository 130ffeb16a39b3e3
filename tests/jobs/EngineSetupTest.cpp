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

  struct Choice {
    const char *video, *audio, *probedVideo, *probedAudio, *text;
  };
  const Choice choices[] = {
      {"", "", "0.0", "0.1", ""},  // nothing chosen: no map at all
      {"", "0:2", "0.0", "0.1", " -map 0.0:0.0 -map 0.2:0.1"},
      {"#0.3", " 2 ", "0.0", "0.1", " -map 0.3:0.0 -map 0.2:0.1"},
      {"", "1", "", "0.0", " -map 0.1:0.1"},  // a sound file has no picture to map
      {"0:v:1", "", "0.0", "0.1", " -map 0:v:1:0.0 -map 0.1:0.1"},
  };
  for (const Choice& c : choices) {
    EXPECT_EQ(StreamChoiceText(c.video, c.audio, c.probedVideo, c.probedAudio), c.text) << c.video << "|" << c.audio;
  }

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

  task = {dir / "sub/b.avi|" + dir / "c.avi", "", "mp3", "", false};
  ConfigureConversion(engine, task, [](std::string_view key) { return ReadSetting(key); });
  EXPECT_EQ(engine.OutputDir(), dir / "sub/");  // no folder given: the first source's own

  Configure({{"VideoBitrate", "800"}, {"AudioBitrate", "96"}, {"SubtitleEncodeFormat", "ANSI"}}, "mp3");
  EXPECT_EQ(engine.VideoVBR, 0);
  EXPECT_EQ(engine.VideoBitRate, 800);
  EXPECT_EQ(engine.AudioBitRate, 96);
  EXPECT_FALSE(engine.Twopass);  // no second pass for sound alone
  EXPECT_EQ(engine.SubtitleEncodeFormat, -1);

  // A chosen stream goes with the raw options of both passes.
  Configure({{"DefaultAudioStream", "0:2"}, {"AdditionalScripts", "-id3v2_version 3"},
             {"AdditionalPass1Scripts", "-refs 1"}});
  EXPECT_EQ(engine.AdditionalScripts(), "-map 0.2:0.1 -id3v2_version 3");
  EXPECT_EQ(engine.AdditionalPass1Scripts(), "-map 0.2:0.1 -refs 1");
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

TEST_F(EngineSetupTest, AviSynthEffectsComeFromTheirKeys) {
  Shared().ToolVsfilter = dir / "VSFilter.dll";
  Configure({{"AVSEnable", "是"}, {"AVSSubtitle", "是"}, {"AVSSubtitleFormat", "是"}, {"AVSSubtitleColor", "00FFFF"},
             {"AVSLogoText", "是"}, {"AVSLogoTextAlign", "7"}, {"AVSLogoTextFont", "SimHei, 12, True, False, 134"},
             {"AVSBanner", "是"}, {"AVSBannerString", "走马灯"}, {"AVSBannerTimeEnd", "00:00:09,000"},
             {"AVSLogoImage", "是"}, {"AVSLogoImagePosition", "5x6"}, {"AVSInsertImage", "是"},
             {"AVSInsertImagePosition", "30%"}, {"AVSInsertVideo", "是"}, {"AVSInsertVideoPosition", "100%"},
             {"AVSLayOver", "是"}, {"AVSLayOverValue", "1,2,3,4"}, {"AVSLayOverColor", "FF"},
             {"AVSAudioReplace", "是"}, {"AVSAudioReplaceFileName", "/m.mp3"}, {"AVSAudioReplaceVolume", "80%"}});
  // AviSynth is not usable here: a filter graph stands in, libass for the filter.
  EXPECT_TRUE(engine.AVSEnabled);
  EXPECT_FALSE(engine.AVSThroughAviSynth);
  EXPECT_TRUE(engine.AVSEnableSubtitle);
  EXPECT_EQ(engine.AVSVSFilterPath, dir / "VSFilter.dll");
  EXPECT_TRUE(engine.AVSEnableSubtitleFormat);
  EXPECT_EQ(engine.AVSSubtitleColor, "00FFFF");
  EXPECT_EQ(engine.AVSSubtitleAlign, 2);
  EXPECT_TRUE(engine.AVSSubtitleEnableLogo);
  EXPECT_EQ(engine.AVSSubtitleStringLogo, "影音工坊");
  EXPECT_EQ(engine.AVSSubtitleFontLogo, "SimHei, 12, True, False, 134");
  EXPECT_EQ(engine.AVSSubtitleAlignLogo, 7);
  EXPECT_TRUE(engine.AVSSubtitleEnableBanner);
  EXPECT_EQ(engine.AVSSubtitleStringBanner, "走马灯");
  EXPECT_EQ(engine.AVSSubtitleTimeEndBanner, "00:00:09,000");
  EXPECT_TRUE(engine.AVSLogoImage);
  EXPECT_EQ(engine.AVSLogoImagePosition, "5x6");
  EXPECT_TRUE(engine.AVSInsertImage);
  EXPECT_EQ(engine.AVSInsertImagePosition, 30);
  EXPECT_EQ(engine.AVSInsertImageTime, 10);  // the job's own default
  EXPECT_TRUE(engine.AVSInsertVideo);
  EXPECT_EQ(engine.AVSInsertVideoPosition, 100);
  EXPECT_TRUE(engine.AVSLayOver);
  EXPECT_EQ(engine.AVSLayOverRect, "1,2,3,4");
  EXPECT_EQ(engine.AVSLayOverColor, "FF");
  EXPECT_TRUE(engine.AVSAudioReplace);
  EXPECT_EQ(engine.AVSAudioReplaceFileName, "/m.mp3");
  EXPECT_EQ(engine.AVSAudioReplaceVolume, 80);

  WriteSetting("AVSInsertImageTime", "5s");
  const SettingReader read = [](std::string_view key) { return ReadSetting(key); };
  task.aviSynthUsable = true;
  ConfigureConversion(engine, task, read);
  EXPECT_TRUE(engine.AVSThroughAviSynth);
  EXPECT_FALSE(engine.AVSEnableSubtitle);  // AviSynth draws through the filter, which is missing
  WriteFileAtomic(dir / "VSFilter.dll", "");
  ConfigureConversion(engine, task, read);
  EXPECT_TRUE(engine.AVSEnabled);
  EXPECT_TRUE(engine.AVSEnableSubtitle);
  EXPECT_EQ(engine.AVSInsertImageTime, 5);

  task.source = dir / "a.mp3";  // no picture to open
  ConfigureConversion(engine, task, read);
  EXPECT_FALSE(engine.AVSEnabled);
  task.source = dir / "a.mp3|" + dir / "b.mp4";  // a joined text
  ConfigureConversion(engine, task, read);
  EXPECT_TRUE(engine.AVSEnabled);
}

}  // namespace
}  // namespace zel
