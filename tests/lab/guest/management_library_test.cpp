// The lab's management library: loaded as a host loads it, it answers what the file beside it says.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <list>
#include <memory>
#include <stdexcept>
#include <string>

#include "host/ManagementInterface.h"

namespace kv6000 {

namespace {

namespace fs = std::filesystem;
namespace management_entry = host::management_entry;
using host::ManagementInterface;

constexpr const char* kName = "liborv_MngSrv_OrvLib";

class TheManagementLibrary : public testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = fs::temp_directory_path() / "management-XXXXXX";
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
  }

  void TearDown() override {
    if (library_ != nullptr) {
      dlclose(library_);
    }
    fs::remove_all(folder_);
  }

  // Copies the library of the kind ("whole", "no-CreateLibIF") with the answer beside it, and loads it.
  void Load(const std::string& kind, const std::string& answer) {
    const std::string name = std::string(kName) + ".so";
    fs::copy(fs::path(KV6000_MANAGEMENT_LIBRARIES) / kind / name, folder_ / name);
    std::ofstream(folder_ / (std::string(kName) + ".answer")) << answer;
    library_ = dlopen((folder_ / name).c_str(), RTLD_LAZY | RTLD_LOCAL);
    ASSERT_NE(library_, nullptr) << dlerror();
  }

  template <typename Function>
  Function Entry(const char* name) {
    return reinterpret_cast<Function>(dlsym(library_, name));
  }

  ManagementInterface* Create() { return Entry<management_entry::CreateLibIF>("CreateLibIF")(); }
  void Delete(ManagementInterface* made) { Entry<management_entry::DeleteLibIF>("DeleteLibIF")(made); }

  fs::path folder_;
  void* library_ = nullptr;
};

TEST_F(TheManagementLibrary, GivesTheDiskTextAndTheCodes) {
  Load("whole", "info 00ff41 and more\nerror 00\nwarning 01\n");
  ManagementInterface* made = Create();
  ASSERT_NE(made, nullptr);
  std::string info;
  std::string error;
  std::string warning;
  EXPECT_TRUE(made->GetHddInfoToSVP(&info, &error, &warning));
  EXPECT_EQ(info, "00ff41 and more");
  EXPECT_EQ(error, "00");
  EXPECT_EQ(warning, "01");
  std::list<CItemDisp*> items;
  EXPECT_TRUE(made->GetRAIDInfo(&items, &error, &warning));
  EXPECT_EQ(items.size(), 1U);
  made->ExecFreeItemList(&items);
  EXPECT_TRUE(items.empty());
  Delete(made);
}

TEST_F(TheManagementLibrary, FailsWithTheErrorCode) {
  Load("whole", "error 02\nfail\n");
  ManagementInterface* made = Create();
  std::string info;
  std::string error;
  std::string warning;
  EXPECT_FALSE(made->GetHddInfoToSVP(&info, &error, &warning));
  EXPECT_EQ(error, "02");
  Delete(made);
}

TEST_F(TheManagementLibrary, ThrowsWhenThatIsAskedFor) {
  Load("whole", "throw disks on fire\n");
  ManagementInterface* made = Create();
  std::string text;
  EXPECT_THROW(made->GetHddInfoToSVP(&text, &text, &text), std::runtime_error);
  Delete(made);
}

TEST_F(TheManagementLibrary, GivesNoInterfaceObjectWhenThatIsAskedFor) {
  Load("whole", "null\n");
  EXPECT_EQ(Create(), nullptr);
}

TEST_F(TheManagementLibrary, IsThereWithoutEachEntryPoint) {
  for (const char* missing : {"CreateLibIF", "DeleteLibIF", "CreateItemDisp", "DeleteItemDisp"}) {
    Load(std::string("no-") + missing, "");
    for (const char* name : {"CreateLibIF", "DeleteLibIF", "CreateItemDisp", "DeleteItemDisp"}) {
      EXPECT_EQ(dlsym(library_, name) == nullptr, std::string(name) == missing) << missing << ": " << name;
    }
    dlclose(library_);
    library_ = nullptr;
    fs::remove(folder_ / (std::string(kName) + ".so"));
  }
}

}  // namespace
}  // namespace kv6000
