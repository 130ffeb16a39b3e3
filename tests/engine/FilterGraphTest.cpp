#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <functional>

#include "engine/CommandLine.h"
#include "engine/EngineMessages.h"
#include "engine/FFmpegX.h"
#include "base/FileHelpers.h"
#include "support/TestSupport.h"

namespace zel {
namespace {

using Effects = std::function<void(FFmpegX&, const test::TempDir&)>;

// A 160x120 source of two seconds at 25 frames, with stereo sound at 44.1 kHz.
FFmpegX::SourceFacts Facts() {
  FFmpegX::SourceFacts facts;
  facts.width = 160;
  facts.height = 120;
  facts.frameRate = 25;
  facts.duration = 2;
  facts.audio = true;
  facts.sampleRate = 44100;
  facts.channels = 2;
  return facts;
}

class FilterGraphTest : public test::EngineTest {};

TEST_F(FilterGraphTest, EachStepOfTheScriptHasItsFilters) {
  struct Case {
    const char* name;
    Effects setup;
    std::string graph;   // with $D for the scratch folder
    size_t inputs = 0;   // beyond the source
    int width = 0, height = 0;
  };
  const std::string plain = "[0:v]null[v0];[0:a]anull[a1]";
  const Case cases[] = {
      {"nothing", [](FFmpegX&, const test::TempDir&) {}, plain},
      {"turn right", [](FFmpegX& e, const test::TempDir&) { e.AVSVideoRotate = 90; },
       "[0:v]transpose=clock[v0];[0:a]anull[a1]"},
      {"turn over", [](FFmpegX& e, const test::TempDir&) { e.AVSVideoRotate = 180; },
       "[0:v]hflip,vflip[v0];[0:a]anull[a1]"},
      {"turn left", [](FFmpegX& e, const test::TempDir&) { e.AVSVideoRotate = 270; },
       "[0:v]transpose=cclock[v0];[0:a]anull[a1]"},
      {"no such turn", [](FFmpegX& e, const test::TempDir&) { e.AVSVideoRotate = 45; }, plain},
      {"rate and range",
       [](FFmpegX& e, const test::TempDir&) {
         e.SetFrameRate(10);
         e.TimeStartPoint = 0.5;
         e.TimeEndPoint = 1.5;
       },
       "[0:v]fps=10,trim=start=0.5:end=1.5,setpts=PTS-STARTPTS[v0];"
       "[0:a]atrim=start=0.5:end=1.5,asetpts=PTS-STARTPTS[a1]"},
      {"size", [](FFmpegX&, const test::TempDir&) {}, plain + ";[v0]scale=320:240:flags=lanczos[v2]", 0, 320, 240},
      {"crop from the edges", [](FFmpegX& e, const test::TempDir&) { e.AVSScreenCrop = "8,4,-16,-6"; },
       plain + ";[v0]crop=136:110:8:4[v2]"},
      {"crop by size after a resize",
       [](FFmpegX& e, const test::TempDir&) { e.AVSScreenCrop = "2,2,100,50"; },
       plain + ";[v0]scale=320:240:flags=lanczos[v2];[v2]crop=100:50:2:2[v3]", 0, 320, 240},
      {"crop leaving nothing", [](FFmpegX& e, const test::TempDir&) { e.AVSScreenCrop = "80,0,-80,-0"; }, plain},
      {"blank rectangle in the system's byte order",
       [](FFmpegX& e, const test::TempDir&) {
         e.AVSLayOver = true;
         e.AVSLayOverRect = "10,20,30,40";
         e.AVSLayOverColor = "FF8000";
       },
       plain + ";[v0]drawbox=x=10:y=20:w=30:h=40:color=0x0080FF:t=fill[v2]"},
      {"music at its share",
       [](FFmpegX& e, const test::TempDir& d) {
         e.AVSAudioReplace = true;
         e.AVSAudioReplaceFileName = d / "m.mp3";
         e.AVSAudioReplaceVolume = 30;
       },
       plain + ";[1:a]aresample=44100,aformat=channel_layouts=stereo[a2];"
               "[a1][a2]amix=inputs=2:duration=first:dropout_transition=0:normalize=0:weights=0.70 0.30[a3]",
       1},
      {"music above the whole share",
       [](FFmpegX& e, const test::TempDir& d) {
         e.AVSAudioReplace = true;
         e.AVSAudioReplaceFileName = d / "m.mp3";
         e.AVSAudioReplaceVolume = 150;
       },
       plain + ";[1:a]aresample=44100,aformat=channel_layouts=stereo[a2];"
               "[a1][a2]amix=inputs=2:duration=first:dropout_transition=0:normalize=0:weights=0.00 1.00[a3]",
       1},
      {"missing music", [](FFmpegX& e, const test::TempDir& d) {
         e.AVSAudioReplace = true;
         e.AVSAudioReplaceFileName = d / "none.mp3";
       }, plain},
      {"still before the video",
       [](FFmpegX& e, const test::TempDir& d) {
         e.AVSInsertImage = true;
         e.AVSInsertImageFileName = d / "p.png";
         e.AVSInsertImageTime = 3;
       },
       plain + ";[1:v]scale=160:120:flags=lanczos,fps=25,format=yuv420p,setsar=1[v2];"
               "anullsrc=r=44100:cl=stereo,atrim=duration=3[a3];[v0]fps=25,format=yuv420p,setsar=1[v4];"
               "[v2][v4]xfade=transition=fade:duration=1:offset=2[v5];[a3][a1]acrossfade=d=1[a6]",
       1},
      {"still inside the video",
       [](FFmpegX& e, const test::TempDir& d) {
         e.AVSInsertImage = true;
         e.AVSInsertImageFileName = d / "p.png";
         e.AVSInsertImageTime = 3;
         e.AVSInsertImagePosition = 50;
       },
       plain + ";[1:v]scale=160:120:flags=lanczos,fps=25,format=yuv420p,setsar=1[v2];"
               "anullsrc=r=44100:cl=stereo,atrim=duration=3[a3];[v0]fps=25,format=yuv420p,setsar=1[v4];"
               "[v4]split[v5][v6];[v5]trim=end=1,setpts=PTS-STARTPTS[v7];[v6]trim=start=1,setpts=PTS-STARTPTS[v8];"
               "[v7][v2]xfade=transition=fade:duration=1:offset=0[v9];"
               "[v9][v8]xfade=transition=fade:duration=1:offset=2[v10];"
               "[a1]asplit[a11][a12];[a11]atrim=end=1,asetpts=PTS-STARTPTS[a13];"
               "[a12]atrim=start=1,asetpts=PTS-STARTPTS[a14];[a13][a3]acrossfade=d=1[a15];"
               "[a15][a14]acrossfade=d=1[a16]",
       1},
      {"still of no time", [](FFmpegX& e, const test::TempDir& d) {
         e.AVSInsertImage = true;
         e.AVSInsertImageFileName = d / "p.png";
       }, plain},
      {"picture overlay",
       [](FFmpegX& e, const test::TempDir& d) {
         e.AVSLogoImage = true;
         e.AVSLogoImageFileName = d / "p.png";
         e.AVSLogoImagePosition = "5X6";
       },
       plain + ";[v0][1:v]overlay=x=5:y=6[v2]", 1},
      {"mirror", [](FFmpegX& e, const test::TempDir&) { e.AVSFlip = 1; }, plain + ";[v0]hflip[v2]"},
      {"upside down", [](FFmpegX& e, const test::TempDir&) { e.AVSFlip = 2; }, plain + ";[v0]vflip[v2]"},
      {"deinterlaced and louder",
       [](FFmpegX& e, const test::TempDir&) {
         e.Deinterlace = true;
         e.AudioVolume = 150;
       },
       "[0:v]yadif[v0];[0:a]anull[a1];[a1]volume=1.5[a2]"},
      {"picture subtitle with its index",
       [](FFmpegX& e, const test::TempDir& d) {
         WriteFileAtomic(d / "v.idx", "");
         WriteFileAtomic(d / "v.sub", "");
         e.AVSOverallSubtitle = d / "v.sub";
       },
       plain + ";[v0][1:s]overlay=eof_action=pass[v2]", 1},
      {"text subtitle",
       [](FFmpegX& e, const test::TempDir& d) {
         WriteFileAtomic(d / "it's [a]: b,c;.srt", "");
         e.AVSOverallSubtitle = d / "it's [a]: b,c;.srt";
       },
       plain + ";[v0]subtitles=filename=" + FFmpegX::FilterGraphValue(dir / "it's [a]: b,c;.srt") + "[v2]"},
  };
  WriteFileAtomic(dir / "m.mp3", "");
  WriteFileAtomic(dir / "p.png", "");
  for (const Case& c : cases) {
    FFmpegX fresh;
    c.setup(fresh, dir);
    fresh.ComposeScript(dir / "clip.mp4", 0, 0);  // the subtitle files of the script
    const FFmpegX::FilterGraph graph = fresh.ComposeFilterGraph(dir / "clip.mp4", c.width, c.height, Facts());
    EXPECT_EQ(graph.text, c.graph) << c.name;
    EXPECT_EQ(graph.inputs.size(), c.inputs) << c.name;
    EXPECT_FALSE(graph.userScriptLeftOut) << c.name;
  }
}

TEST_F(FilterGraphTest, SeveralSourcesAreJoinedAndTheUsersLinesLeftOut) {
  const std::string second = dir / "b.mp4";
  WriteFileAtomic(second, "");
  FFmpegX e;
  e.SetAudioSampleRate(48000);
  e.AVSUserScript = "Blur(1.0)";
  FFmpegX::SourceFacts facts = Facts();
  facts.channels = 1;
  const FFmpegX::FilterGraph graph =
      e.ComposeFilterGraph(dir / "a.mp4|" + (dir / "none.mp4") + "|" + second, 0, 0, facts);
  EXPECT_EQ(graph.text,
            "[0:v]scale=160:120:flags=lanczos,setsar=1[v0];[0:a]aresample=48000,aformat=channel_layouts=mono[a1];"
            "[1:v]scale=160:120:flags=lanczos,setsar=1[v2];[1:a]aresample=48000,aformat=channel_layouts=mono[a3];"
            "[v0][a1][v2][a3]concat=n=2:v=1:a=1[v4][a5]");
  ASSERT_EQ(graph.inputs.size(), 1u);
  EXPECT_EQ(graph.inputs[0].path, second);
  EXPECT_EQ(graph.video, "[v4]");
  EXPECT_EQ(graph.audio, "[a5]");
  EXPECT_TRUE(graph.userScriptLeftOut);

  // Stereo music on a mono source is averaged, as the script's conversion does.
  FFmpegX music;
  WriteFileAtomic(dir / "m.mp3", "");
  music.AVSAudioReplace = true;
  music.AVSAudioReplaceFileName = dir / "m.mp3";
  facts.musicChannels = 2;
  EXPECT_TRUE(Contains(music.ComposeFilterGraph(dir / "a.mp4", 0, 0, facts).text,
                       "[1:a]aresample=44100,pan=mono|c0=0.5*c0+0.5*c1[a2]"));

  facts.audio = false;  // a source without sound, or the sound not wanted
  EXPECT_EQ(e.ComposeFilterGraph(dir / "a.mp4", 0, 0, facts).text, "[0:v]null[v0]");
  EXPECT_EQ(e.ComposeFilterGraph(dir / "a.mp4", 0, 0, facts).audio, "");
}

TEST(FilterGraphValue, TheTextsKeepTheirTagsForLibass) {
  const std::string text = FFmpegX::TextOverlayAsSubStation(
      "0\r\n00:00:05,000 --> 01:02:03,450\r\n{\\b1\\an9}Logo\\Nline\r\n\r\n"
      "0\r\n00:00:00,000 --> 00:00:15,000\r\n{\\fad(300,300)}Title\r\n\r\n");
  EXPECT_TRUE(Contains(text, "PlayResX: 384\r\nPlayResY: 288\r\n")) << text;
  EXPECT_TRUE(Contains(text, "Text\r\nDialogue: 0,0:00:05.00,1:02:03.45,Default,,0,0,0,,{\\b1\\an9}Logo\\Nline\r\n"
                             "Dialogue: 0,0:00:00.00,0:00:15.00,Default,,0,0,0,,{\\fad(300,300)}Title\r\n"))
      << text;
}

TEST(FilterGraphValue, EscapesForTheOptionThenForTheGraph) {
  const std::pair<std::string, std::string> cases[] = {
      {"/a/b.srt", "/a/b.srt"},       {"it's", R"(it\\\'s)"},   {"c:/x", R"(c\\:/x)"},
      {"[x],y;z", R"(\[x\]\,y\;z)"}, {R"(a\b)", R"(a\\\\b)"}, {"a b", "a b"},
  };
  for (const auto& [text, escaped] : cases) EXPECT_EQ(FFmpegX::FilterGraphValue(text), escaped) << text;
}

// ---- Real runs on small generated clips ----

struct Rgb {
  int r = 0, g = 0, b = 0;
};

bool Near(const Rgb& a, const Rgb& b, int tolerance = 40) {
  return std::abs(a.r - b.r) <= tolerance && std::abs(a.g - b.g) <= tolerance && std::abs(a.b - b.b) <= tolerance;
}

std::ostream& operator<<(std::ostream& out, const Rgb& c) {
  return out << "(" << c.r << "," << c.g << "," << c.b << ")";
}

// The colour of one pixel of the frame at `seconds`.
Rgb Pixel(const std::string& path, double seconds, int x, int y) {
  const test::RunResult r =
      test::Run({test::ToolPath("ffmpeg"), "-v", "error", "-nostdin", "-ss", std::to_string(seconds), "-i", path,
                 "-frames:v", "1", "-vf", "format=rgb24,crop=1:1:" + std::to_string(x) + ":" + std::to_string(y),
                 "-f", "rawvideo", "-"});
  if (r.exitCode != 0 || r.output.size() < 3) return {-1, -1, -1};
  const auto byte = [&r](size_t i) { return static_cast<int>(static_cast<unsigned char>(r.output[i])); };
  return {byte(0), byte(1), byte(2)};
}

std::string Probe(const std::string& path, const std::string& entries) {
  const test::RunResult r = test::Run({test::ToolPath("ffprobe"), "-v", "error", "-select_streams", "v:0",
                                       "-show_entries", entries, "-of", "csv=p=0", path});
  return ReplaceAll(r.output, "\n", "");
}

double Seconds(const std::string& path) {
  return Val(Trim(test::Run({test::ToolPath("ffprobe"), "-v", "error", "-show_entries", "format=duration", "-of",
                             "csv=p=0", path})
                      .output));
}

// The sound's mean level in dB, by FFmpeg's volume detector.
double MeanVolume(const std::string& path) {
  const std::string text =
      test::Run({test::ToolPath("ffmpeg"), "-nostdin", "-i", path, "-vn", "-af", "volumedetect", "-f", "null", "-"})
          .output;
  const size_t at = text.find("mean_volume: ");
  return at == std::string::npos ? 0 : Val(text.substr(at + 13));
}

void Generate(const std::vector<std::string>& arguments) {
  std::vector<std::string> argv = {test::ToolPath("ffmpeg"), "-v", "error", "-nostdin", "-y"};
  argv.insert(argv.end(), arguments.begin(), arguments.end());
  const test::RunResult r = test::Run(argv);
  ASSERT_EQ(r.exitCode, 0) << r.output;
}

// A picture subtitle as a DVD carries it, which no Debian tool makes from
// text: one red rectangle (40,30)-(119,89) shown from 0.2 s for about 1.2 s,
// as "<stem>.sub" (one 2048-byte MPEG-PS sector) and its "<stem>.idx".
void WriteVobSub(const std::string& stem) {
  constexpr int x0 = 40, y0 = 30, x1 = 119, y1 = 89, lines = y1 - y0 + 1;
  std::string spu;
  const auto word = [](std::string& to, int v) { to += static_cast<char>(v >> 8), to += static_cast<char>(v & 255); };
  // Each line filled to its end with pixel 1, the top field's lines then the bottom's.
  std::string rle;
  for (int i = 0; i < lines; ++i) word(rle, 1);
  const int topBytes = (lines + 1) / 2 * 2;
  std::string start = "\x01";
  start += std::string("\x03\x00\x10", 3);  // pixel 1 takes palette entry 1
  start += std::string("\x04\xff\xf0", 3);  // opaque; the background clear
  start += "\x05";
  for (int v : {x0 >> 4, ((x0 & 15) << 4) | (x1 >> 8), x1 & 255, y0 >> 4, ((y0 & 15) << 4) | (y1 >> 8), y1 & 255}) {
    start += static_cast<char>(v);
  }
  start += "\x06";
  word(start, 4);
  word(start, 4 + topBytes);
  start += "\xff";
  const int control = 4 + static_cast<int>(rle.size());
  const int stop = control + 4 + static_cast<int>(start.size());
  word(spu, 0);  // the size, set below
  word(spu, control);
  spu += rle;
  word(spu, 0);  // at once
  word(spu, stop);
  spu += start;
  word(spu, 105);  // 105 x 1024 / 90000 s later
  word(spu, stop);
  spu += "\x02\xff";
  spu[0] = static_cast<char>(spu.size() >> 8), spu[1] = static_cast<char>(spu.size() & 255);

  constexpr long long pts = 18000;  // 0.2 s
  std::string pes = std::string("\x81\x80\x05", 3);
  for (long long v : {0x21 | ((pts >> 29) & 0x0e), (pts >> 22) & 0xff, ((pts >> 14) & 0xfe) | 1, (pts >> 7) & 0xff,
                      ((pts << 1) & 0xfe) | 1}) {
    pes += static_cast<char>(v);
  }
  pes += ' ';  // the first subtitle stream, 0x20
  pes += spu;
  std::string sector = std::string("\x00\x00\x01\xba\x44\x00\x04\x00\x04\x01\x01\x89\xc3\xf8", 14);
  sector += std::string("\x00\x00\x01\xbd", 4);
  word(sector, static_cast<int>(pes.size()));
  sector += pes;
  const int padding = 2048 - static_cast<int>(sector.size()) - 6;
  sector += std::string("\x00\x00\x01\xbe", 4);
  word(sector, padding);
  sector += std::string(static_cast<size_t>(padding), '\xff');
  WriteFileAtomic(stem + ".sub", sector);
  std::string palette = "000000, ff0000";
  for (int i = 2; i < 16; ++i) palette += ", 000000";
  WriteFileAtomic(stem + ".idx", "# VobSub index file, v7\nsize: 160x120\norg: 0, 0\npalette: " + palette +
                                     "\nid: en, index: 0\ntimestamp: 00:00:00:200, filepos: 000000000\n");
}

class FilterGraphRunTest : public test::EngineTest {
 protected:
  FilterGraphRunTest() {
    // A silent source, so that mixed-in music alone makes the level.
    Generate({"-f", "lavfi", "-i", "testsrc=size=160x120:rate=25:duration=2", "-f", "lavfi", "-i",
              "anullsrc=r=44100:cl=stereo", "-t", "2", "-pix_fmt", "yuv420p", "-c:v", "mpeg4", "-q:v", "2", "-c:a",
              "aac", source});
  }

