// Probes and thumbnails off the asker's thread: what is kept and when it is read
// again, answers ahead of time, answers on the asker's thread, and the engine's
// probes taking what was asked ahead.
#include "engine/ProbeService.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <mutex>
#include <thread>

#include "base/FileHelpers.h"
#include "base/TextHelpers.h"
#include "engine/FFmpegX.h"
#include "support/TestSupport.h"

namespace zel {
namespace {

using namespace std::chrono_literals;

class ProbeServiceTest : public ::testing::Test {
 protected:
  // A core that records each run and answers "-i" after `delay` seconds.
  std::string FakeCore(const std::string& name, const std::string& delay = "0") {
    return test::WriteScript(dir / name, "echo \"$*\" >> '" + dir / "runs" + "'\nsleep " + delay +
                                             "\necho \"Input #0, avi, from '$2':\"\n"
                                             "echo \"  Duration: 00:00:02.00, start: 0.000000\"\n");
  }
  int Runs() const { return static_cast<int>(test::ReadLines(ReadText(dir / "runs")).size()); }
  // Waits for the answers a host without a poster collects.
  int Collect(ProbeService& service, int wanted) {
    int got = 0;
    for (int i = 0; i < 500 && got < wanted; ++i) {
      got += service.DeliverFinished();
      if (got < wanted) std::this_thread::sleep_for(10ms);
    }
    return got;
  }

