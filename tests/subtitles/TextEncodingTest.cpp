#include "subtitles/TextEncoding.h"

#include <gtest/gtest.h>

#include "base/FileHelpers.h"
#include "support/TestSupport.h"

namespace zel {
namespace {

using namespace std::string_literals;

// Each test sets the page it needs and leaves UTF-8 behind.
class TextEncoding : public ::testing::Test {
 protected:
  void TearDown() override { SetAnsiCodePage("UTF-8"); }
  std::string Write(const std::string& name, const std::string& bytes) {
    const std::string path = dir / name;
    EXPECT_TRUE(WriteFileAtomic(path, bytes));
    return path;
  }
  std::string Load(const std::string& path, int& encoding) { return UEFLoadTextFile(path, encoding); }
  test::TempDir dir;
};

TEST_F(TextEncoding, MarksDecideInTheirOrderAndShortFilesReadZeros) {
  struct Case {
    std::string bytes;
    int encoding, length;
  } cases[] = {
      {"\xFF\xFE\x00\x00"s, 4, 4}, {"\x00\x00\xFE\xFF"s, 5, 4}, {"\xFF\xFEx\x00"s, 2, 2},
      {"\xFE\xFF\x00x"s, 3, 2},    {"\xEF\xBB\xBFx"s, 1, 3},    {"abcd", 0, 0},
      // Missing bytes count as zero: FF FE alone is the four-byte mark.
      {"\xFF\xFE"s, 4, 4},         {"", 0, 0},
  };
  for (const Case& c : cases) {
    uint32_t first4 = 0;
    for (size_t i = 0; i < c.bytes.size(); ++i) first4 |= uint32_t(uint8_t(c.bytes[i])) << (8 * i);
    int encoding = -9, length = -9;
    UEFCheckBOM(first4, encoding, length);
    EXPECT_EQ(encoding, c.encoding) << testing::PrintToString(c.bytes);
    EXPECT_EQ(length, c.length);
    if (c.encoding > 0 && c.bytes.size() >= size_t(c.length)) {
      uint32_t bom = 0;
      int bomLength = 0;
      UEFMakeBOM(c.encoding, bom, bomLength);
      std::string made;
      for (int i = 0; i < bomLength; ++i) made += char(bom >> (8 * i));
      EXPECT_EQ(made, c.bytes.substr(0, size_t(c.length)));
    }
    EXPECT_EQ(UEFCheckTextFileFormat(Write("m", c.bytes)), c.encoding);
  }
  EXPECT_EQ(UEFCheckTextFileFormat(dir / "missing"), -1);
}

TEST_F(TextEncoding, LoadKeepsTheQuirksOfEachEncoding) {
  int encoding = -1;
  // A stated encoding that differs from the mark reads the mark as text.
  encoding = 0;
  EXPECT_EQ(Load(Write("bom8", "\xEF\xBB\xBFok"), encoding), "\xEF\xBB\xBFok");
  encoding = -1;
  EXPECT_EQ(Load(dir / "bom8", encoding), "ok");
  EXPECT_EQ(encoding, 1);

  // Little endian: five characters from ten bytes, then six NULs.
  encoding = -1;
  EXPECT_EQ(Load(Write("le", "\xFF\xFEh\0e\0l\0l\0o\0"s), encoding), "hello"s + std::string(6, '\0'));
  EXPECT_EQ(encoding, 2);
  // Big endian has no tail, and a pair of surrogates is one character.
  encoding = -1;
  EXPECT_EQ(Load(Write("be", "\xFE\xFF\x4E\x2D\xD8\x3D\xDE\x00"s), encoding), "中😀");
  EXPECT_EQ(encoding, 3);
  // UTF-32 is recognised, never converted; FF FE alone leaves nothing to read.
  encoding = -1;
  EXPECT_EQ(Load(Write("u32", "\xFF\xFE\x00\x00x\x00\x00\x00"s), encoding), "");
  EXPECT_EQ(encoding, 4);
  encoding = -1;
  EXPECT_EQ(Load(Write("ff", "\xFF\xFE"s), encoding), "");
  EXPECT_EQ(encoding, 4);
  // Out-of-range numbers and missing files give nothing and leave the number.
  encoding = 9;
  EXPECT_EQ(Load(dir / "le", encoding), "");
  EXPECT_EQ(encoding, 9);
  encoding = -1;
  EXPECT_EQ(Load(dir / "missing", encoding), "");
  EXPECT_EQ(Load(dir.path(), encoding), "");
}

TEST_F(TextEncoding, AnsiIsTheChosenPageWithAGb18030FallbackForUtf8) {
  const std::string gbk = "\xD6\xD0\xCE\xC4 srt";  // "中文 srt" in GBK
  int encoding = -1;
  EXPECT_EQ(Load(Write("gbk", gbk), encoding), "中文 srt");
  EXPECT_EQ(encoding, 0);
  encoding = -1;
  EXPECT_EQ(Load(Write("utf8", "中文"), encoding), "中文");

  SetAnsiCodePage("GBK");
  EXPECT_EQ(AnsiCodePage(), "GBK");
  encoding = 0;
  ASSERT_TRUE(UEFSaveTextFile(dir / "out", "中文 €x", false, encoding, 0));
  EXPECT_EQ(ReadText(dir / "out"), "\xD6\xD0\xCE\xC4 \x80x");  // GBK has the euro sign at 0x80
  ASSERT_TRUE(UEFSaveTextFile(dir / "lost", "中😀", false, encoding, 0));
  EXPECT_EQ(ReadText(dir / "lost"), "\xD6\xD0?");
  // Names iconv does not know leave the page at UTF-8; a number is a code page.
  SetAnsiCodePage("no-such-page");
  EXPECT_EQ(AnsiCodePage(), "UTF-8");
  SetAnsiCodePage("950");
  EXPECT_EQ(AnsiCodePage(), "CP950");
}

TEST_F(TextEncoding, SaveWritesMarksAndAppendsInTheFilesOwnEncoding) {
  int encoding = -1;
  EXPECT_FALSE(UEFSaveTextFile(dir / "x", "a", false, encoding, 1));  // a plain write needs an encoding
  encoding = 7;
  EXPECT_FALSE(UEFSaveTextFile(dir / "x", "a", true, encoding, 1));
  EXPECT_FALSE(FileExists(dir / "x"));

  encoding = 3;
  ASSERT_TRUE(UEFSaveTextFile(dir / "empty", "", false, encoding, 3));
  EXPECT_EQ(ReadText(dir / "empty"), "\xFE\xFF");

  // Appending to a UTF-8 file finds its mark and writes no second one.
  encoding = 1;
  ASSERT_TRUE(UEFSaveTextFile(dir / "u8", "一", false, encoding, 1));
  encoding = -1;
  ASSERT_TRUE(UEFSaveTextFile(dir / "u8", "二", true, encoding, 2));
  EXPECT_EQ(encoding, 1);
  EXPECT_EQ(ReadText(dir / "u8"), "\xEF\xBB\xBF一二");

  // An empty file takes the default, with its mark.
  Write("blank", "");
  encoding = -1;
  ASSERT_TRUE(UEFSaveTextFile(dir / "blank", "A", true, encoding, 2));
  EXPECT_EQ(encoding, 2);
  EXPECT_EQ(ReadText(dir / "blank"), "\xFF\xFE" "A\0"s);

  // UTF-32 gets its mark and nothing else, and the call fails.
  encoding = 4;
  EXPECT_FALSE(UEFSaveTextFile(dir / "u32", "x", false, encoding, 4));
  EXPECT_EQ(ReadText(dir / "u32"), "\xFF\xFE\x00\x00"s);
  EXPECT_FALSE(UEFSaveTextFile(dir / "no/folder/f", "x", false, encoding = 1, 1));
}

TEST_F(TextEncoding, EveryEncodingRoundTripsChineseText) {
  const std::string text = "第一行\r\n第二行 ABC😀\r\n";
  for (int e : {0, 1, 2, 3}) {
    int encoding = e;
    const std::string path = dir / ("rt" + std::to_string(e));
    ASSERT_TRUE(UEFSaveTextFile(path, text, false, encoding, e));
    EXPECT_EQ(UEFCheckTextFileFormat(path), e);
    int detected = -1;
    std::string back = Load(path, detected);
    EXPECT_EQ(detected, e);
    if (e == 2) back.resize(back.find('\0'));
    EXPECT_EQ(back, text) << e;
  }
}

TEST_F(TextEncoding, Big5ModesRepairTextReadInTheOtherPage) {
  // "繁體中文" in Big5, read as GB18030 the way a Big5 file without a mark is.
  const std::string big5 = "\xC1\x63\xC5\xE9\xA4\xA4\xA4\xE5";
  const std::string misread = DecodeCodePage(big5, "GB18030");
  ASSERT_NE(misread, "繁體中文");
  EXPECT_EQ(ApplyBig5Mode(misread, 1), "繁体中文");
  // Mode 2 undoes GB text read as Big5, without simplifying.
  const std::string gb = EncodeCodePage("中文", "GB18030");
  EXPECT_EQ(ApplyBig5Mode(DecodeCodePage(gb, "CP950"), 2), "中文");
  EXPECT_EQ(ApplyBig5Mode("plain 繁體", 0), "plain 繁體");
  EXPECT_EQ(ApplyBig5Mode("", 1), "");
  // Bytes with no character in the page become "?" and the rest survives.
  EXPECT_EQ(DecodeCodePage("a\xFF" "b", "CP950"), "a?b");
}

}  // namespace
}  // namespace zel
