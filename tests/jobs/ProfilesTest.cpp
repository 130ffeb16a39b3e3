#include <set>
#include <string>

#include "jobs/JobsTestSupport.h"
#include "jobs/MainState.h"
#include "jobs/Profiles.h"
#include "jobs/Settings.h"
#include "jobs/Strings.h"
#include "base/FileHelpers.h"
#include "base/TextHelpers.h"
#include "subtitles/clsFilePKZ.h"

namespace zel::test {
namespace {

using Profiles = StoreTest;

std::string MakePack(const std::string& path, std::string_view title, const std::vector<std::string>& entries) {
  clsFilePKZ pack;
  pack.SetFilename(path);
  EXPECT_TRUE(pack.CreateAchive());
  pack.AddByteFile("Title", title, 1);
  for (size_t i = 0; i < entries.size(); ++i) pack.AddByteFile("p" + std::to_string(i), entries[i], 1);
  pack.UpDateHeader();
  pack.CloseAchive();
  return path;
}

TEST_F(Profiles, SavedTextIsTheUserProfileFormWithValuesAsTheyStand) {
  WriteSetting("OutputMode", "FLV");
  WriteSetting("AdditionalScripts", "-vf \"scale=a<b\"");
  const std::string text = UserProfileText();
  EXPECT_TRUE(StartsWith(text,
                         "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<rss version=\"2.0\">\r\n<setting>\r\n"
                         "        <title><![CDATA[影音工坊用户自定义设置方案]]></title>\r\n"
                         "        <generator>ZEL</generator> \r\n"
                         "        <item>\r\n            <title>OutputMode</title>\r\n"
                         "            <parameters>FLV</parameters>\r\n        </item>\r\n"
                         "        <item>\r\n            <title>VideoCodec</title>\r\n"));
  EXPECT_TRUE(Contains(text, "<parameters>-vf \"scale=a<b\"</parameters>"));
  EXPECT_TRUE(EndsWith(text, "<title>AdditionalPass1Scripts</title>\r\n            <parameters></parameters>\r\n"
                             "        </item>\r\n</setting>\r\n</rss>\r\n"));
  EXPECT_EQ(ReadLines(text).size(), 5u + 4u * kProfileKeys.size() + 2u);

  // Unescaped, such a value makes a file that cannot be loaded again.
  const std::string path = dir / "lt.xml";
  ASSERT_TRUE(SaveProfile(path, host));
  EXPECT_FALSE(LoadProfile(path, host));
  EXPECT_EQ(host.messages.back(), "用户设置无法载入。");
}

TEST_F(Profiles, SaveAndLoadRoundTripThroughTheStore) {
  WriteSetting("OutputMode", "MKV");
  WriteSetting("VideoSize", "1280x720");
  WriteSetting("AudioCodec", "AAC");
  const std::string path = dir / "Profiles/UserProfile, 2026-11-21, 10-00-00.xml";
  ASSERT_TRUE(SaveProfile(path, host));
  EXPECT_EQ(host.messages.back(), "用户设置已保存。");

  WriteSetting("OutputMode", "MP3");
  WriteSetting("VideoSize", "");
  WriteSetting("AudioCodec", "LIBMP3LAME");
  host.answer = false;
  EXPECT_FALSE(LoadProfile(path, host));
  EXPECT_EQ(host.questions.back(), path + "\n是否载入用户设置？");
  EXPECT_EQ(ReadSetting("OutputMode"), "MP3");

  host.answer = true;
  ASSERT_TRUE(LoadProfile(path, host));
  EXPECT_EQ(ReadSetting("OutputMode"), "MKV");
  EXPECT_EQ(ReadSetting("VideoSize"), "1280x720");
  EXPECT_EQ(ReadSetting("AudioCodec"), "AAC");
  EXPECT_EQ(host.formatField.back(), "MKV");
  EXPECT_EQ(host.messages.back(), path + "\n用户设置已载入。");

  // A clash asks first; No keeps the file as it was.
  const std::string before = ReadText(path);
  WriteSetting("OutputMode", "WMV");
  host.answer = false;
  EXPECT_FALSE(SaveProfile(path, host));
  EXPECT_EQ(host.questions.back(), StrOverwriteProfileQuestion);
  EXPECT_EQ(ReadText(path), before);

  EXPECT_EQ(ScanUserProfiles(dir / "Profiles"), std::vector<std::string>{"UserProfile, 2026-11-21, 10-00-00"});
}

TEST_F(Profiles, LoadingRefusesOtherFilesAndWritesWhatItems) {
  WriteSetting("OutputMode", "AVI");
  const std::string refused = "用户设置无法载入。";
  const std::pair<const char*, const char*> bad[] = {
      {"other.xml", "<rss><setting><generator>XYZ</generator><item><title>OutputMode</title>"
                    "<parameters>FLV</parameters></item></setting></rss>"},
      {"broken.xml", "<rss><setting><generator>ZEL</generator><item><title>OutputMode"},
      {"empty.xml", ""},
      {"nosetting.xml", "<rss><generator>ZEL</generator></rss>"},
  };
  for (const auto& [name, text] : bad) {
    WriteFileAtomic(dir / name, text);
    EXPECT_FALSE(LoadProfile(dir / name, host)) << name;
    EXPECT_EQ(host.messages.back(), refused) << name;
  }
  EXPECT_FALSE(LoadProfile(dir / "missing.xml", host));
  EXPECT_EQ(ReadSetting("OutputMode"), "AVI");
  EXPECT_TRUE(host.questions.empty());

  WriteFileAtomic(dir / "one.xml",
                  "<?xml version=\"1.0\" encoding=\"UTF-8\"?><rss version=\"2.0\"><setting><generator>ZEL</generator>"
                  "<item><title>VideoBitrate</title><parameters>900</parameters></item>"
                  "<item><title>NotAProfileKey</title><parameters>kept</parameters></item></setting></rss>");
  ASSERT_TRUE(LoadProfile(dir / "one.xml", host));
  EXPECT_EQ(ReadSetting("VideoBitrate"), "900");
  EXPECT_EQ(ReadSetting("NotAProfileKey"), "kept");
  EXPECT_EQ(ReadSetting("OutputMode"), "AVI");
  EXPECT_EQ(host.formatField.back(), "AVI");

  MakedPath(dir / "scan/sub.xml");
  WriteFileAtomic(dir / "scan/b.XML", "");
  WriteFileAtomic(dir / "scan/a.xml", "");
  WriteFileAtomic(dir / "scan/notes.txt", "");
  EXPECT_EQ(ScanUserProfiles(dir / "scan"), (std::vector<std::string>{"a", "b"}));
  EXPECT_TRUE(ScanUserProfiles(dir / "nowhere").empty());
}

TEST_F(Profiles, PackEntriesAreReadAndAppliedWithCodecWarnings) {
  const std::string pack = MakePack(dir / "ZEL.pfs", kProfilePackTitle,
                                    {"Category=5\nTitle=iPhone 测试\nOutputMode=IPHONE\nVideoCodec=LIBX264\nAudioCodec=AAC\n",
                                     "Title=no category\nOutputMode=MP4\n",
                                     "Category=99\nTitle=bad category\n",
                                     "Category=1\r\nTitle=Opus\rOutputMode=OGG\nVideoCodec=禁用视频\rAudioCodec=LIBOPUS\r\n"});
  const std::vector<Profile> profiles = LoadProfilePack(pack);
  ASSERT_EQ(profiles.size(), 2u);
  EXPECT_EQ(profiles[0].title, "iPhone 测试");
  EXPECT_EQ(profiles[1].Value("audiocodec"), "LIBOPUS");

  EXPECT_TRUE(LoadProfilePack(MakePack(dir / "other.pfs", "Other Profiles", {"Category=0\nTitle=x\n"})).empty());
  WriteFileAtomic(dir / "junk.pfs", "PKZ\x01\xff\xff\xff\x7f");
  EXPECT_TRUE(LoadProfilePack(dir / "junk.pfs").empty());
  EXPECT_TRUE(LoadProfilePack(dir / "missing.pfs").empty());

  host.answer = false;
  EXPECT_FALSE(ApplyProfile(profiles[0], "|COPY|LIBX264|", "|COPY|AAC|", host));
  EXPECT_EQ(host.questions.back(), "是否立刻应用选定的方案：iPhone 测试");
  EXPECT_EQ(ReadSetting("OutputMode"), "MP4");

  host.answer = true;
  ASSERT_TRUE(ApplyProfile(profiles[0], "|COPY|LIBX264|", "|COPY|AAC|", host));
  EXPECT_TRUE(host.infos.empty());
  EXPECT_EQ(ReadSetting("OutputMode"), "IPHONE");
  EXPECT_EQ(ReadSetting("Profile"), "iPhone 测试");
  EXPECT_EQ(host.formatField.back(), "IPHONE");
  EXPECT_EQ(host.rebuilds, 1);

  // "禁用视频" is no codec to miss; LIBOPUS is, and is written all the same.
  ASSERT_TRUE(ApplyProfile(profiles[1], "|COPY|LIBX264|", "|COPY|AAC|", host));
  ASSERT_EQ(host.infos.size(), 1u);
  EXPECT_EQ(host.infos[0], "注意 | 当前编码引擎不支持该方案的音频编码格式，请手工修改音频编码格式。");
  EXPECT_EQ(ReadSetting("AudioCodec"), "LIBOPUS");
  ApplyProfile(profiles[0], "|COPY|MPEG4|", "|COPY|AAC|", host);
  EXPECT_EQ(host.infos.back(), "注意 | 当前编码引擎不支持该方案的视频编码格式，请手工修改视频编码格式。");
}

TEST_F(Profiles, TheChooserShowsCategoriesThenTheirProfiles) {
  const std::vector<Profile> profiles{{5, "iPod", {}}, {6, "Android", {}}, {5, "iPhone", {}}};
  const std::vector<ChooserRow> top = ProfileChooserRows(profiles, std::nullopt);
  ASSERT_EQ(top.size(), 17u);
  EXPECT_EQ(top[0].text, "全部方案 >  ");
  EXPECT_EQ(top[6].text, "Apple >  ");
  EXPECT_EQ(top[6].record, "5");

  const std::vector<ChooserRow> apple = ProfileChooserRows(profiles, 5);
  ASSERT_EQ(apple.size(), 3u);
  EXPECT_EQ(apple[0].text, "返回类别选择 < ");
  EXPECT_EQ(apple[0].tip, "返回上一级 （鼠标右键）");
  EXPECT_EQ(apple[2].record, "5,iPhone");
  EXPECT_EQ(ProfileChooserRows(profiles, kAllCategories).size(), 4u);

  EXPECT_EQ(QuickChooserCommand("join"), QuickChoice::FormatJoin);
  EXPECT_EQ(QuickChooserCommand("profiles"), QuickChoice::ProfileList);
  EXPECT_TRUE(SettingIsYes("ShowTip"));
  EXPECT_EQ(QuickChooserCommand("dontshow"), QuickChoice::None);
  EXPECT_EQ(ReadSetting("ShowTip"), "否");
}

TEST(ProfilePack, TheShippedPackCoversEveryCategoryWithCompleteProfiles) {
  const std::vector<Profile> profiles = LoadProfilePack(ZEL_PROFILE_PACK);
  EXPECT_GE(profiles.size(), 48u);
  std::set<int> categories;
  std::set<std::string> titles;
  for (const Profile& profile : profiles) {
    categories.insert(profile.category);
    EXPECT_TRUE(titles.insert(profile.title).second) << "title twice: " << profile.title;
    ASSERT_EQ(profile.values.size(), kProfileKeys.size()) << profile.title;
    for (size_t i = 0; i < kProfileKeys.size(); ++i) EXPECT_EQ(profile.values[i].first, kProfileKeys[i]) << profile.title;
    EXPECT_NE(profile.Value("OutputMode"), "") << profile.title;
  }
  EXPECT_EQ(categories.size(), StrProfileCategories.size());
}

}  // namespace
}  // namespace zel::test