  test::TempDir dir;
  ProbeService service{2};
};

TEST_F(ProbeServiceTest, KeepsAnAnswerWhileTheFileAndTheCoreStayAsTheyWere) {
  const std::string clip = dir / "clip.mp4";
  test::MakeClip(clip, 2);
  const std::string core = FakeCore("core");

  const ProbeFacts first = service.Probe(clip, core);
  EXPECT_TRUE(Contains(first.toolText, "Duration: 00:00:02.00"));
  ASSERT_TRUE(first.figures.has_value());
  EXPECT_NEAR(first.figures->duration, 2.0, 0.1);
  EXPECT_EQ(first.figures->width, 160);
  service.Probe(clip, core);
  EXPECT_EQ(Runs(), 1);

  test::MakeClip(clip, 3);  // the file changed
  EXPECT_NEAR(service.Probe(clip, core).figures->duration, 3.0, 0.1);
  EXPECT_EQ(Runs(), 2);
  FakeCore("core");  // the tool changed
  service.Probe(clip, core);
  EXPECT_EQ(Runs(), 3);
  service.Probe(clip, "");  // another core: the libraries alone
  EXPECT_EQ(Runs(), 3);
  service.Forget();
  service.Probe(clip, core);
  EXPECT_EQ(Runs(), 4);

  // Nothing to read: no text, no figures, and nothing kept.
  const ProbeFacts none = service.Probe(dir / "missing.mp4", core);
  EXPECT_FALSE(none.figures.has_value());
  EXPECT_EQ(Runs(), 5);
}

TEST_F(ProbeServiceTest, AProbeAskedAheadIsWaitedForNotRunTwice) {
  const std::string clip = dir / "clip.mp4";
  test::MakeClip(clip, 1);
  const std::string core = FakeCore("slow", "0.4");
  service.Prefetch(clip, core);
  // Asked at once, or while the worker is inside the tool: one run either way.
  const ProbeFacts facts = service.Probe(clip, core);
  EXPECT_TRUE(Contains(facts.toolText, "Duration"));
  service.Prefetch(clip, core);
  EXPECT_EQ(Runs(), 1);
}

TEST_F(ProbeServiceTest, AnswersReachTheAskerOnItsOwnThread) {
  const std::string clip = dir / "clip.mp4";
  test::MakeClip(clip, 1, "320x180");
  const std::thread::id asker = std::this_thread::get_id();
  std::vector<std::string> heard;
  service.RequestProbe(clip, FakeCore("core"), [&](const ProbeFacts& facts) {
    EXPECT_EQ(std::this_thread::get_id(), asker);
    heard.push_back(facts.figures ? "probe " + std::to_string(facts.figures->width) : "probe none");
  });
  service.RequestThumbnail(clip, QSize(160, 120), [&](const QImage& picture) {
    EXPECT_EQ(std::this_thread::get_id(), asker);
    heard.push_back("thumb " + std::to_string(picture.width()) + "x" + std::to_string(picture.height()));
  });
  EXPECT_EQ(Collect(service, 2), 2);
  std::sort(heard.begin(), heard.end());
  // The picture keeps its shape inside the size asked for.
  EXPECT_EQ(heard, (std::vector<std::string>{"probe 320", "thumb 160x90"}));

  // A host with a poster is handed the answer to run where it wants.
  std::vector<std::function<void()>> posted;
  std::mutex guard;
  service.SetPoster([&](std::function<void()> answer) {
    std::lock_guard lock(guard);
    posted.push_back(std::move(answer));
  });
  service.RequestThumbnail(dir / "no such file", QSize(64, 64), [&](const QImage& picture) {
    heard.push_back(picture.isNull() ? "no thumb" : "thumb");
  });
  for (int i = 0; i < 500; ++i) {
    std::lock_guard lock(guard);
    if (!posted.empty()) break;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  EXPECT_EQ(service.DeliverFinished(), 0);
  std::lock_guard lock(guard);
  ASSERT_EQ(posted.size(), 1u);
  posted.front()();
  EXPECT_EQ(heard.back(), "no thumb");
}

TEST_F(ProbeServiceTest, ThumbnailsOfPicturesAndVideos) {
  const std::string clip = dir / "clip.mp4";
  test::MakeClip(clip, 10, "320x240");
  QImage picture(400, 100, QImage::Format_RGB32);
  picture.fill(Qt::red);
  ASSERT_TRUE(picture.save(QString::fromStdString(dir / "wide.png")));
  WriteText("not a picture", dir / "notes.txt", false);

  const QImage frame = ProbeService::MakeThumbnail(clip, QSize(100, 100));
  EXPECT_EQ(frame.size(), QSize(100, 75));
  // The frame a tenth into the film, not the first: the test pattern's clock
  // shows the second.
  FFmpegX grabber;
  const QImage atOne = grabber.GetVideoFrame(clip, 1.0, 100, 75);
  const QImage atStart = grabber.GetVideoFrame(clip, 0.0, 100, 75);
  EXPECT_EQ(frame.convertToFormat(atOne.format()), atOne);
  EXPECT_NE(frame.convertToFormat(atStart.format()), atStart);
  EXPECT_EQ(ProbeService::MakeThumbnail(dir / "wide.png", QSize(100, 100)).size(), QSize(100, 25));
  EXPECT_TRUE(ProbeService::MakeThumbnail(dir / "notes.txt", QSize(100, 100)).isNull());
  EXPECT_TRUE(ProbeService::MakeThumbnail(clip, QSize(0, 100)).isNull());
}

// The text made in-process is the tool's own text of the file, the "Input #0"
// block or the reason the file cannot be opened, for every kind of file.
TEST(MediaReading, IsWhatTheToolPrintsForItsInput) {
  test::TempDir dir;
  const std::string ffmpeg = test::ToolPath("ffmpeg");
  auto make = [&](const std::string& args) {
    const test::RunResult r = test::Run(test::ReadLines(ReplaceAll(
        ffmpeg + "\n-v\nerror\n-nostdin\n-y\n" + ReplaceAll(args, " ", "\n"), "$D", dir.path())));
    ASSERT_EQ(r.exitCode, 0) << args << r.output;
  };
  test::MakeClip(dir / "clip.mp4", 2);
  make("-f lavfi -i testsrc=duration=1 -f lavfi -i sine=duration=1 -f lavfi -i sine=duration=1 -map 0 -map 1 -map 2 "
       "-metadata:s:a:1 title=Director -c:v mpeg4 -c:a aac $D/two.mkv");
  make("-f lavfi -i testsrc=size=64x48 -frames:v 1 $D/cover.png");
  make("-f lavfi -i sine=duration=1 -i $D/cover.png -map 0 -map 1 -c:a libmp3lame -c:v copy "
       "-disposition:v attached_pic -id3v2_version 3 $D/cover.mp3");
  make("-f lavfi -i sine=duration=1 $D/mono.wav");  // no layout of its own: the tool guesses one
  make("-f lavfi -i testsrc=duration=1 -c:v mpeg2video -f mpegts $D/t.ts");
  WriteText("not media", dir / "notes.txt", false);
  WriteFileAtomic(dir / "cut.mp4", ReadText(dir / "clip.mp4").substr(0, 2000));

  const std::string banner = test::Run({ffmpeg, "-version"}).output;
  EXPECT_TRUE(CoreSharesOurLibraries(banner));
  EXPECT_FALSE(CoreSharesOurLibraries(ReplaceAll(banner, "libavformat", "libavformat-old")));
  EXPECT_FALSE(CoreSharesOurLibraries("ffmpeg version 5.1 Copyright"));

  // A message's source is named with its address, which differs between processes.
  auto plain = [](const std::string& text) {
    std::string out;
    for (const std::string& line : test::ReadLines(text)) {
      if (Contains(line, "At least one output file must be specified")) continue;
      const size_t at = line.find(" @ 0x");
      out += (at == std::string::npos ? line : line.substr(0, at) + line.substr(line.find(']', at))) + "\n";
    }
    return out;
  };
  for (const char* name : {"clip.mp4", "two.mkv", "cover.mp3", "mono.wav", "t.ts", "notes.txt", "cut.mp4"}) {
    const std::string path = dir / name;
    const MediaReading reading = ReadMedia(path);
    EXPECT_EQ(plain(reading.text), plain(test::Run({ffmpeg, "-hide_banner", "-i", path}).output)) << name;
    EXPECT_EQ(reading.figures.has_value(), std::string(name) != "notes.txt" && std::string(name) != "cut.mp4");
  }
}

// The engine's two probes of a job (setting the source, the head of the command)
// take the answer asked for ahead, and its events stay on the engine's thread. A
// core on our own libraries is never started for a probe; another one once.
TEST(EngineProbes, TakeWhatWasAskedAheadAndReportOnTheEnginesThread) {
  test::TempDir dir;
  const std::string clip = dir / "clip.mp4";
  test::MakeClip(clip, 2);
  const std::string real = test::ToolPath("ffmpeg");
  const std::string log = dir / "probes";
  auto wrapper = [&](const std::string& name, const std::string& bannerFilter) {
    return test::WriteScript(dir / name, "[ \"$1\" = -i ] && echo \"" + name + "\" >> '" + log + "'\n"
                                             "[ $# = 0 ] && { '" + real + "' 2>&1 | " + bannerFilter + "; exit 1; }\n"
                                             "exec '" + real + "' \"$@\"");
  };
  const std::string ours = wrapper("ours", "cat");
  const std::string other = wrapper("other", "grep -v libav");  // names no libraries: run it

  std::vector<std::string> readings;
  for (const std::string& core : {ours, other}) {
    FFmpegX engine;
    engine.SetCore(core);
    ASSERT_EQ(engine.CoreStatus(), kCoreFFmpeg);
    ProbeService::Instance().Prefetch(clip, core);
    const std::thread::id owner = std::this_thread::get_id();
    int changes = 0;
    engine.FileInfoChange = [&] {
      EXPECT_EQ(std::this_thread::get_id(), owner);
      ++changes;
    };
    engine.SetFilename(clip);
    engine.SetOutputDir(dir.path());
    engine.SetForceFormat("avi");
    engine.BuildCommand(0);
    EXPECT_EQ(changes, 2);
    EXPECT_NEAR(engine.Duration(), 2.0, 0.1);
    readings.push_back(engine.StreamInfo() + "|" + engine.DefaultAudioStream() + "|" + engine.AudioMapStream());
  }
  // Both routes read the file alike.
  EXPECT_EQ(readings[0], readings[1]);
  EXPECT_TRUE(Contains(readings[0], "Stream#0:1")) << readings[0];
  EXPECT_EQ(test::ReadLines(ReadText(log)), std::vector<std::string>{"other"});
}

}  // namespace
}  // namespace zel
