#include "engine/FFmpegX.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/TestSupport.h"

namespace zel {
namespace {

using test::Event;

class FFmpegXTest : public test::EngineTest {
 protected:
  FFmpegXTest() { WriteText("x", source, false); }
  std::string source = dir / "a.avi";
};

TEST_F(FFmpegXTest, SettersNormaliseAndFiveNamesSplitTargetFromSource) {
  using Setter = void (FFmpegX::*)(std::string_view);
  using Getter = const std::string& (FFmpegX::*)() const;
  const std::tuple<Setter, Getter, const char*, const char*> cases[] = {
      {&FFmpegX::SetVideoCodec, &FFmpegX::TargetVideoCodec, "  LibX264 ", "libx264"},
      {&FFmpegX::SetAudioCodec, &FFmpegX::TargetAudioCodec, " AAC", "aac"},
      {&FFmpegX::SetSubtitleCodec, &FFmpegX::SubtitleCodec, " MOV_Text ", "mov_text"},
      {&FFmpegX::SetForceFormat, &FFmpegX::ForceFormat, " MP4 ", "mp4"},
      {&FFmpegX::SetVideoSize, &FFmpegX::VideoSize, " 640X480 ", "640X480"},
      {&FFmpegX::SetImageSize, &FFmpegX::ImageSize, " 50% ", "50%"},
      {&FFmpegX::SetAdditionalScripts, &FFmpegX::AdditionalScripts, "  -tune Film ", "-tune Film"},
      {&FFmpegX::SetAdditionalPass1Scripts, &FFmpegX::AdditionalPass1Scripts, " -X ", "-X"},
  };
  for (const auto& [set, get, written, read] : cases) {
    (engine.*set)(written);
    EXPECT_EQ((engine.*get)(), read) << written;
  }
  engine.SetFrameRate(25);
  engine.SetAudioSampleRate(44100);
  engine.SetAudioChannels(2);
  EXPECT_EQ(engine.TargetFrameRate(), 25);
  EXPECT_EQ(engine.TargetAudioSampleRate(), 44100);
  EXPECT_EQ(engine.TargetAudioChannels(), 2);
  // Reading the same names gives the source's values, untouched by the writes.
  EXPECT_EQ(engine.VideoCodec() + engine.AudioCodec(), "");
  EXPECT_EQ(engine.FrameRate() + engine.AudioSampleRate() + engine.AudioChannels(), 0);
}

TEST_F(FFmpegXTest, OutputDirAndFilenameReportTheirChange) {
  events.clear();
  engine.SetOutputDir("");
  EXPECT_TRUE(events.empty());
  engine.SetOutputDir("/data/out");
  EXPECT_EQ(engine.OutputDir(), "/data/out/");
  engine.SetFilename("");
  engine.SetFilename("/data/a.avi|/data/b.avi");
  EXPECT_EQ(engine.Filename(), "/data/a.avi|/data/b.avi");
  EXPECT_EQ(engine.Status(), kStatusSettingChanged);
  EXPECT_EQ(events, (std::vector<Event>{{5, "/data/out/"}, {5, "/data/a.avi|/data/b.avi"}}));
}

TEST_F(FFmpegXTest, StatusWordsEndWithTheTable) {
  EXPECT_EQ(FFmpegX::GetStatusString(kStatusSearching), "Searching");
  EXPECT_EQ(FFmpegX::GetStatusString(kStatusSearching + 1), "");
  EXPECT_EQ(FFmpegX::GetStatusString(-1), "");
}

TEST_F(FFmpegXTest, ChecksBeforeARunStopWithTheirMessages) {
  engine.StartProcess();
  EXPECT_EQ(events.back(), (Event{3, std::string(MsgNoSource)}));

  engine.SetFilename(dir / "missing.avi");
  engine.StartProcess();
  EXPECT_EQ(events.back(), (Event{3, std::string(MsgSourceNotFound)}));

  engine.SetFilename(source);
  engine.SetOutputDir(dir / "no-such-folder");
  engine.StartProcess();
  EXPECT_EQ(events.back(), (Event{3, std::string(MsgNoSuchOutputPath)}));
  EXPECT_FALSE(engine.Processing());

  engine.SetCore(test::ToolPath("ffmpeg"));
  engine.SetOutputDir(dir.path());
  engine.AVSEnabled = true;
  engine.AVSThroughAviSynth = true;  // the host counted on AviSynth, which cannot be loaded
  engine.StartProcess();
  EXPECT_EQ(events.back(), (Event{3, std::string(MsgNoAviSynth)}));
}

TEST_F(FFmpegXTest, MissingCoreLocksTheObjectAsRunning) {
  engine.SetFilename(source);
  events.clear();
  engine.StartProcess();  // no output folder: it informs, reads as an error, and goes on
  EXPECT_EQ(events, (std::vector<Event>{{6, std::string(MsgNoOutputPath)}, {3, std::string(MsgCannotSetCore)}}));
  EXPECT_TRUE(engine.Processing());
  engine.StartProcess();
  EXPECT_EQ(events.back(), (Event{3, std::string(MsgExecuting)}));
}

TEST_F(FFmpegXTest, CancelOutsideARunIsAnError) {
  engine.CancelProcess();
  EXPECT_EQ(events.back(), (Event{3, std::string(MsgNotExecuting)}));
  EXPECT_EQ(engine.SuspendApp(), 0);
  EXPECT_EQ(engine.ResumeApp(), 0);
}

TEST_F(FFmpegXTest, SettingTheCoreIdentifiesTheRealFFmpeg) {
  engine.SetCore(dir / "no-such-tool");
  EXPECT_EQ(engine.CoreStatus(), 0);
  EXPECT_EQ(engine.Core(), "");

  engine.SetCore(test::ToolPath("ffmpeg"));
  EXPECT_EQ(engine.CoreStatus(), kCoreFFmpeg);
  EXPECT_EQ(engine.CoreName(), "FFmpeg");
  EXPECT_FALSE(engine.CoreVersion().empty());
  EXPECT_EQ(engine.CoreDialect(), ToolDialect::Today);
  for (const char* codec : {"|LIBX264", "|LIBMP3LAME", "|LIBXVID", "|AAC", "|WMV2", "|WMAV2"}) {
    EXPECT_NE((engine.CoreVideoCodec() + engine.CoreAudioCodec()).find(codec), std::string::npos) << codec;
  }
  EXPECT_NE(engine.CoreFormats().find("MP4"), std::string::npos);

  // A tool that is no known core reports nothing, and its lists are empty.
  engine.SetCore(test::WriteScript(dir / "other", "echo 'usage: other'"));
  EXPECT_EQ(engine.CoreStatus(), 0);
  EXPECT_EQ(engine.CoreName() + engine.CoreVideoCodec(), "");
}

TEST_F(FFmpegXTest, AToolsListsAreKeptWhileTheToolAndItsBannerStay) {
  ::setenv("XDG_CACHE_HOME", (dir / "cache").c_str(), 1);
  WriteText("5.1", dir / "version", false);
  const std::string tool = test::WriteScript(
      dir / "ffmpeg", "echo \"${1:-banner}\" >> '" + dir / "runs" + "'\n"
                      "case \"$1\" in\n"
                      "  -formats) printf 'File formats:\\n D. = Demuxing\\n --\\n DE avi  AVI\\n  E mp4  MP4\\n' ;;\n"
                      "  -codecs) printf 'Codecs:\\n D..... = Decoding\\n -------\\n DEV.L. mpeg4  MPEG-4\\n' ;;\n"
                      "  *) echo \"ffmpeg version $(cat '" + dir / "version" + "') Copyright\" ;;\n"
                      "esac");
  auto identified = [&] {
    FFmpegX fresh;
    fresh.SetCore(tool);
    return fresh.CoreFormats() + " " + fresh.CoreVideoCodec() + " " + fresh.CoreInputFormats();
  };
  const std::string lists = identified();
  EXPECT_EQ(lists, "AVI|MP4 |COPY|MPEG4 AVI");
  EXPECT_EQ(identified(), lists);
  std::vector<std::string> runs = test::ReadLines(ReadText(dir / "runs"));
  std::sort(runs.begin() + 1, runs.begin() + 3);  // the two list runs go side by side
  EXPECT_EQ(runs, (std::vector<std::string>{"banner", "-codecs", "-formats", "banner"}));

  WriteText("5.2", dir / "version", false);  // another build of the tool
  EXPECT_EQ(identified(), lists);
  EXPECT_EQ(test::ReadLines(ReadText(dir / "runs")).size(), 7u);

  // A tool on our own libraries is known by its file: while that stays, not
  // even its banner is asked again. A rebuilt one is asked everything.
  const std::string ours = test::WriteScript(
      dir / "ours", "echo \"${1:-banner}\" >> '" + dir / "ours.runs" + "'\nexec '" + test::ToolPath("ffmpeg") + "' \"$@\"");
  FFmpegX first, second;
  first.SetCore(ours);
  second.SetCore(ours);
  EXPECT_EQ(second.CoreVersion(), first.CoreVersion());
  EXPECT_EQ(second.CoreVideoCodec(), first.CoreVideoCodec());
  EXPECT_EQ(test::ReadLines(ReadText(dir / "ours.runs")).size(), 3u);
  test::WriteScript(ours, "echo \"${1:-banner}\" >> '" + dir / "ours.runs" + "'\nexec '" + test::ToolPath("ffmpeg") +
                              "' \"$@\" # rebuilt");
  FFmpegX third;
  third.SetCore(ours);
  EXPECT_EQ(test::ReadLines(ReadText(dir / "ours.runs")).size(), 6u);
  ::unsetenv("XDG_CACHE_HOME");
}

TEST_F(FFmpegXTest, ToolLogOfASystemToolGoesToTheStateFolder) {
  ::setenv("XDG_STATE_HOME", dir.path().c_str(), 1);
  engine.SetCore(test::ToolPath("ffmpeg"));
  EXPECT_EQ(engine.ToolLogPath(), dir / "ZEL/ffmpeg.log");
  EXPECT_TRUE(DirectoryExists(dir / "ZEL"));
  ::unsetenv("XDG_STATE_HOME");
}

TEST_F(FFmpegXTest, CloseProcessAsksAnotherProcessToEnd) {
  const test::RunResult r = test::Run({"/bin/sh", "-c", "sleep 30 >/dev/null 2>&1 & echo $!"});
  EXPECT_TRUE(FFmpegX::CloseProcess(std::stoi(r.output)));
  EXPECT_FALSE(FFmpegX::CloseProcess(0));
}

TEST_F(FFmpegXTest, StoredFormRoundTripAndLoadDefaults) {
  engine.TestMode = true;
  engine.SetPriority(16384);
  engine.CustomFileName = "名字 with blanks";
  engine.PadBorder = 1.7778f;
  engine.UcaseNameSuffix = false;
  engine.AVSSubtitleFontLogo = "SimHei, 12, True, False, 134, False, False, 700";
  engine.MaxThreads = 7;  // runtime state: not part of the stored form
  ASSERT_TRUE(engine.SaveStoredForm(dir / "form.txt"));

  FFmpegX loaded;
  ASSERT_TRUE(loaded.LoadStoredForm(dir / "form.txt"));
  EXPECT_TRUE(loaded.TestMode);
  EXPECT_EQ(loaded.Priority(), 16384);
  EXPECT_EQ(loaded.CustomFileName, "名字 with blanks");
  EXPECT_FLOAT_EQ(loaded.PadBorder, 1.7778f);
  EXPECT_FALSE(loaded.UcaseNameSuffix);
  EXPECT_EQ(loaded.AVSSubtitleFontLogo, "SimHei, 12, True, False, 134, False, False, 700");
  EXPECT_EQ(loaded.MaxThreads, 0);

  // An empty form gives the load values, which differ from a new object's in places.
  FFmpegX fresh;
  fresh.ReadProperties({});
  EXPECT_EQ(fresh.VideoPadColor, "FFFFFF");
  EXPECT_EQ(fresh.MencSubtitleFontSize, 4);

  ASSERT_TRUE(WriteText("garbage line\nImageQuality=abc\n=\nOverwrite=True", dir / "bad.txt", false));
  FFmpegX damaged;
  EXPECT_TRUE(damaged.LoadStoredForm(dir / "bad.txt"));
  EXPECT_EQ(damaged.ImageQuality, 0);  // a number that fails to parse is 0
  EXPECT_TRUE(damaged.Overwrite);
  EXPECT_FALSE(damaged.LoadStoredForm(dir / "missing.txt"));
}

}  // namespace
}  // namespace zel
