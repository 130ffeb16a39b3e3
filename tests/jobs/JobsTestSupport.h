// A host that records what the job logic says and answers its questions, and a
// settings store of its own for each test.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "jobs/JobHost.h"
#include "jobs/MainState.h"
#include "jobs/Registry.h"
#include "support/TestSupport.h"

namespace zel::test {

class RecordingHost : public JobHost {
 public:
  bool answer = true;
  std::vector<std::string> infos, questions, messages, splash, formatField;
  int rebuilds = 0, unloads = 0;

  void AddInfo(std::string_view category, std::string_view message, std::string_view tag) override {
    infos.push_back(std::string(category) + " | " + std::string(message) + (tag.empty() ? "" : " #" + std::string(tag)));
  }
  bool Ask(std::string_view question, bool) override {
    questions.emplace_back(question);
    return answer;
  }
  void ShowMessage(std::string_view text) override { messages.emplace_back(text); }
  void SplashText(std::string_view text) override { splash.emplace_back(text); }
  void SetFormatField(std::string_view format) override { formatField.emplace_back(format); }
  void RebuildSettingRows() override { ++rebuilds; }
  void UnloadMainWindow() override { ++unloads; }
};

// Each test gets an empty store file and fresh program-wide values.
class StoreTest : public ::testing::Test {
 protected:
  void SetUp() override {
    Shared() = MainState{};
    SetRegistryStoreFile(dir / "registry.reg");
  }
  void TearDown() override {
    SetRegistryStoreFile("");
    Shared() = MainState{};
  }

  TempDir dir;
  RecordingHost host;
};

}  // namespace zel::test
