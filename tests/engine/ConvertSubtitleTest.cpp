#include <gtest/gtest.h>

#include <random>

#include "engine/FFmpegX.h"
#include "base/FileHelpers.h"
#include "subtitles/TextEncoding.h"
#include "support/TestSupport.h"

namespace zel {
namespace {

using namespace std::string_literals;

class ConvertSubtitleTest : public test::EngineTest {
 protected:
  ConvertSubtitleTest() { engine.SubtitleEncodeFormat = kEncodingUtf8; }
  std::string File(const std::string& name, const std::string& bytes) {
    EXPECT_TRUE(WriteFileAtomic(dir / name, bytes));
    return dir / name;
  }
  bool Convert(const std::vector<std::string>& inputs, const std::string& output, SubtitleArguments args = {}) {
    args.outputPath = output;
    return engine.ConvertSubtitle(inputs, args);
  }
  static constexpr const char* kSrt = "1\r\n00:00:01,000 --> 00:00:02,000\r\none\r\n\r\n";
};

TEST_F(ConvertSubtitleTest, InputsMergeAndEachIsReported) {
  const std::string a = File("a.srt", kSrt);
  const std::string b = File("b.lrc", "[00:05.00]five\r\n[00:03.00]three\r\n");
  const std::string out = dir / "sub/out.srt";
  ASSERT_TRUE(Convert({a, dir / "missing.srt", b}, out));
  EXPECT_EQ(events, (std::vector<test::Event>{{0, a}, {1, a}, {0, b}, {1, b}, {2, out}}));
  EXPECT_FALSE(engine.Processing());
  EXPECT_EQ(engine.StartTime().size(), 8u);
  EXPECT_EQ(ReadText(out),
            "\xEF\xBB\xBF" "1\r\n00:00:00,800 --> 00:00:01,800\r\none\r\n\r\n"
            "2\r\n00:00:02,800 --> 00:00:04,800\r\nthree\r\n\r\n"
            "3\r\n00:00:04,800 --> 00:00:09,800\r\nfive\r\n\r\n");
}

TEST_F(ConvertSubtitleTest, NamesNeverReplaceWhatShouldStay) {
  const std::string a = File("a.srt", kSrt);
  File("out.srt", "keep");
  ASSERT_TRUE(Convert({a}, dir / "out.srt"));
  EXPECT_EQ(events.back(), (test::Event{2, dir / "out(1).srt"}));
  EXPECT_EQ(ReadText(dir / "out.srt"), "keep");

  SubtitleArguments overwrite;
  overwrite.overwrite = true;
  ASSERT_TRUE(Convert({a}, dir / "out.srt", overwrite));
  EXPECT_NE(ReadText(dir / "out.srt"), "keep");
  // Overwriting never reaches an input, and the suffix takes the extension's place.
  ASSERT_TRUE(Convert({a}, a, overwrite));
  EXPECT_EQ(ReadText(a), kSrt);
  EXPECT_EQ(events.back(), (test::Event{2, dir / "a(1).srt"}));
  engine.FileNameSuffix = "ass";
  File("x.ass", "other");
  ASSERT_TRUE(Convert({a}, dir / "x.srt"));
  EXPECT_EQ(events.back(), (test::Event{2, dir / "x(1).ass"}));
  EXPECT_EQ(ReadText(dir / "x.ass"), "other");
}

TEST_F(ConvertSubtitleTest, LineEndsOfEverySystemAndTheirMixReadAlike) {
  struct Case {
    const char* name;
    std::string bytes;
    std::string written;  // after the mark; "" for a text that is refused
  };
  const std::string one = "00:00:00,800->00:00:01,800|one\r\n";
  const Case cases[] = {
      {"crlf.srt", kSrt, one},
      {"lf.srt", "1\n00:00:01,000 --> 00:00:02,000\none\n\n", one},
      {"cr.srt", "1\r00:00:01,000 --> 00:00:02,000\rone\r\r", one},
      {"mixed.srt", "1\n00:00:01,000 --> 00:00:02,000\r\none\rtwo\n\r\n",
       "00:00:00,800->00:00:01,800|one two\r\n"},
      {"lf.ass", "[Events]\nFormat: Layer, Start, End, Style, Text\nDialogue: 0,0:00:01.00,0:00:02.00,S,one\n", one},
      {"cr.lrc", "[00:01.00]a\r[00:02.00]b\r",
       "00:00:00,800->00:00:01,800|a\r\n00:00:01,800->00:00:06,800|b\r\n"},
      // A last line without a line end is not read, whatever the ends before it.
      {"last.srt", "1\n00:00:01,000 --> 00:00:02,000\none\n\n2\n00:00:03,000 --> 00:00:04,000\ntwo", one},
      {"ended.stxt", "00:00:01,000->00:00:02,000|one\r", one},
      {"single.stxt", "00:00:01,000->00:00:02,000|one", ""},
      // The NUL tail of a UTF-16 file is no line end.
      {"utf16.stxt", "\xFF\xFE" "0\0|\0x\0"s, ""},
  };
  for (const Case& c : cases) {
    const std::string out = dir / (std::string(c.name) + ".stxt");
    EXPECT_EQ(Convert({File(c.name, c.bytes)}, out), !c.written.empty()) << c.name;
    EXPECT_EQ(FileExists(out) ? ReadText(out) : "", c.written.empty() ? "" : "\xEF\xBB\xBF" + c.written) << c.name;
  }
}

TEST_F(ConvertSubtitleTest, RefusalsGiveFalseWithoutAnOutput) {
  const std::string a = File("a.srt", kSrt);
  EXPECT_FALSE(Convert({}, dir / "o.srt"));
  EXPECT_FALSE(Convert({File("x.sub", kSrt)}, dir / "o.srt"));  // unknown type
  EXPECT_FALSE(Convert({a, File("one.srt", "single line")}, dir / "o.srt"));  // stops all inputs
  EXPECT_FALSE(Convert({File("none.srt", "\r\n\r\n")}, dir / "o.srt"));    // no entry
  EXPECT_FALSE(FileExists(dir / "o.srt"));
  EXPECT_TRUE(std::none_of(events.begin(), events.end(), [](const test::Event& e) { return e.status == 2; }));

  engine.SubtitleEncodeFormat = -1;  // a plain save needs an encoding
  EXPECT_FALSE(Convert({a}, dir / "o.srt"));
  EXPECT_EQ(events.back(), (test::Event{3, std::string(MsgCannotCreateFile)}));
  engine.SubtitleEncodeFormat = 1;
  File("file", "");
  EXPECT_FALSE(Convert({a}, dir / "file/o.srt"));
  EXPECT_EQ(events.back().status, 3);
}

TEST_F(ConvertSubtitleTest, DamagedInputIsSkippedOrRefusedButNeverCrashes) {
  std::mt19937 random(7);
  std::string junk;
  for (int i = 0; i < 200000; ++i) junk += static_cast<char>(random() % 256);
  junk += "\r\n";
  std::string hugeLine = "00:00:01,000 --> 00:00:02,000\r\n" + std::string(1 << 20, 'x') + "<i>\r\n\r\n";
  const std::vector<std::pair<std::string, std::string>> inputs = {
      {"junk.srt", junk},
      {"junk.ass", "Format: Start\r\n" + junk},
      {"empty.srt", ""},
      {"huge.srt", hugeLine},
      {"markup.srt", "00:00:01,000 --> 00:00:02,000\r\n<<i>{{&;}> a <b\r\n\r\n"},
      {"overflow.srt", "99999:99:99,999 --> 2147483647\r\nbig\r\n\r\n"},
      {"utf32.srt", "\xFF\xFE\x00\x00x\x00\x00\x00\r\x00\x00\x00"s},
  };
  for (const auto& [name, bytes] : inputs) {
    for (const char* type : {"ass", "srt", "ksc"}) {
      SubtitleArguments args;
      args.karaokeStyle = 1;
      args.cutStart = 0;
      args.cutEnd = 30;
      Convert({File(name, bytes)}, dir / (name + "." + type), args);
    }
  }
  EXPECT_FALSE(FileExists(dir / "empty.srt.ass"));
  // Times past the 32-bit range read as 0 and the entry stays; the range drops it.
  EXPECT_EQ(ReadText(dir / "overflow.srt.srt").find("big"), std::string::npos);
  ASSERT_TRUE(Convert({dir / "overflow.srt"}, dir / "overflow.stxt"));
  EXPECT_EQ(ReadText(dir / "overflow.stxt"), "\xEF\xBB\xBF" "00:00:00,000->00:00:09,600|big\r\n");
  EXPECT_NE(ReadText(dir / "huge.srt.srt").find(std::string(1000, 'x')), std::string::npos);
}

TEST_F(ConvertSubtitleTest, EncodingsOnBothSides) {
  // UTF-16 input with its NUL tail and LF line ends, a GBK file without a mark,
  // and Big5 lyrics from an old Mac.
  const std::string le = File("le.txt", "\xFF\xFE" "A\0\n\0"s);
  const std::string gbk = File("gbk.txt", "\xD6\xD0\xCE\xC4\r\n");
  const std::string big5 = File("big5.txt", "\xC1\x63\xC5\xE9\r");
  for (int encoding : {0, 1, 2, 3}) {
    engine.SubtitleEncodeFormat = encoding;
    const std::string out = dir / ("e" + std::to_string(encoding) + ".txt");
    SubtitleArguments args;
    args.sortEntries = false;
    ASSERT_TRUE(Convert({le, gbk}, out, args));
    int detected = -1;
    std::string text = UEFLoadTextFile(out, detected);
    EXPECT_EQ(detected, encoding);
    const std::string expected = "A\r\n中文\r\n";
    EXPECT_EQ(text.substr(0, expected.size()), expected) << encoding;
  }
  engine.SubtitleEncodeFormat = 1;
  SubtitleArguments args;
  args.big5Mode = 1;
  ASSERT_TRUE(Convert({big5}, dir / "simplified.txt", args));
  EXPECT_EQ(ReadText(dir / "simplified.txt"), "\xEF\xBB\xBF繁体\r\n");
}

TEST_F(ConvertSubtitleTest, RangeAndExtraLineReachTheOutput) {
  const std::string a = File("a.srt",
                             "1\r\n00:00:05,000 --> 00:00:06,000\r\nearly\r\n\r\n"
                             "2\r\n00:00:12,000 --> 00:00:14,000\r\nkept\r\n\r\n");
  SubtitleArguments args;
  args.cutStart = 10;
  args.cutEnd = 20;
  args.extraText = "影音工坊制作";
  ASSERT_TRUE(Convert({a}, dir / "cut.stxt", args));
  EXPECT_EQ(ReadText(dir / "cut.stxt"),
            "\xEF\xBB\xBF" "00:00:00,000->00:00:10,000|影音工坊制作\r\n00:00:01,800->00:00:03,800|kept\r\n");
}

}  // namespace
}  // namespace zel
