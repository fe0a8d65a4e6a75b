#include "refhost/module_state.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <nlohmann/json.hpp>

#include "tests/refhost/support/host_test.h"

namespace refhost {

namespace {

using nlohmann::json;

class StateFile : public HostTest {
 protected:
  bool Load() {
    error_.clear();
    return LoadModuleState(ModuleStateFolder(), &state_, &error_);
  }
  bool Save() { return SaveModuleState(ModuleStateFolder(), state_, &error_); }

  ModuleState state_;
  std::string error_;
};

TEST_F(StateFile, WithoutAFileTheStateIsEmpty) {
  state_.updateStatus = kUpdateFailed;
  ASSERT_TRUE(Load());
  EXPECT_EQ(state_.updateStatus, kNoUpdate);
  EXPECT_EQ(state_.operating.info.moduleVersion, "");
}

TEST_F(StateFile, WhatWasSavedIsLoaded) {
  state_.operating = {
      {"id", "name", "firmware", "device", "01-23", "long/ssd"}, "/a b/\"c\".zip", std::string(64, 'a')};
  state_.update.info.moduleVersion = "01-24";
  state_.previous.packagePath = "/old";
  state_.updateStatus = kUpdateWritten;
  state_.updateProgress = 100;
  state_.updatePriority = 7;
  state_.latestUpdateDate = "2024-01-02T03:04:05Z";
  state_.previousVersion = "01-22";
  ASSERT_TRUE(Save()) << error_;
  state_ = {};
  ASSERT_TRUE(Load()) << error_;
  EXPECT_EQ(state_.operating.info.moduleId, "id");
  EXPECT_EQ(state_.operating.info.moduleName, "name");
  EXPECT_EQ(state_.operating.info.moduleKind, "firmware");
  EXPECT_EQ(state_.operating.info.deviceName, "device");
  EXPECT_EQ(state_.operating.info.moduleVersion, "01-23");
  EXPECT_EQ(state_.operating.info.model, "long/ssd");
  EXPECT_EQ(state_.operating.packagePath, "/a b/\"c\".zip");
  EXPECT_EQ(state_.operating.packageSha256, std::string(64, 'a'));
  EXPECT_EQ(state_.update.info.moduleVersion, "01-24");
  EXPECT_EQ(state_.previous.packagePath, "/old");
  EXPECT_EQ(state_.updateStatus, kUpdateWritten);
  EXPECT_EQ(state_.updateProgress, 100);
  EXPECT_EQ(state_.updatePriority, 7);
  EXPECT_EQ(state_.latestUpdateDate, "2024-01-02T03:04:05Z");
  EXPECT_EQ(state_.previousVersion, "01-22");
}

TEST_F(StateFile, ATextThatIsNotUtf8DoesNotPreventSaving) {
  state_.update.packagePath = "/pack\xff.zip";
  ASSERT_TRUE(Save()) << error_;
  EXPECT_TRUE(Load()) << error_;
}

TEST_F(StateFile, ADamagedFileIsKeptAsideAndNamed) {
  const std::string path = folder_ / "repository/state.json";
  int number = 0;
  ASSERT_TRUE(Save());
  std::vector<std::string> damaged = {"garbage", "", "{}", R"({"schema": 2})", "[1, 2]", std::string(500000, '[')};
  const json whole = json::parse(folder_.Read("repository/state.json"));
  for (const char* name : {"update_status", "update_progress", "update_priority"}) {
    for (const json& wrong : {json("1"), json(1.5), json(1e300), json(INT64_MAX), json(INT64_MIN), json::array()}) {
      json other = whole;
      other[name] = wrong;
      damaged.push_back(other.dump());
    }
  }
  for (const int status : {-1, kUpdateVerified + 1}) {
    json other = whole;
    other["update_status"] = status;
    damaged.push_back(other.dump());
  }
  for (const std::string& garbage : damaged) {
    folder_.Write("repository/state.json", garbage);
    const std::string aside = path + ".damaged-" + std::to_string(++number);
    EXPECT_FALSE(Load());
    EXPECT_EQ(error_.find("The state file " + path + " is damaged ("), 0U) << error_;
    EXPECT_NE(error_.find("it is kept as " + aside), std::string::npos) << error_;
    EXPECT_EQ(folder_.Read("repository/state.json.damaged-" + std::to_string(number)), garbage);
    EXPECT_FALSE(folder_.Has("repository/state.json"));
    EXPECT_TRUE(Load()) << "the next run starts anew";
  }
}

TEST_F(StateFile, ACutOffFileIsDamaged) {
  ASSERT_TRUE(Save());
  const std::string whole = folder_.Read("repository/state.json");
  folder_.Write("repository/state.json", whole.substr(0, whole.size() / 2));
  EXPECT_FALSE(Load());
  EXPECT_TRUE(folder_.Has("repository/state.json.damaged-1"));
}

TEST_F(StateFile, WhatIsNotAFileIsLeftAlone) {
  std::filesystem::create_directories(folder_ / "repository/state.json");
  EXPECT_FALSE(Load());
  EXPECT_EQ(error_, "The state file " + (folder_ / "repository/state.json") + " cannot be read: it is no regular file");
  EXPECT_TRUE(folder_.Has("repository/state.json"));
}

TEST_F(StateFile, WhatCannotBeReadIsNeitherWaitedForNorTakenForNone) {
  const std::string path = folder_ / "repository/state.json";
  const std::string large = folder_.Write("large", std::string(1024UL * 1024UL + 1, ' '));
  std::filesystem::create_directories(folder_ / "repository");
  ASSERT_EQ(mkfifo((folder_ / "pipe").c_str(), 0600), 0);
  std::filesystem::create_symlink("loop", folder_ / "loop");
  for (const auto& [target, reason] :
       std::vector<std::pair<std::string, std::string>>{{folder_ / "pipe", "it is no regular file"},
                                                        {"/dev/zero", "it is no regular file"},
                                                        {large, "it is too large"},
                                                        {folder_ / "loop", "Too many levels of symbolic links"}}) {
    std::filesystem::create_symlink(target, path);
    EXPECT_FALSE(Load()) << target;
    EXPECT_EQ(error_, std::string("The state file ").append(path).append(" cannot be read: ").append(reason));
    EXPECT_TRUE(folder_.Has("repository/state.json")) << target;
    std::filesystem::remove(path);
  }
}

TEST_F(StateFile, FailsWhenTheFolderCannotBeMade) {
  folder_.Write("repository", "a file");
  EXPECT_FALSE(Save());
  EXPECT_NE(error_, "");
  EXPECT_EQ(folder_.Read("repository"), "a file");
}

TEST_F(StateFile, ReadingADamagedFileLeavesItWhereItIs) {
  folder_.Write("repository/state.json", "garbage");
  ModuleState state;
  std::string error;
  EXPECT_FALSE(ReadModuleState(ModuleStateFolder(), &state, &error));
  EXPECT_EQ(error.find("The state file " + (folder_ / "repository/state.json") + " is damaged ("), 0U) << error;
  EXPECT_EQ(error.find("kept"), std::string::npos) << error;
  EXPECT_EQ(folder_.Read("repository/state.json"), "garbage");
}

TEST_F(StateFile, WhatAKilledRunLeftBesideItIsTidiedUp) {
  folder_.Write("repository/state.json.aB3xYz", "half");
  folder_.Write("repository/state.json.damaged-1", "kept");
  ASSERT_TRUE(Save());
  TidyModuleState(ModuleStateFolder());
  EXPECT_FALSE(folder_.Has("repository/state.json.aB3xYz"));
  EXPECT_EQ(folder_.Read("repository/state.json.damaged-1"), "kept");
  EXPECT_TRUE(Load());
}

}  // namespace
}  // namespace refhost