  // Converts the source with the effects of `setup`, as the task loop would
  // without AviSynth; the output's path.
  std::string Convert(const Effects& setup) {
    FFmpegX real;
    real.SetCore(test::ToolPath("ffmpeg"));
    real.SetFilename(source);
    MakedPath(dir / "out");
    real.SetOutputDir(dir / "out");
    real.SetForceFormat("mp4");
    real.SetVideoCodec("mpeg4");
    real.VideoVBR = 2;
    real.AVSEnabled = true;
    setup(real, dir);
    int lastStatus = -1;
    real.StatusChange = [&lastStatus](int status, const std::string&) { lastStatus = status; };
    real.StartProcess();
    EXPECT_EQ(lastStatus, kStatusComplete) << real.CommandToRun();
    return real.OutputFileName();
  }

  const std::string source = dir / "clip.mp4";
};

TEST_F(FilterGraphRunTest, ThePictureIsTurnedCutMirroredAndCovered) {
  const Rgb sourceCorner = Pixel(source, 0.5, 150, 10);
  struct Case {
    const char* name;
    Effects setup;
    std::function<void(const std::string& output)> check;
  };
  const Case cases[] = {
      {"a turn swaps the size", [](FFmpegX& e, const test::TempDir&) { e.AVSVideoRotate = 90; },
       [](const std::string& out) { EXPECT_EQ(Probe(out, "stream=width,height"), "120,160"); }},
      {"a new size and frame rate",
       [](FFmpegX& e, const test::TempDir&) {
         e.SetVideoSize("80x60");
         e.SetFrameRate(10);
       },
       [](const std::string& out) { EXPECT_EQ(Probe(out, "stream=width,height,r_frame_rate"), "80,60,10/1"); }},
      {"a crop gives the inner size", [](FFmpegX& e, const test::TempDir&) { e.AVSScreenCrop = "10,10,-30,-20"; },
       [](const std::string& out) { EXPECT_EQ(Probe(out, "stream=width,height"), "120,90"); }},
      {"a range keeps its length",
       [](FFmpegX& e, const test::TempDir&) {
         e.TimeStartPoint = 0.5;
         e.TimeEndPoint = 1.5;
       },
       [](const std::string& out) { EXPECT_NEAR(Seconds(out), 1.0, 0.1); }},
      {"the rectangle has its colour at its place",
       [](FFmpegX& e, const test::TempDir&) {
         e.AVSLayOver = true;
         e.AVSLayOverRect = "100,60,30,20";
         e.AVSLayOverColor = "FF0000";  // blue in the system's byte order
       },
       [](const std::string& out) {
         EXPECT_TRUE(Near(Pixel(out, 0.5, 115, 70), {0, 0, 255})) << Pixel(out, 0.5, 115, 70);
         EXPECT_FALSE(Near(Pixel(out, 0.5, 90, 70), {0, 0, 255}));
       }},
      {"a mirror swaps the sides",
       [](FFmpegX& e, const test::TempDir&) { e.AVSFlip = 1; },
       [&sourceCorner](const std::string& out) {
         EXPECT_TRUE(Near(Pixel(out, 0.5, 9, 10), sourceCorner)) << Pixel(out, 0.5, 9, 10) << sourceCorner;
       }},
      {"a subtitle file with a hostile name is drawn",
       [](FFmpegX& e, const test::TempDir& d) {
         // A red square drawn by libass, with no font involved.
         const std::string subtitle = d / "it's [a]: b,c;.ass";
         WriteFileAtomic(subtitle,
                         "[Script Info]\nScriptType: v4.00+\nPlayResX: 160\nPlayResY: 120\n\n[V4+ Styles]\n"
                         "Format: Name, Fontname, Fontsize, PrimaryColour, OutlineColour, BorderStyle, Outline, "
                         "Shadow, Alignment\nStyle: Default,Arial,20,&H000000FF,&H000000FF,1,0,0,7\n\n[Events]\n"
                         "Format: Layer, Start, End, Style, Text\n"
                         "Dialogue: 0,0:00:00.00,0:00:05.00,Default,{\\pos(0,0)\\p1}m 0 0 l 40 0 40 40 0 40{\\p0}\n");
         e.AVSOverallSubtitle = subtitle;
       },
       [](const std::string& out) {
         EXPECT_TRUE(Near(Pixel(out, 0.5, 20, 20), {255, 0, 0})) << Pixel(out, 0.5, 20, 20);
       }},
      {"the logo text is drawn with its tags",
       [](FFmpegX& e, const test::TempDir&) {
         e.AVSSubtitleEnableLogo = true;
         e.AVSSubtitleStringLogo = "\u2588\u2588\u2588";  // full blocks
         e.AVSSubtitleTimeStartLogo = "00:00:00,000";
         e.AVSSubtitleTimeEndLogo = "00:00:05,000";
         e.AVSSubtitleColorLogo = "0000FF";  // red in the system's byte order
         e.AVSSubtitleAlignLogo = 5;
         e.AVSSubtitleFontLogo = "DejaVu Sans, 100, False, False, 0";
       },
       [](const std::string& out) {
         EXPECT_TRUE(Near(Pixel(out, 1.0, 80, 60), {255, 0, 0})) << Pixel(out, 1.0, 80, 60);
       }},
      {"a still dissolves in before the video",
       [](FFmpegX& e, const test::TempDir& d) {
         Generate({"-f", "lavfi", "-i", "color=c=blue:size=80x60", "-frames:v", "1", d / "still.png"});
         e.AVSInsertImage = true;
         e.AVSInsertImageFileName = d / "still.png";
         e.AVSInsertImageTime = 2;
       },
       [](const std::string& out) {
         EXPECT_NEAR(Seconds(out), 3.0, 0.15);
         EXPECT_TRUE(Near(Pixel(out, 0.4, 80, 60), {0, 0, 255})) << Pixel(out, 0.4, 80, 60);
         EXPECT_FALSE(Near(Pixel(out, 2.6, 80, 60), {0, 0, 255}));
       }},
      {"a still dissolves in and out inside the video",
       [](FFmpegX& e, const test::TempDir& d) {
         Generate({"-f", "lavfi", "-i", "color=c=blue:size=80x60", "-frames:v", "1", d / "still.png"});
         e.AVSInsertImage = true;
         e.AVSInsertImageFileName = d / "still.png";
         e.AVSInsertImageTime = 3;
         e.AVSInsertImagePosition = 50;
       },
       [](const std::string& out) {
         EXPECT_NEAR(Seconds(out), 3.0, 0.15);  // 1 s, 3 s of the still, 1 s, less two dissolves
         EXPECT_FALSE(Near(Pixel(out, 0.2, 80, 60), {0, 0, 255}));
         EXPECT_TRUE(Near(Pixel(out, 1.5, 80, 60), {0, 0, 255})) << Pixel(out, 1.5, 80, 60);
         EXPECT_FALSE(Near(Pixel(out, 2.9, 80, 60), {0, 0, 255}));
       }},
      {"two sources are joined",
       [](FFmpegX& e, const test::TempDir& d) {
         e.SetFilename(d / "clip.mp4|" + (d / "clip.mp4"));
         e.AVSVideoRotate = 270;
       },
       [](const std::string& out) {
         EXPECT_NEAR(Seconds(out), 4.0, 0.15);
         EXPECT_EQ(Probe(out, "stream=width,height"), "120,160");
       }},
      {"a clip dissolves in after the video",
       [](FFmpegX& e, const test::TempDir& d) {
         Generate({"-f", "lavfi", "-i", "color=c=green:size=80x60:rate=30:duration=2", "-f", "lavfi", "-i",
                   "sine=frequency=440:duration=2", "-pix_fmt", "yuv420p", "-c:v", "mpeg4", "-c:a", "aac",
                   d / "insert.mp4"});
         e.AVSInsertVideo = true;
         e.AVSInsertVideoFileName = d / "insert.mp4";
         e.AVSInsertVideoPosition = 100;
       },
       [](const std::string& out) {
         EXPECT_NEAR(Seconds(out), 3.0, 0.15);
         EXPECT_FALSE(Near(Pixel(out, 0.4, 80, 60), {0, 128, 0}));
         EXPECT_TRUE(Near(Pixel(out, 2.6, 80, 60), {0, 128, 0})) << Pixel(out, 2.6, 80, 60);
       }},
      {"a picture subtitle is laid over the video while it shows",
       [](FFmpegX& e, const test::TempDir& d) {
         WriteVobSub(d / "picture");
         e.AVSOverallSubtitle = d / "picture.sub";
       },
       [this](const std::string& out) {
         EXPECT_TRUE(Near(Pixel(out, 0.6, 80, 60), {255, 0, 0})) << Pixel(out, 0.6, 80, 60);
         EXPECT_TRUE(Near(Pixel(out, 0.6, 20, 20), Pixel(source, 0.6, 20, 20))) << Pixel(out, 0.6, 20, 20);
         EXPECT_TRUE(Near(Pixel(out, 1.8, 80, 60), Pixel(source, 1.8, 80, 60))) << Pixel(out, 1.8, 80, 60);
       }},
      {"a picture lies over the video at its place",
       [](FFmpegX& e, const test::TempDir& d) {
         Generate({"-f", "lavfi", "-i", "color=c=red:size=20x20", "-frames:v", "1", d / "logo.png"});
         e.AVSLogoImage = true;
         e.AVSLogoImageFileName = d / "logo.png";
         e.AVSLogoImagePosition = "30x40";
       },
       [](const std::string& out) {
         EXPECT_TRUE(Near(Pixel(out, 0.5, 40, 50), {255, 0, 0})) << Pixel(out, 0.5, 40, 50);
         EXPECT_FALSE(Near(Pixel(out, 0.5, 60, 50), {255, 0, 0}));
       }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    const std::string output = Convert(c.setup);
    ASSERT_TRUE(FileExists(output));
    c.check(output);
    zel::DeleteFile(output);
  }
}

TEST_F(FilterGraphRunTest, MusicIsMixedInAtItsShare) {
  Generate({"-f", "lavfi", "-i", "sine=frequency=1000:duration=3", "-c:a", "libmp3lame", dir / "music.mp3"});
  const double music = MeanVolume(dir / "music.mp3");
  const std::pair<int, double> shares[] = {{100, 0.0}, {50, -6.02}, {25, -12.04}};
  for (const auto& [share, offset] : shares) {
    const std::string output = Convert([share](FFmpegX& e, const test::TempDir& d) {
      e.AVSAudioReplace = true;
      e.AVSAudioReplaceFileName = d / "music.mp3";
      e.AVSAudioReplaceVolume = share;
    });
    EXPECT_NEAR(MeanVolume(output), music + offset, 1.0) << share;
    EXPECT_NEAR(Seconds(output), 2.0, 0.15) << share;  // the video's length, not the music's
    zel::DeleteFile(output);
  }
}

TEST_F(FilterGraphRunTest, TheUsersLinesAreReportedAndLeftOut) {
  FFmpegX real;
  real.SetCore(test::ToolPath("ffmpeg"));
  real.SetFilename(source);
  MakedPath(dir / "out");
  real.SetOutputDir(dir / "out");
  real.SetForceFormat("mp4");
  real.AVSEnabled = true;
  real.AVSUserScript = "Blur(1.0)\\nSharpen(0.5)";
  std::vector<test::Event> seen;
  real.StatusChange = [&seen](int status, const std::string& info) { seen.push_back({status, info}); };
  real.StartProcess();
  EXPECT_NE(std::find(seen.begin(), seen.end(), test::Event{kStatusInfoString, std::string(MsgUserScriptLeftOut)}),
            seen.end());
  EXPECT_EQ(seen.back().status, kStatusComplete);
  EXPECT_TRUE(FileExists(real.OutputFileName()));
}

}  // namespace
}  // namespace zel
