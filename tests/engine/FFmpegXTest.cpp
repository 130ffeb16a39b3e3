#include "engine/FFmpegX.h"

#include <gtest/gtest.h>

#include "support/TestSupport.h"

namespace zel {
namespace {

struct Event {
  int status;
  std::string info;
  bool operator==(const Event&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Event& e) { return out << e.status << " " << e.info; }

class FFmpegXTest : public ::testing::Test {
 protected:
  FFmpegXTest() {
    engine.StatusChange = [this](int status, const std::string& info) { events.push_back({status, info}); };
  }
  FFmpegX engine;
  std::vector<Event> events;
  test::TempDir dir;
};

TEST_F(FFmpegXTest, ValueAndMaxReadingRules) {
  EXPECT_EQ(engine.Max(), 1);  // before any length is known
  EXPECT_EQ(engine.FileInfo(), "");
  engine.CommandLine = "\"tool\"";
  engine.ParseToolOutput("Duration: 00:00:09.00, start: 0");
  engine.ParseToolOutput("size= 1kB time=00:00:07.00 bitrate=1");
  EXPECT_EQ(engine.Max(), 10);
  EXPECT_EQ(engine.Value(), 7);
  engine.ParseToolOutput("size= 1kB time=00:00:11.00 bitrate=1");
  EXPECT_EQ(engine.Value(), 0);  // past the maximum it reads 0
}

TEST_F(FFmpegXTest, SettersNormaliseAndFiveNamesSplitTargetFromSource) {
  engine.SetVideoCodec("  LibX264 ");
  engine.SetAudioCodec(" AAC");
  engine.SetSubtitleCodec(" MOV_Text ");
  engine.SetForceFormat(" MP4 ");
  engine.SetVideoSize(" 640x480 ");
  engine.SetImageSize(" 50% ");
  engine.SetAdditionalScripts("  -tune film ");
  engine.SetAdditionalPass1Scripts(" -x ");
  engine.SetFrameRate(25);
  engine.SetAudioSampleRate(44100);
  engine.SetAudioChannels(2);
  EXPECT_EQ(engine.TargetVideoCodec(), "libx264");
  EXPECT_EQ(engine.TargetAudioCodec(), "aac");
  EXPECT_EQ(engine.SubtitleCodec(), "mov_text");
  EXPECT_EQ(engine.ForceFormat(), "mp4");
  EXPECT_EQ(engine.VideoSize(), "640x480");
  EXPECT_EQ(engine.ImageSize(), "50%");
  EXPECT_EQ(engine.AdditionalScripts(), "-tune film");
  EXPECT_EQ(engine.AdditionalPass1Scripts(), "-x");
  EXPECT_EQ(engine.TargetFrameRate(), 25);
  // Reading the same names gives the source's values, untouched by the writes.
  EXPECT_EQ(engine.VideoCodec(), "");
  EXPECT_EQ(engine.AudioCodec(), "");
  EXPECT_EQ(engine.FrameRate(), 0);
  EXPECT_EQ(engine.AudioSampleRate(), 0);
  EXPECT_EQ(engine.AudioChannels(), 0);
}

TEST_F(FFmpegXTest, OutputDirAndFilenameReportTheirChange) {
  engine.SetOutputDir("");
  EXPECT_TRUE(events.empty());
  engine.SetOutputDir("/data/out");
  EXPECT_EQ(engine.OutputDir(), "/data/out/");
  engine.SetFilename("");
  engine.SetFilename("/data/a.avi|/data/b.avi");
  EXPECT_EQ(engine.Filename(), "/data/a.avi|/data/b.avi");
  EXPECT_EQ(engine.Status(), kStatusSettingChanged);
  EXPECT_EQ(events, (std::vector<Event>{{5, "/data/out/"}, {5, "/data/a.avi|/data/b.avi"}}));
  EXPECT_EQ(engine.TwoPassStatus(), "");
}

TEST_F(FFmpegXTest, StatusWords) {
  const char* words[] = {"Starting", "Processing", "Complete", "Error", "Canceled",
                         "SettingChanged", "InfoString", "CreateThumb", "CancelFailed", "Searching"};
  for (int i = 0; i < 10; ++i) EXPECT_EQ(FFmpegX::GetStatusString(i), words[i]);
  EXPECT_EQ(FFmpegX::GetStatusString(10), "");
  EXPECT_EQ(FFmpegX::GetStatusString(-1), "");
}

TEST_F(FFmpegXTest, ChecksBeforeARunStopWithTheirMessages) {
  engine.StartProcess();
  EXPECT_EQ(events.back(), (Event{3, std::string(MsgNoSource)}));

  engine.SetFilename(dir / "missing.avi");
  engine.StartProcess();
  EXPECT_EQ(events.back(), (Event{3, std::string(MsgSourceNotFound)}));

  const std::string source = dir / "a.avi";
  ASSERT_TRUE(WriteText("x", source, false));
  engine.SetFilename(source);
  engine.SetOutputDir(dir / "no-such-folder");
  engine.StartProcess();
  EXPECT_EQ(events.back(), (Event{3, std::string(MsgNoSuchOutputPath)}));
  EXPECT_FALSE(engine.Processing());
}

TEST_F(FFmpegXTest, MissingCoreLocksTheObjectAsRunning) {
  const std::string source = dir / "a.avi";
  ASSERT_TRUE(WriteText("x", source, false));
  engine.SetFilename(source);
  events.clear();
  engine.StartProcess();  // no output folder: it informs, reads as an error, and goes on
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0], (Event{6, std::string(MsgNoOutputPath)}));
  EXPECT_EQ(events[1], (Event{3, std::string(MsgCannotSetCore)}));
  EXPECT_TRUE(engine.Processing());
  engine.StartProcess();
  EXPECT_EQ(events.back(), (Event{3, std::string(MsgExecuting)}));
}

TEST_F(FFmpegXTest, AviSynthMustBeInstalledWhenEnabled) {
  const std::string source = dir / "a.avi";
  ASSERT_TRUE(WriteText("x", source, false));
  engine.SetCore(test::ToolPath("ffmpeg"));
  engine.SetFilename(source);
  engine.SetOutputDir(dir.path());
  engine.AVSEnabled = true;
  engine.StartProcess();
  EXPECT_EQ(events.back(), (Event{3, std::string(MsgNoAviSynth)}));
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
  EXPECT_EQ(engine.CoreName(), "");
  EXPECT_EQ(engine.CoreVideoCodec(), "");
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
  const int pid = std::stoi(r.output);
  EXPECT_TRUE(FFmpegX::CloseProcess(pid));
  EXPECT_FALSE(FFmpegX::CloseProcess(0));
}

TEST_F(FFmpegXTest, StoredFormRoundTripAndLoadDefaults) {
  engine.TestMode = true;
  engine.SetPriority(16384);
  engine.SetStatusRefreshInterval(250);
  engine.CustomFileName = "名字 with blanks";
  engine.PadBorder = 1.7778f;
  engine.VideoPadColor = "00FF00";
  engine.UcaseNameSuffix = false;
  engine.AVSSubtitleFontLogo = "SimHei, 12, True, False, 134, False, False, 700";
  engine.MaxThreads = 7;  // runtime state: not part of the stored form
  const std::string path = dir / "form.txt";
  ASSERT_TRUE(engine.SaveStoredForm(path));

  FFmpegX loaded;
  ASSERT_TRUE(loaded.LoadStoredForm(path));
  EXPECT_TRUE(loaded.TestMode);
  EXPECT_EQ(loaded.Priority(), 16384);
  EXPECT_EQ(loaded.StatusRefreshInterval(), 250);
  EXPECT_EQ(loaded.CustomFileName, "名字 with blanks");
  EXPECT_FLOAT_EQ(loaded.PadBorder, 1.7778f);
  EXPECT_EQ(loaded.VideoPadColor, "00FF00");
  EXPECT_FALSE(loaded.UcaseNameSuffix);
  EXPECT_EQ(loaded.AVSSubtitleFontLogo, "SimHei, 12, True, False, 134, False, False, 700");
  EXPECT_EQ(loaded.MaxThreads, 0);

  // An empty form gives the load values, which differ from a new object's in places.
  FFmpegX fresh;
  fresh.ReadProperties({});
  EXPECT_EQ(fresh.VideoPadColor, "FFFFFF");
  EXPECT_EQ(fresh.MencSubtitleFontFileName, "Fonts/SimHei.ttf");
  EXPECT_EQ(fresh.MencSubtitleFontSize, 4);
  EXPECT_EQ(fresh.MencSubtitleAlign, 2);
  EXPECT_EQ(fresh.Priority(), 64);
  EXPECT_TRUE(fresh.RemoveFileAfterCanceled);

  ASSERT_TRUE(WriteText("garbage line\nImageQuality=abc\n=\nOverwrite=True", dir / "bad.txt", false));
  FFmpegX damaged;
  EXPECT_TRUE(damaged.LoadStoredForm(dir / "bad.txt"));
  EXPECT_EQ(damaged.ImageQuality, 0);  // a number that fails to parse is 0
  EXPECT_TRUE(damaged.Overwrite);
  EXPECT_FALSE(damaged.LoadStoredForm(dir / "missing.txt"));
}

}  // namespace
}  // namespace zel
