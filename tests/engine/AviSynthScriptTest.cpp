#include <gtest/gtest.h>

#include <functional>

#include "engine/FFmpegX.h"
#include "base/FileHelpers.h"
#include "support/TestSupport.h"

namespace zel {
namespace {

// The five functions that open every script's function part.
constexpr const char* kCommonFunctions[] = {
    "function ConvertToChannel(clip1,clip2){",
    " clip1 = (Audiochannels(clip2) == 2) && (Audiochannels(clip1) == 1) ? clip1.MonoToStereo : clip1",
    " clip1 = (Audiochannels(clip2) == 1) && (Audiochannels(clip1) == 2) ? clip1.ConvertToMono : clip1",
    " return clip1",
    "}",
    "function MonoToStereo(clip a){",
    " Audiochannels(a)!=2",
    R"( \  mono = GetChannel(a, 1))",
    R"( \  MergeChannels(mono, mono))",
    "}",
    "function AutoYV12(clip Video) {",
    " Video = (isYV12(Video)==false) ? ConvertToYV12(Video) : Video",
    " return(Video)",
    "}",
    "function AutoYUY2(clip Video) {",
    " Video = (isYUY2(Video)==false) ? ConvertToYUY2(Video) : Video",
    " return(Video)",
    "}",
    "function ConvertToColorSpace(clip1,clip2) {",
    "clip1 = (clip2.isRGB32() && !clip1.isRGB32()) ? clip1.convertToRGB32(): clip1",
    "clip1 = (clip2.isRGB24() && !clip1.isRGB24()) ? clip1.convertToRGB24(): clip1",
    "clip1 = (clip2.isYUY2() && !clip1.isYUY2()) ? clip1.convertToYuy2(): clip1",
    "clip1 = (clip2.isYV12() && !clip1.isYV12()) ? clip1.convertToYv12(): clip1",
    "return clip1",
    "}",
};

std::string Crlf(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\r\n";
  return text;
}

// A 320x240 source of 25 frames a second, described by a faked classic core.
class AviSynthScriptTest : public test::EngineTest {
 protected:
  AviSynthScriptTest() {
    core = test::WriteScript(dir / "ffmpeg", R"(echo "FFmpeg version SVN-r19352, Copyright (c) 2000-2009"
if [ "$1" = "-i" ] && [ $# -eq 2 ]; then cat "$(dirname "$0")/probe.txt"; fi)");
    WriteText("Input #0, avi, from 'x':\n  Duration: 00:01:00.00, start: 0\n"
              "  Stream #0.0: Video: mpeg4, yuv420p, 320x240, 25 tbr\n"
              "  Stream #0.1: Audio: mp3, 44100 Hz, stereo\n",
              dir / "probe.txt", false);
    engine.SetCore(core);
    Touch("clip.avi");
    engine.SetFilename(source);
    scratch = engine.ScriptPath().substr(0, engine.ScriptPath().size() - 4);
    events.clear();
  }

  std::string Touch(const std::string& name, const std::string& bytes = {}) {
    WriteFileAtomic(dir / name, bytes);
    return dir / name;
  }
  // $DIR and $SCRATCH stand for the folder and the engine's scratch name.
  std::string Expand(const std::string& text) const {
    return ReplaceAll(ReplaceAll(text, "$SCRATCH", scratch), "$DIR", dir.path());
  }
  std::string Script(const std::string& from, int width = 0, int height = 0) {
    engine.GenerateScript(from, engine.ScriptPath(), width, height);
    return ReadText(engine.ScriptPath());
  }
  // The whole script of a body and the functions after the five.
  std::string Whole(const std::vector<std::string>& body, const std::vector<std::string>& functions = {}) const {
    std::vector<std::string> lines{"SetMemoryMax(256)"};
    for (const std::string& line : body) lines.push_back(Expand(line));
    lines.insert(lines.end(), {"return last", ""});
    lines.insert(lines.end(), std::begin(kCommonFunctions), std::end(kCommonFunctions));
    for (const std::string& line : functions) lines.push_back(Expand(line));
    return Crlf(lines);
  }

  std::string core, scratch;
  std::string source = dir / "clip.avi";
};

// The test's folder, for the media files the effects need: existence is what counts.
struct Folder {
  std::string path;
  std::string operator/(const std::string& name) const { return path + "/" + name; }
  std::string Touch(const std::string& name) const {
    WriteFileAtomic(*this / name, "");
    return *this / name;
  }
};

struct Case {
  const char* name;
  std::function<void(FFmpegX&, const Folder&)> set;
  std::vector<std::string> body;
  std::vector<std::string> functions;
};

const std::string kSource = R"(DirectshowSource("$DIR/clip.avi"))";
const std::string kInsertedClip =
    R"(b = DirectShowSource("$DIR/in.avi", fps=30, convertfps=true).ChangeFPS(a.Framerate))"
    ".ResampleAudio(a.Audiorate).ConvertToChannel(a).Lanczos4Resize(a.Width,a.Height)";

TEST_F(AviSynthScriptTest, EachEffectAddsItsLineAndFunction) {
  const Case cases[] = {
      {"no effects", [](FFmpegX&, const Folder&) {}, {kSource}, {}},
      {"crop inside the picture",
       [](FFmpegX& e, const Folder&) { e.AVSScreenCrop = "8,4,-8,-4"; },
       {kSource, "VideoCrop()"},
       {"function VideoCrop(clip a){", "Crop(a, 8,4,-8,-4)", "}"}},
      {"crop wider than the picture", [](FFmpegX& e, const Folder&) { e.AVSScreenCrop = "200,0,-120,0"; },
       {kSource}, {}},
      {"music at 150 percent is held at 100",
       [](FFmpegX& e, const Folder& t) {
         e.AVSAudioReplace = true;
         e.AVSAudioReplaceFileName = t.Touch("music.mp3");
         e.AVSAudioReplaceVolume = 150;
       },
       {kSource, "BackMusic()"},
       {"function BackMusic(clip a){",
        R"(b = DirectShowSource("$DIR/music.mp3").ResampleAudio(a.Audiorate).ConvertToChannel(a))",
        "MixAudio(a, b, 0.00, 1.00)", "}"}},
      {"music at 30 percent",
       [](FFmpegX& e, const Folder& t) {
         e.AVSAudioReplace = true;
         e.AVSAudioReplaceFileName = t.Touch("music.mp3");
         e.AVSAudioReplaceVolume = 30;
       },
       {kSource, "BackMusic()"},
       {"function BackMusic(clip a){",
        R"(b = DirectShowSource("$DIR/music.mp3").ResampleAudio(a.Audiorate).ConvertToChannel(a))",
        "MixAudio(a, b, 0.70, 0.30)", "}"}},
      {"music file missing",
       [](FFmpegX& e, const Folder& t) {
         e.AVSAudioReplace = true;
         e.AVSAudioReplaceFileName = t / "none.mp3";
       },
       {kSource}, {}},
      {"cover in the system's colour order",
       [](FFmpegX& e, const Folder&) {
         e.AVSLayOver = true;
         e.AVSLayOverRect = "10,20,100,50";
         e.AVSLayOverColor = "FF8040";
       },
       {kSource, "LayOver()"},
       {"function LayOver(clip a){",
        " b = BlankClip(length=a.Framecount, width=100, height=50, fps=a.Framecount, color=$4080FF)",
        R"( Overlay(a, b, x=10, y=20, mode="Blend", opacity=1.0))", "}"}},
      {"inserted video at the start",
       [](FFmpegX& e, const Folder& t) {
         e.AVSInsertVideo = true;
         e.AVSInsertVideoFileName = t.Touch("in.avi");
       },
       {kSource, "VideoTitle()"},
       {"function VideoTitle(clip a) {",
        kInsertedClip,
        "Dissolve(b,a,int(a.Framerate))", "}"}},
      {"inserted video in the middle",
       [](FFmpegX& e, const Folder& t) {
         e.AVSInsertVideo = true;
         e.AVSInsertVideoFileName = t.Touch("in.avi");
         e.AVSInsertVideoPosition = 50;
       },
       {kSource, "VideoTitle()"},
       {"function VideoTitle(clip a) {",
        kInsertedClip,
        "v1 = a.Trim(0,Int(a.Framecount * 50 / 100))", "v2 = a.Trim(Int(a.Framecount * 50 / 100),0)",
        "Dissolve(v1,b,v2,int(a.Framerate))", "}"}},
      {"inserted video at the end",
       [](FFmpegX& e, const Folder& t) {
         e.AVSInsertVideo = true;
         e.AVSInsertVideoFileName = t.Touch("in.avi");
         e.AVSInsertVideoPosition = 100;
       },
       {kSource, "VideoTitle()"},
       {"function VideoTitle(clip a) {",
        kInsertedClip,
        "Dissolve(a,b,int(a.Framerate))", "}"}},
      {"inserted still for five seconds",
       [](FFmpegX& e, const Folder& t) {
         e.AVSInsertImage = true;
         e.AVSInsertImageFileName = t.Touch("still.png");
         e.AVSInsertImageTime = 5;
       },
       {kSource, "ImageTitle()"},
       {"function ImageTitle(clip a) {",
        R"(Video = ImageSource("$DIR/still.png", end=0, fps=a.Framerate).assumefps(a,true))"
        ".ConvertToColorSpace(a).Lanczos4Resize(a.Width,a.Height).Loop(int(a.Framerate * 5))",
        "Audio = BlankClip(length=int(a.Framerate * 5), color=$000000).ChangeFPS(a.Framerate)"
        ".ResampleAudio(a.Audiorate).ConvertToChannel(a)",
        "b = audiodub(Video,Audio)", "Dissolve(b,a,int(a.Framerate))", "}"}},
      {"still without a length",
       [](FFmpegX& e, const Folder& t) {
         e.AVSInsertImage = true;
         e.AVSInsertImageFileName = t.Touch("still.png");
       },
       {kSource}, {}},
      {"picture overlay",
       [](FFmpegX& e, const Folder& t) {
         e.AVSLogoImage = true;
         e.AVSLogoImageFileName = t.Touch("logo.png");
         e.AVSLogoImagePosition = "12x34";
       },
       {kSource, "ImageOverlay()"},
       {"function ImageOverlay(clip a){", R"( b = ImageSource("$DIR/logo.png"))",
        R"( Overlay(a, b, x=12, y=34, mode="Blend", opacity=1.0))", "}"}},
      {"user script with line marks",
       [](FFmpegX& e, const Folder&) { e.AVSUserScript = R"(Video = Video.Blur(1)\nVideo = Video.Sharpen(1))"; },
       {kSource, "modAddon()"},
       {"function modAddon(clip Video) {", "Video = Video.Blur(1)", "Video = Video.Sharpen(1)", "return(Video)", "}"}},
      {"flip across", [](FFmpegX& e, const Folder&) { e.AVSFlip = 1; }, {kSource, "FlipHorizontal()"}, {}},
      {"flip upside down", [](FFmpegX& e, const Folder&) { e.AVSFlip = 2; }, {kSource, "FlipVertical()"}, {}},
      {"turn 90", [](FFmpegX& e, const Folder&) { e.AVSVideoRotate = 90; }, {kSource + ".TurnRight()"}, {}},
      {"turn 180", [](FFmpegX& e, const Folder&) { e.AVSVideoRotate = 180; }, {kSource + ".Turn180()"}, {}},
      {"turn 270", [](FFmpegX& e, const Folder&) { e.AVSVideoRotate = 270; }, {kSource + ".TurnLeft()"}, {}},
      {"turn 45 does nothing", [](FFmpegX& e, const Folder&) { e.AVSVideoRotate = 45; }, {kSource}, {}},
      {"range in the source's own rate",
       [](FFmpegX& e, const Folder&) {
         e.TimeStartPoint = 2;
         e.TimeEndPoint = 7.5f;
       },
       {R"(fr = DirectshowSource("$DIR/clip.avi").Framerate)", kSource + ".Trim(Int(fr * 2), Int(fr * 7.5))"},
       {}},
      {"range at a target rate, turned",
       [](FFmpegX& e, const Folder&) {
         e.SetFrameRate(25);
         e.TimeStartPoint = 2;
         e.TimeEndPoint = 7.5f;
         e.AVSVideoRotate = 90;
       },
       {R"(DirectshowSource("$DIR/clip.avi", fps=25, convertfps=true).Trim(50, 187).TurnRight())"},
       {}},
      {"effects keep the order of the steps",
       [](FFmpegX& e, const Folder& t) {
         e.AVSFlip = 2;
         e.AVSUserScript = "Video = Video.Blur(1)";
         e.AVSLogoImage = true;
         e.AVSLogoImageFileName = t.Touch("logo.png");
         e.AVSAudioReplace = true;
         e.AVSAudioReplaceFileName = t.Touch("music.mp3");
         e.AVSAudioReplaceVolume = 50;
       },
       {kSource, "BackMusic()", "ImageOverlay()", "modAddon()", "FlipVertical()"},
       {"function BackMusic(clip a){",
        R"(b = DirectShowSource("$DIR/music.mp3").ResampleAudio(a.Audiorate).ConvertToChannel(a))",
        "MixAudio(a, b, 0.50, 0.50)", "}", "function ImageOverlay(clip a){", R"( b = ImageSource("$DIR/logo.png"))",
        R"( Overlay(a, b, x=0, y=0, mode="Blend", opacity=1.0))", "}", "function modAddon(clip Video) {",
        "Video = Video.Blur(1)", "return(Video)", "}"}},
  };
  for (const Case& c : cases) {
    FFmpegX fresh;  // every case starts from the defaults, on the same probed source
    fresh.SetCore(core);
    fresh.SetFilename(source);
    c.set(fresh, Folder{dir.path()});
    fresh.GenerateScript(source, fresh.ScriptPath(), 0, 0);
    scratch = fresh.ScriptPath().substr(0, fresh.ScriptPath().size() - 4);
    EXPECT_EQ(ReadText(fresh.ScriptPath()), Whole(c.body, c.functions)) << c.name;
    if (std::string(c.name) == "music at 150 percent is held at 100") {
      EXPECT_EQ(fresh.AVSAudioReplaceVolume, 100);
    }
  }
}

TEST_F(AviSynthScriptTest, SeveralSourcesJoinAtTheFirstClipsShape) {
  const std::string first = Touch("a.avi"), third = Touch("c.avi");
  const std::string joined = first + "|" + (dir / "missing.avi") + "|" + third;
  EXPECT_EQ(Script(joined, 640, 480),
            Whole({R"(i0 = DirectshowSource("$DIR/a.avi").ResampleAudio(44100))",
                   R"(i2 = DirectshowSource("$DIR/c.avi").ResampleAudio(44100))"
                   ".ConvertToChannel(i0).Lanczos4Resize(i0.Width, i0.Height)",
                   "last = i0+i2", "Lanczos4Resize(640, 480)"}));

  engine.SetAudioSampleRate(48000);
  engine.TimeEndPoint = 4;
  engine.AVSVideoRotate = 180;
  EXPECT_EQ(Script(first + "|" + third),
            Whole({R"(fr = DirectshowSource("$DIR/a.avi").Framerate)",
                   R"(i0 = DirectshowSource("$DIR/a.avi").Trim(Int(fr * 0), Int(fr * 4)))"
                   ".ResampleAudio(48000).Turn180()",
                   R"(fr = DirectshowSource("$DIR/c.avi").Framerate)",
                   R"(i1 = DirectshowSource("$DIR/c.avi").Trim(Int(fr * 0), Int(fr * 4)).ResampleAudio(48000))"
                   ".ConvertToChannel(i0).Lanczos4Resize(i0.Width, i0.Height).Turn180()",
                   "last = i0+i1"}));
}

TEST_F(AviSynthScriptTest, SubtitlesAreBurntInWithTheFilter) {
  engine.AVSVSFilterPath = Touch("VSFilter.dll");
  engine.AVSEnableSubtitle = true;
  const std::string srt = "1\r\n00:00:01,000 --> 00:00:02,000\r\nHello\r\n\r\n";
  Touch("clip.srt", srt);
  Touch("extra.sub");
  engine.AVSOverallSubtitle = dir / "extra.sub";
  EXPECT_EQ(Script(source), Whole({kSource, R"(LoadPlugin("$DIR/VSFilter.dll"))", R"(TextSub("$DIR/clip.srt"))",
                                   R"(VobSub("$DIR/extra.sub"))"}));

  // Restyled into the scratch files, without a word to the host.
  engine.AVSEnableSubtitleFormat = true;
  engine.AVSOverallSubtitle = Touch("extra.lrc", "[00:03.00]three\n[00:05.00]five\n");
  EXPECT_EQ(Script(source), Whole({kSource, R"(LoadPlugin("$DIR/VSFilter.dll"))", R"(TextSub("$SCRATCH1.ssa"))",
                                   R"(TextSub("$SCRATCH2.ssa"))"}));
  EXPECT_TRUE(Contains(ReadText(scratch + "1.ssa"), "PlayResX: 320"));
  EXPECT_TRUE(Contains(ReadText(scratch + "2.ssa"), "three"));
  EXPECT_TRUE(events.empty()) << events.front();
  ASSERT_TRUE(engine.StatusChange);

  // A file the converter refuses (no line end) is burnt in as it is; a picture
  // subtitle beside the source stands in when no text one is there.
  Touch("clip.srt", "00:00:01,000 --> 00:00:02,000");
  engine.AVSOverallSubtitle = Touch("extra.xyz");
  EXPECT_EQ(Script(source), Whole({kSource, R"(LoadPlugin("$DIR/VSFilter.dll"))", R"(TextSub("$DIR/clip.srt"))"}));
  zel::DeleteFile(dir / "clip.srt");
  Touch("clip.sub");
  EXPECT_EQ(Script(source), Whole({kSource, R"(LoadPlugin("$DIR/VSFilter.dll"))", R"(TextSub("$DIR/clip.sub"))"}));
}

TEST_F(AviSynthScriptTest, TextOverlayHoldsBannerLogoAndTitle) {
  engine.AVSSubtitleEnableBanner = true;
  engine.AVSSubtitleStringBanner = "ZEL 影音";
  engine.AVSSubtitleEnableLogo = true;
  engine.AVSSubtitleStringLogo = "Logo";
  engine.AVSSubtitleFontLogo = "Trebuchet MS, 18, True, False, 0, False, False, 700";
  engine.AVSSubtitleEnableTitle = true;
  engine.AVSSubtitleStringTitle = "T";
  engine.AVSSubtitleFontTitle = "SimHei, 24, False, True, 134, False, False, 400";
  engine.AVSSubtitleColorTitle = "00FFFF";
  EXPECT_EQ(Script(source), Whole({kSource, R"(TextSub("$SCRATCH3.ssa"))"}));
  // "ZEL " is four half-ems and the two ideographs two whole ones, at 20 points.
  EXPECT_EQ(ReadText(scratch + "3.ssa"),
            Crlf({"0", "00:00:00,000 --> 00:00:30,000",
                  R"({\move(107,32,-107,32)\b0\i0\fad(1000,300)\1c&HFFFFFF&\3c&H000000\fnTrebuchet MS\fs20}ZEL 影音)",
                  "", "0", "00:00:05,000 --> 00:00:20,000",
                  R"({\b1\i0\fad(300,300)\1c&HFFFFFF\3c&H000000\fnTrebuchet MS\fs18\an9}Logo)", "", "0",
                  "00:00:00,000 --> 00:00:15,000", R"({\b0\i1\fad(300,300)\1c&H00FFFF\3c&H000000\fnSimHei\fs24\an5}T)",
                  ""}));

  // The title alone brings no overlay.
  engine.AVSSubtitleEnableBanner = engine.AVSSubtitleEnableLogo = false;
  EXPECT_EQ(Script(source), Whole({kSource}));

  // A given file is restyled line by line instead, whatever its line ends.
  const std::string given = Touch("given.srt", "1\n00:00:01,000 --> 00:00:02,000\r\nHello\r{\\an8}Top\n\n");
  engine.WriteTextOverlay(dir / "out.ssa", given);
  EXPECT_EQ(ReadText(dir / "out.ssa"),
            Crlf({"1", "00:00:01,000 --> 00:00:02,000",
                  R"({\b0\i0\fad(100,100)\1c&HFFFFFF\3c&H000000\fnTrebuchet MS\fs20\an2}Hello)", R"({\an8}Top)", ""}));
}

TEST_F(AviSynthScriptTest, TextIsMeasuredByItsCharacters) {
  const std::tuple<const char*, double, int, int> cases[] = {
      {"ZEL", 20, 40, 32}, {"影音工坊", 18, 96, 29}, {"", 12, 0, 19}, {"A文", 15, 30, 24}};
  for (const auto& [text, points, width, height] : cases) {
    const FFmpegX::TextExtent extent = FFmpegX::MeasureText(text, points);
    EXPECT_EQ(extent.width, width) << text;
    EXPECT_EQ(extent.height, height) << text;
  }
}

TEST_F(AviSynthScriptTest, TestModeCopiesTheScriptToTheOutputFolder) {
  MakedPath(dir / "out");
  engine.SetOutputDir(dir / "out");
  engine.TestMode = true;
  const std::string script = Script(source);
  const std::string name = FileNameOf(engine.ScriptPath());
  EXPECT_EQ(ReadText(dir / ("out/" + name)), script);
  EXPECT_EQ(script, Whole({kSource}));
}

TEST_F(AviSynthScriptTest, CommandReadsTheScriptOfAllSourcesWithoutARange) {
  const std::string second = Touch("b.avi");
  engine.SetFilename(source + "|" + second);
  engine.SetOutputDir(dir.path());
  engine.SetForceFormat("mp4");
  engine.TimeStartPoint = 1;
  engine.TimeEndPoint = 3;
  engine.AVSEnabled = true;
  engine.AVSThroughAviSynth = true;
  const std::string command = engine.BuildCommand(0);
  EXPECT_TRUE(Contains(command, " -i \"" + engine.ScriptPath() + "\"")) << command;
  EXPECT_FALSE(Contains(command, " -ss ")) << command;
  EXPECT_TRUE(Contains(ReadText(engine.ScriptPath()), "last = i0+i1\r\n"));
}

}  // namespace
}  // namespace zel
