#include <gtest/gtest.h>

#include <string>

#include "engine/CoreCapabilities.h"
#include "jobs/FormatCatalogue.h"
#include "base/FileHelpers.h"
#include "base/TextHelpers.h"

namespace zel::test {
namespace {

CatalogueInputs FromRecording(const std::string& file, ToolDialect dialect) {
  const CoreLists lists = ParseFFmpegCapabilities(ReadText(std::string(ZEL_TEST_DATA) + "/" + file), dialect);
  return CatalogueInputs{true, lists.formats, lists.video, lists.audio, lists.subtitle, false, false};
}

constexpr std::string_view kFixedTail = "|-|MP3|AAC|M4A|WMA|-|GIF|JPG|PNG|-|SRT|SSA|ASS|LRC|-|更多格式";

TEST(FormatCatalogue, MainListHoldsTheRowsTheCoreCanWrite) {
  // Debian's FFmpeg 5.1 has every encoder of the rows but AMR's, so no 3GP.
  const CatalogueInputs today = FromRecording("jobs/data/ffmpeg-5.1-deb12-formats-codecs.txt", ToolDialect::Today);
  EXPECT_EQ(BuildFormatListMain(today),
            "直接剪切|直接合并|-|MP4|H264|MKV|DIVX|XVID|WMV|ASF|WEBM|AMV|AVI|FLV|MOV|MPEG|MJPEG|PSP|IPOD|IPHONE|SVI" +
                std::string(kFixedTail));

  // The legacy recording is a build without xvid, 3gp, h264 or asf muxers.
  const CatalogueInputs legacy = FromRecording("engine/data/ffmpeg-0.5-formats-codecs.txt", ToolDialect::Legacy);
  EXPECT_EQ(BuildFormatListMain(legacy),
            "直接剪切|直接合并|-|MP4|DIVX|AVI|MPEG|PSP|IPOD|IPHONE" + std::string(kFixedTail));

  // Each requirement counts: an AMR encoder alone brings 3GP back.
  CatalogueInputs withAmr = today;
  withAmr.audio += "|LIBOPENCORE_AMRNB";
  EXPECT_TRUE(Contains(BuildFormatListMain(withAmr), "|MP4|3GP|H264|"));
  CatalogueInputs noX264 = today;
  noX264.video = ReplaceAll(noX264.video, "|LIBX264|", "|");
  noX264.video = ReplaceAll(noX264.video, "|LIBX264RGB|", "|");
  EXPECT_TRUE(Contains(BuildFormatListMain(noX264), "|MP4|DIVX|"));
  EXPECT_FALSE(Contains(BuildFormatListMain(noX264), "PSP"));

  // A core that reports nothing leaves only the fixed rows, MP4 among them.
  EXPECT_EQ(BuildFormatListMain(CatalogueInputs{}), "MP4" + std::string(kFixedTail));
}

TEST(FormatCatalogue, MoreListAndValueListsFollowTheTools) {
  CatalogueInputs in;
  EXPECT_TRUE(StartsWith(BuildFormatListMore(in), "|OGG|FLAC|"));
  EXPECT_TRUE(EndsWith(BuildFormatListMore(in), "|CopyTo|MoveTo"));
  in.producerPresent = in.mencoderPresent = true;
  EXPECT_TRUE(StartsWith(BuildFormatListMore(in), "|RMVB|OGG|"));
  EXPECT_TRUE(EndsWith(BuildFormatListMore(in), "|MoveTo|DIVX/ME|XVID/ME|MKV/ME|H264/ME|MP4/ME|WMV/ME|FLV/ME|MOV/ME|"
                                                "PSP/ME|IPOD/ME|IPHONE/ME|MP3/ME|MP2/ME|M4A/ME|WMA/ME|AC3/ME|WAV/ME|"
                                                "VIDEO/ME|AUDIO/ME"));
  for (const std::string& row : Split(BuildFormatListMore(in), "|")) EXPECT_NE(row, "-");

  in.video = "|COPY|MPEG4";
  in.audio = "|COPY|AAC";
  in.formats = "AVI|MP4";
  const ValueLists lists = BuildValueLists(in);
  EXPECT_EQ(lists.videoCodecs, "禁用视频||COPY|MPEG4|");
  EXPECT_EQ(lists.audioCodecs, "禁用音频||COPY|AAC");
  EXPECT_EQ(lists.containers, "AVI|MP4");
  EXPECT_EQ(BuildValueLists(CatalogueInputs{}).videoCodecs, "禁用视频|");
  const ValueLists real = RealMediaValueLists(in);
  EXPECT_EQ(real.videoCodecs + "/" + real.audioCodecs + "/" + real.containers, "RV8|RV10/COOK|RAAC|SIPR/RMVB");
}

TEST(FormatCatalogue, DefaultsDependOnTheFormatAndTheCoresEncoders) {
  struct Case {
    const char* format;
    const char* video;
    const char* audio;
    const char* expected;  // videoCodec,size,bitrate,frame,audioCodec,bitrate,sample,channels
  };
  const Case cases[] = {
      {"h264", "|LIBX264|", "|AAC|", "LIBX264,,22vbr,23.976,AAC,128,,"},
      {"MKV", "|LIBX264|", "|AAC|LIBFAAC|", "LIBX264,,22vbr,23.976,LIBFAAC,128,,"},
      {"psp", "", "", "LIBX264,480x272,22vbr,23.976,AAC,128,48000,2"},
      {"3GP", "", "", ",176x144,128,15,,12.2,8000,1"},
      {"AMR", "", "", ",,5vbr,23.976,,12.2,8000,1"},
      {"FLV", "", "", ",,5vbr,23.976,,128,44100,"},
      {"WEBM", "|LIBVPX|", "|VORBIS|LIBVORBIS|", "LIBVPX,,5vbr,23.976,LIBVORBIS,128,,"},
      {"WEBM", "|LIBVPX_VP8|", "|VORBIS|", "LIBVPX_VP8,,5vbr,23.976,VORBIS,128,,"},
      {"SVI", "", "", "LIBXVID,,5vbr,23.976,LIBMP3LAME,128,,"},
      {"MP4S", "", "", "MPEG4,,5vbr,23.976,ADPCM_IMA_WAV,128,,"},
      {"OGG", "", "", ",,5vbr,23.976,VORBIS,128,,"},
      {"PNG", "", "", "PNG,,5vbr,23.976,,128,,"},
      {"MP4/ME", "|LIBX264|", "|AAC|", ",,5vbr,23.976,,128,,"},
      {"-", "", "", ",,5vbr,23.976,,128,,"},
  };
  for (const Case& c : cases) {
    const FormatDefaultSet set = FormatDefaults(c.format, c.video, c.audio);
    const std::string got = set.videoCodec + "," + set.videoSize + "," + set.videoBitrate + "," + set.videoFrame + "," +
                            set.audioCodec + "," + set.audioBitrate + "," + set.audioSample + "," + set.audioChannels;
    EXPECT_EQ(got, c.expected) << c.format;
    EXPECT_EQ(set.videoAspect + set.videoPadBorder, "") << c.format;
  }
  const FormatDefaultSet mkv = FormatDefaults("mkv", "", "");
  EXPECT_TRUE(StartsWith(mkv.script, "-coder 1 -flags +loop -cmp +chroma"));
  EXPECT_TRUE(EndsWith(mkv.script, "+dct8x8+fastpskip -wpredp 2"));
  EXPECT_EQ(ReplaceAll(ReplaceAll(mkv.pass1Script, "-me_method dia -subq 2", "-me_method hex -subq 7"), "-refs 1 -directpred 1 -trellis 0",
                       "-refs 3 -directpred 1 -trellis 1"),
            mkv.script);
  EXPECT_EQ(FormatDefaults("IPOD", "", "").script, "-qmin 10 -qmax 51 -qdiff 4 -me_range 16 -keyint_min 25 -qcomp 0.6");
  EXPECT_EQ(FormatDefaults("WEBM", "", "").pass1Script, "-g 120 -qmax 51");
}

TEST(FormatCatalogue, EveryNameHasASentence) {
  EXPECT_EQ(FormatDescription("MP4"), "MP4 格式使用 MPEG4 视频编码标准，AAC 音频编码标准。");
  EXPECT_EQ(FormatDescription("MP4/ME"), "基于 MEncoder 编码核心的MP4 格式使用 MPEG4 视频编码标准，AAC 音频编码标准。");
  EXPECT_EQ(FormatDescription("CopyTo"), "将列表内的文件复制到指定的输出目录。");
  EXPECT_EQ(FormatDescription("直接剪切"), "将任务按剪切、分段设置进行直接剪切处理。");
  EXPECT_EQ(FormatDescription("PAL-DV"), "自定义设置并且不需要指定输出格式时使用。");
  EXPECT_EQ(FormatDescription(""), "自定义设置并且不需要指定输出格式时使用。");

  // Every row the lists can offer is described, but the DV targets.
  CatalogueInputs all = FromRecording("jobs/data/ffmpeg-5.1-deb12-formats-codecs.txt", ToolDialect::Today);
  all.producerPresent = all.mencoderPresent = true;
  for (const std::string& row : Split(BuildFormatListMain(all) + "|" + BuildFormatListMore(all), "|")) {
    if (!IsFormatRow(row) || row == "更多格式" || EndsWith(row, "-DV")) continue;
    EXPECT_NE(FormatDescription(row), "自定义设置并且不需要指定输出格式时使用。") << row;
  }
  EXPECT_TRUE(InFilter("clip.JPEG+THM", kImageFilter));
  EXPECT_TRUE(InFilter("tif", kImageFilter));
  EXPECT_FALSE(InFilter("mp4", kImageFilter));
}

}  // namespace
}  // namespace zel::test
