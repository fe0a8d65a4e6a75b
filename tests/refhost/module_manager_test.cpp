#include <gtest/gtest.h>

#include "refhost/module_state.h"
#include "refhost/staged_package.h"
#include "tests/refhost/support/archive_builder.h"
#include "tests/refhost/support/host_test.h"
#include "tests/refhost/support/scripted_module.h"

namespace refhost {

namespace {

class ModuleManager : public HostTest {
 protected:
  std::string Register(const std::string& version) {
    std::string path = folder_.Write("package-" + version + ".zip", Package(version, "long/ssd"));
    EXPECT_EQ(firmware_.RegistUpdateModule("kestrel", path), 0);
    return path;
  }
  ModuleState State() const {
    ModuleState state;
    std::string error;
    EXPECT_TRUE(LoadModuleState(ModuleStateFolder(), &state, &error)) << error;
    return state;
  }

  ScriptedFirmware firmware_;
};

TEST_F(ModuleManager, ARegisteredPackageBecomesTheUpdateRecord) {
  const std::string path = Register("01-24");
  const CManageRepositoryInfo info = firmware_.GetUpdateModuleInfo();
  EXPECT_EQ(info.moduleId, "kestrel");
  EXPECT_EQ(info.moduleName, "KV6000 BMC firmware");
  EXPECT_EQ(info.moduleKind, "firmware");
  EXPECT_EQ(info.moduleVersion, "01-24");
  EXPECT_EQ(info.model, "long/ssd");
  EXPECT_EQ(State().update.packagePath, path);
  EXPECT_EQ(firmware_.GetUpdateStatus(), kUpdateRegistered);
}

TEST_F(ModuleManager, AStagedPackageIsRegisteredAndHandedOnHoweverItsOriginalChanges) {
  const std::string path = folder_.Write("pack\xff.zip", Package("01-24"));
  StagingFailure failure;
  const auto staged = StagedPackage::Stage(path, &failure);
  ASSERT_TRUE(staged && staged->Unpack(&failure)) << failure.reason;
  folder_.Write("pack\xff.zip", Package("01-30", "long/ssd"));
  EXPECT_EQ(firmware_.RegistUpdateModule("kestrel", path), 0);
  EXPECT_EQ(firmware_.GetUpdateModuleInfo().moduleVersion, "01-24");
  EXPECT_EQ(State().update.packageSha256, staged->Sha256());
  EXPECT_EQ(State().update.packagePath, folder_ / "pack\xef\xbf\xbd.zip") << "for people, as UTF-8";
  EXPECT_EQ(firmware_.ExecutePreUpdate(false), 0);
  EXPECT_EQ(firmware_.ExecuteUpdate(false), 0);
  const std::string copy = staged->CopyPath();
  EXPECT_EQ(firmware_.calls, (Lines{"PreUpdate kestrel " + copy + " all new", "Update kestrel " + copy + " all new"}));
}

TEST_F(ModuleManager, APackageBesideTheStagedOneIsReadItself) {
  StagingFailure failure;
  const auto staged = StagedPackage::Stage(folder_.Write("staged.zip", Package("01-30")), &failure);
  ASSERT_NE(staged, nullptr) << failure.reason;
  const std::string path = Register("01-24");
  EXPECT_EQ(State().update.packageSha256, "");
  EXPECT_EQ(firmware_.ExecuteUpdate(false), 0);
  EXPECT_EQ(firmware_.calls, Lines{"Update kestrel " + path + " all new"});
}

TEST_F(ModuleManager, RegisteringFailsForABadPackageWithTheReasonTraced) {
  EXPECT_EQ(firmware_.RegistUpdateModule("kestrel", folder_ / "missing"), 1);
  EXPECT_EQ(TakeLines(), Lines{"2 Cannot register [" + (folder_ / "missing") + "]: No such file or directory"});
  EXPECT_EQ(firmware_.GetUpdateModuleInfo().moduleVersion, "");
  EXPECT_EQ(firmware_.CheckRegisterUpdateModule({}), 1);
}

TEST_F(ModuleManager, RecordsOutliveTheObject) {
  Register("01-24");
  EXPECT_EQ(ScriptedFirmware().GetUpdateModuleInfo().moduleVersion, "01-24");
}

TEST_F(ModuleManager, ApplyingMakesTheUpdateTheOperatingAndTheOperatingTheOldModule) {
  EXPECT_EQ(firmware_.InitializeOperatingModuleInfo("01-23"), 0);
  Register("01-24");
  EXPECT_EQ(firmware_.ApplyUpdatesRepository(), 0);
  EXPECT_EQ(firmware_.GetOperatingModuleInfo().moduleVersion, "01-24");
  EXPECT_EQ(firmware_.GetOldOperatingModuleInfo().moduleVersion, "01-23");
  EXPECT_EQ(firmware_.RollbackRepository(), 0);
  EXPECT_EQ(firmware_.GetOperatingModuleInfo().moduleVersion, "01-23");
  EXPECT_EQ(firmware_.GetOldOperatingModuleInfo().moduleVersion, "");
  EXPECT_EQ(firmware_.GetUpdateModuleInfo().moduleVersion, "01-24");
}

TEST_F(ModuleManager, AnOperatingRecordIsInitializedOnlyOnce) {
  EXPECT_EQ(firmware_.InitializeOperatingModuleInfo("01-23"), 0);
  EXPECT_EQ(firmware_.InitializeOperatingModuleInfo("02-00"), 0);
  EXPECT_EQ(firmware_.GetOperatingModuleInfo().moduleVersion, "01-23");
  EXPECT_EQ(firmware_.GetManageModuleInfo().operating.moduleVersion, "01-23");
}

TEST_F(ModuleManager, TheStagesGetTheUpdateModulesRecord) {
  const std::string path = Register("01-24");
  EXPECT_EQ(firmware_.ExecutePreUpdate(false), 0);
  EXPECT_EQ(firmware_.ExecuteUpdate(false), 0);
  EXPECT_EQ(firmware_.calls, (Lines{"PreUpdate kestrel " + path + " all new", "Update kestrel " + path + " all new"}));
}

TEST_F(ModuleManager, TheStagesGetTheOldModulesRecordOnRequest) {
  const std::string path = Register("01-22");
  firmware_.ApplyUpdatesRepository();
  Register("01-24");
  firmware_.ApplyUpdatesRepository();
  EXPECT_EQ(firmware_.ExecuteUpdate(true), 0);
  EXPECT_EQ(firmware_.calls, Lines{"Update kestrel " + path + " all old"});
}

TEST_F(ModuleManager, ASuccessfulUpdateIsRemembered) {
  Register("01-24");
  EXPECT_EQ(firmware_.GetOperatingVersionCache(), "01-23");
  EXPECT_EQ(firmware_.GetLatestUpdateDate(), "");
  EXPECT_EQ(firmware_.ExecuteUpdate(false), 0);
  EXPECT_EQ(firmware_.statusDuringUpdate, kUpdateRunning);
  EXPECT_EQ(firmware_.GetUpdateStatus(), kUpdateWritten);
  EXPECT_EQ(firmware_.GetUpdateProgress(), 100);
  EXPECT_EQ(firmware_.GetPrevVendorVersion(), "01-23");
  EXPECT_EQ(firmware_.GetLatestUpdateDate().size(), std::string("2024-01-02T03:04:05Z").size());
}

TEST_F(ModuleManager, AnUpdateThatOverranItsLimitIsASuccess) {
  Register("01-24");
  firmware_.result = 1024;
  EXPECT_EQ(firmware_.ExecuteUpdate(false), 1024);
  EXPECT_EQ(firmware_.GetUpdateStatus(), kUpdateWritten);
}

TEST_F(ModuleManager, AFailedUpdateIsRemembered) {
  Register("01-24");
  firmware_.result = 1;
  EXPECT_EQ(firmware_.ExecuteUpdate(false), 1);
  EXPECT_EQ(firmware_.GetUpdateStatus(), kUpdateFailed);
  EXPECT_EQ(firmware_.GetLatestUpdateDate(), "");
}

TEST_F(ModuleManager, UpdatingFailsBeforeTheDeviceIsTouchedWhenTheStateCannotBeKept) {
  folder_.Write("repository", "a file where the folder should be");
  EXPECT_EQ(firmware_.ExecuteUpdate(false), 1);
  EXPECT_EQ(firmware_.calls, Lines{});
}

TEST_F(ModuleManager, ADamagedStateIsTracedAndKeptAside) {
  folder_.Write("repository/state.json", "garbage");
  EXPECT_EQ(firmware_.GetUpdateStatus(), kNoUpdate);
  ASSERT_EQ(sink_.lines.size(), 1U);
  EXPECT_NE(sink_.lines[0].find("is damaged"), std::string::npos);
  EXPECT_EQ(folder_.Read("repository/state.json.damaged-1"), "garbage");
}

// A folder in its place is read by nobody, not even by root.
TEST_F(ModuleManager, RecordsThatCannotBeReadAreNotReplaced) {
  Register("01-24");
  firmware_.calls.clear();
  const std::string path = folder_ / "repository/state.json";
  std::filesystem::rename(path, path + ".away");
  std::filesystem::create_directory(path);
  EXPECT_EQ(firmware_.ApplyUpdatesRepository(), 1);
  EXPECT_EQ(firmware_.InitializeOperatingModuleInfo("01-23"), 1);
  EXPECT_EQ(firmware_.ExecutePreUpdate(false), 1);
  EXPECT_EQ(firmware_.ExecuteUpdate(false), 1);
  EXPECT_EQ(firmware_.ExecuteUpdateBackup(folder_ / "backup", false), 1);
  EXPECT_EQ(firmware_.calls, Lines{});
  for (const std::string& line : sink_.lines) {
    EXPECT_NE(line.find("cannot be read"), std::string::npos) << line;  // and none that one cannot be written
  }
  EXPECT_FALSE(folder_.Has("backup"));
}

TEST_F(ModuleManager, AVerifiedUpdateIsRemembered) {
  Register("01-24");
  firmware_.ApplyUpdatesRepository();
  firmware_.result = 1;
  EXPECT_EQ(firmware_.ExecuteUpdateApplyCheck(), 1);
  EXPECT_EQ(firmware_.GetUpdateStatus(), kUpdateRegistered);
  firmware_.result = 0;
  EXPECT_EQ(firmware_.ExecuteUpdateApplyCheck(), 0);
  EXPECT_EQ(firmware_.GetUpdateStatus(), kUpdateVerified);
  EXPECT_EQ(firmware_.calls, (Lines{"UpdateApplyCheck kestrel", "UpdateApplyCheck kestrel"}));
}

TEST_F(ModuleManager, RestoringIsTheFirmwaresBusiness) {
  firmware_.result = 5;
  EXPECT_EQ(firmware_.ExecuteUpdateRestore("/backup"), 5);
  EXPECT_EQ(firmware_.calls, Lines{"UpdateRestore /backup"});
}

TEST_F(ModuleManager, ABackupHoldsTheRecordsAndCanBeLoaded) {
  Register("01-24");
  EXPECT_EQ(firmware_.ExecuteUpdateBackup(folder_ / "backup", false), 0);
  Register("01-25");
  EXPECT_EQ(firmware_.LoadRepository(folder_ / "backup"), 0);
  EXPECT_EQ(firmware_.GetUpdateModuleInfo().moduleVersion, "01-24");
  folder_.Write("bad/state.json", "garbage");
  EXPECT_EQ(firmware_.LoadRepository(folder_ / "bad"), 1);
  EXPECT_EQ(firmware_.GetUpdateModuleInfo().moduleVersion, "01-24");
}

TEST_F(ModuleManager, TheOperatingVersionIsAskedOnce) {
  EXPECT_EQ(firmware_.GetOperatingVersionCache(), "01-23");
  firmware_.version = "02-00";
  EXPECT_EQ(firmware_.GetOperatingVersionCache(), "01-23");
  EXPECT_EQ(firmware_.calls, Lines{"GetOperatingVersion"});
}

TEST_F(ModuleManager, ADependencyIsSatisfiedByAVersionThatIsNotOlder) {
  Register("01-24");
  EXPECT_EQ(firmware_.CheckDependentInfo({"kestrel", "01-23"}, true, false), 0);
  EXPECT_EQ(firmware_.CheckDependentInfo({"kestrel", "01-24"}, true, true), 0);
  EXPECT_EQ(firmware_.CheckDependentInfo({"kestrel", "01-24"}, true, false), 1);
  EXPECT_EQ(firmware_.CheckDependentInfo({"kestrel", "01-25"}, true, true), 1);
  EXPECT_EQ(firmware_.CheckDependentInfo({"kestrel", ""}, true, false), 0);
  EXPECT_EQ(firmware_.CheckDependentInfo({"other", "01-23"}, true, true), 1);
  EXPECT_EQ(firmware_.CheckDependentInfo({"", "01-23"}, false, true), 1) << "nothing operates yet";
}

TEST_F(ModuleManager, TheSettersOutliveTheObject) {
  firmware_.SetUpdatePriority(3);
  firmware_.SetUpdateStatus(kUpdateFailed);
  firmware_.SetUpdateProgress(40);
  firmware_.SetLatestUpdateDate("yesterday");
  firmware_.SetPrevVendorVersion("01-00");
  ScriptedFirmware other;
  EXPECT_EQ(other.GetUpdatePriority(), 3);
  EXPECT_EQ(other.GetUpdateStatus(), kUpdateFailed);
  EXPECT_EQ(other.GetUpdateProgress(), 40);
  EXPECT_EQ(other.GetLatestUpdateDate(), "yesterday");
  EXPECT_EQ(other.GetPrevVendorVersion(), "01-00");
}

}  // namespace
}  // namespace refhost
