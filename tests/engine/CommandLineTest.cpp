#include "engine/CommandLine.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

using Args = std::vector<std::string>;

TEST(CommandLine, SplitFollowsTheRuntimeRules) {
  const std::pair<const char*, Args> cases[] = {
      {R"("/usr/bin/ffmpeg" -i "a b.avi" out.mp4)", {"/usr/bin/ffmpeg", "-i", "a b.avi", "out.mp4"}},
      {R"(tool  a   b)", {"tool", "a", "b"}},
      {R"(tool "a\"b")", {"tool", "a\"b"}},
      {R"(tool a\\\"b)", {"tool", "a\\\"b"}},
      {R"(tool "a\\" b)", {"tool", "a\\", "b"}},
      {R"(tool a\b\c)", {"tool", "a\\b\\c"}},
      {R"(tool "a""b")", {"tool", "a\"b"}},
      {R"(tool "" x)", {"tool", "", "x"}},
      {R"(tool ab"c d"ef)", {"tool", "abc def"}},
      {R"("C:\Program Files\x.exe" y)", {"C:\\Program Files\\x.exe", "y"}},  // the program is taken verbatim
      {R"("/a b/tool"x y)", {"/a b/toolx", "y"}},
      {R"(tool "unterminated arg)", {"tool", "unterminated arg"}},
      {"", {}},
      {"   ", {}},
  };
  for (const auto& [line, expected] : cases) EXPECT_EQ(SplitCommandLine(line), expected) << line;
}

TEST(CommandLine, QuotedArgumentsComeBackUnchanged) {
  const std::string hostile[] = {
      "plain",      "with blank",     "quote\"inside", "trailing\\",   "two\\\\\"x", "$(touch pwned)",
      "`id`; rm x", "-leading-dash",  "中文 名称.mp4",  "tab\there",    "",           "\\\\server\\share\\",
      "a'b'c",      "semi;colon|pipe&amp>redir<in",
  };
  for (const std::string& arg : hostile) {
    EXPECT_EQ(SplitCommandLine("\"tool\" " + QuoteArgument(arg) + " " + QuoteArgument(arg)), (Args{"tool", arg, arg}));
  }
  EXPECT_EQ(QuoteArgument("/usr/bin/ffmpeg"), "\"/usr/bin/ffmpeg\"");
}

TEST(CommandLine, OnlyUnquotedLinesReachTheShell) {
  const LaunchPlan handWritten = PlanLaunch("ls -l | wc -l");
  EXPECT_TRUE(handWritten.viaShell);
  EXPECT_EQ(handWritten.stages, (std::vector<Args>{{"/bin/sh", "-c", "ls -l | wc -l"}}));

  const LaunchPlan composed = PlanLaunch(R"("ffmpeg" -i "$(touch x) | y.avi" "out.mp4")");
  EXPECT_FALSE(composed.viaShell);
  EXPECT_EQ(composed.stages, (std::vector<Args>{{"ffmpeg", "-i", "$(touch x) | y.avi", "out.mp4"}}));

  const LaunchPlan disc = PlanLaunch(
      R"("/t/mencoder" -dvd-device d:/ dvd://1 -really-quiet -oac copy -ovc copy -o -|"/t/ffmpeg" -v 1 -y -i - "o.mp4")");
  EXPECT_FALSE(disc.viaShell);
  EXPECT_EQ(disc.stages, (std::vector<Args>{
                             {"/t/mencoder", "-dvd-device", "d:/", "dvd://1", "-really-quiet", "-oac", "copy", "-ovc",
                              "copy", "-o", "-"},
                             {"/t/ffmpeg", "-v", "1", "-y", "-i", "-", "o.mp4"}}));
}

}  // namespace
}  // namespace zel
