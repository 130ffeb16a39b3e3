#include "base/PathHelpers.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

TEST(PathHelpers, PartsOfAPath) {
  struct Case {
    std::string_view path, folder, name, base, extension, stem;
  };
  const Case cases[] = {
      {"/v/a.b.avi", "/v/", "a.b.avi", "a.b", "avi", "/v/a.b"},
      {"/v.d/clip", "/v.d/", "clip", "clip", "", "/v.d/clip"},  // a point in a folder is no extension
      {"clip.mp4", "", "clip.mp4", "clip", "mp4", "clip"},
      {"/v/", "/v/", "", "", "", "/v/"},
      {"/v/.hidden", "/v/", ".hidden", "", "hidden", "/v/"},
      {"/影音/片段.MKV", "/影音/", "片段.MKV", "片段", "MKV", "/影音/片段"},
      {"", "", "", "", "", ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.path));
    EXPECT_EQ(FolderOf(c.path), c.folder);
    EXPECT_EQ(FileNameOf(c.path), c.name);
    EXPECT_EQ(BaseNameOf(c.path), c.base);
    EXPECT_EQ(ExtensionOf(c.path), c.extension);
    EXPECT_EQ(SplitExtension(c.path).stem, c.stem);
  }
  EXPECT_EQ(cPath("/out"), "/out/");
  EXPECT_EQ(cPath("/out/"), "/out/");
  EXPECT_EQ(cPath(""), "");
  EXPECT_EQ(DiscDeviceOf("E:"), "e:/");
  EXPECT_EQ(DiscDeviceOf("/dev/sr0:"), "/dev/sr0");
}

}  // namespace
}  // namespace zel
