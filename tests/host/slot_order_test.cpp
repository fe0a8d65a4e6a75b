// The host calls the plug-in's objects through their virtual tables: the slot of every virtual operation, read from its
// member pointer (Itanium C++ ABI: the table offset plus one), for the base classes and for the plug-in's two classes.
// The plug-in calls the management library's object in the same way.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <new>

#include "host/ManagementInterface.h"
#include "host/ProviderBase.h"
#include "provider/kestrel_firmware.h"
#include "provider/kestrel_vendor.h"
#include "tests/support/scripted_host.h"

namespace {

template <typename Member>
std::size_t Slot(Member member) {
  std::uintptr_t pointer = 0;
  std::memcpy(&pointer, &member, sizeof(pointer));
  EXPECT_EQ(pointer % sizeof(void*), 1U) << "not a virtual operation";
  return (pointer - 1) / sizeof(void*);
}

// The slots of the operations from 2 on, in the order in which the host counts them.
template <typename Vendor>
std::vector<std::size_t> VendorSlots() {
  return {Slot(&Vendor::GetHardwareVersion),
          Slot(&Vendor::CheckHardwareVersion),
          Slot(&Vendor::LinkDevice),
          Slot(&Vendor::ExecVendorMethod),
          Slot(&Vendor::GetExtendedInfo),
          Slot(&Vendor::GetLinkApplicationInfo),
          Slot(&Vendor::GetUpdateOrderModuleKind),
          Slot(&Vendor::CheckUpdateModuleRegistration),
          Slot(&Vendor::ConfirmUpdateModuleRegistration),
          Slot(&Vendor::ExecuteUpdateBackup),
          Slot(&Vendor::ExecutePreUpdate),
          Slot(&Vendor::ExecuteUpdate),
          Slot(&Vendor::ExecuteUpdateRestore),
          Slot(&Vendor::ExecuteUpdateApplyCheck),
          Slot(&Vendor::CheckDependentInfo),
          Slot(&Vendor::CheckUpdateCondition),
          Slot(&Vendor::GetDeviceInfo),
          Slot(&Vendor::SetUpdatePriority),
          Slot(&Vendor::SetOwnerProvider),
          Slot(&Vendor::SetIWbemServices),
          Slot(&Vendor::GetHardwareVersionCache),
          Slot(&Vendor::IsUpdateFailure),
          Slot(&Vendor::GetLatestUpdateDate),
          Slot(&Vendor::GetPrevVendorVersion),
          Slot(&Vendor::SetDependencyInfo),
          Slot(&Vendor::SetLatestUpdateDate),
          Slot(&Vendor::SetPrevVendorVersion),
          Slot(&Vendor::ClearUpdateStatus),
          Slot(&Vendor::StartOutputDeviceConfigInfo),
          Slot(&Vendor::ExecOutputDeviceConfigInfo),
          Slot(&Vendor::EndOutputDeviceConfigInfo),
          Slot(&Vendor::GetShortageOfNecessaryApplicationInfo),
          Slot(&Vendor::CheckUpdateConditionByDevicevendor),
          Slot(&Vendor::CheckUpdateConditionByModule)};
}

template <typename Module>
std::vector<std::size_t> ModuleSlots() {
  return {Slot(&Module::GetOperatingVersion),
          Slot(&Module::CheckVendorVersion),
          Slot(&Module::CheckRegisterUpdateModule),
          Slot(&Module::RegistUpdateModule),
          Slot(&Module::GetManageModuleInfo),
          Slot(&Module::GetOldOperatingModuleInfo),
          Slot(&Module::GetOperatingModuleInfo),
          Slot(&Module::GetUpdateModuleInfo),
          Slot(&Module::GetUpdatePriority),
          Slot(&Module::SetUpdatePriority),
          Slot(&Module::InitializeOperatingModuleInfo),
          Slot(&Module::CheckDependentInfo),
          Slot(&Module::ApplyUpdatesRepository),
          Slot(&Module::RollbackRepository),
          Slot(&Module::GetUpdateStatus),
          Slot(&Module::GetUpdateProgress),
          Slot(&Module::GetLatestUpdateDate),
          Slot(&Module::GetPrevVendorVersion),
          Slot(&Module::ExecuteUpdateBackup),
          Slot(&Module::ExecutePreUpdate),
          Slot(&Module::ExecuteUpdate),
          Slot(&Module::ExecuteUpdateRestore),
          Slot(&Module::ExecuteUpdateApplyCheck),
          Slot(&Module::SetUpdateStatus),
          Slot(&Module::SetUpdateProgress),
          Slot(&Module::SetLatestUpdateDate),
          Slot(&Module::SetPrevVendorVersion),
          Slot(&Module::LoadRepository),
          Slot(&Module::GetOperatingVersionCache),
          Slot(&Module::SetDependencyInfo),
          Slot(&Module::UpdateBackup)};
}

template <typename Firmware>
std::vector<std::size_t> FirmwareSlots() {
  std::vector<std::size_t> slots = ModuleSlots<Firmware>();
  slots.insert(slots.end(), {Slot(&Firmware::PreUpdate), Slot(&Firmware::Update), Slot(&Firmware::UpdateRestore),
                             Slot(&Firmware::UpdateApplyCheck), Slot(&Firmware::UpdateApply)});
  return slots;
}

// 2, 3, ... last.
std::vector<std::size_t> UpTo(std::size_t last) {
  std::vector<std::size_t> slots;
  for (std::size_t slot = 2; slot <= last; ++slot) {
    slots.push_back(slot);
  }
  return slots;
}

TEST(SlotOrder, OfTheVendorBase) {
  EXPECT_EQ(VendorSlots<CVendor>(), UpTo(35));
}
TEST(SlotOrder, OfTheModuleManagerBase) {
  EXPECT_EQ(ModuleSlots<CModuleManager>(), UpTo(32));
}
TEST(SlotOrder, OfTheFirmwareBase) {
  EXPECT_EQ(FirmwareSlots<CFirmware>(), UpTo(37));
}
TEST(SlotOrder, OfTheVendorClass) {
  EXPECT_EQ(VendorSlots<CBMC_KESTREL_Vendor>(), UpTo(35));
}
TEST(SlotOrder, OfTheFirmwareClass) {
  EXPECT_EQ(FirmwareSlots<CBMC_KESTREL_Firmware>(), UpTo(37));
}

// Here the first one is in slot 0: there is no destructor before it.
TEST(SlotOrder, OfTheManagementLibrarysObject) {
  using host::ManagementInterface;
  const std::vector<std::size_t> slots = {
      Slot(&ManagementInterface::Position1), Slot(&ManagementInterface::Position2),
      Slot(&ManagementInterface::Position3), Slot(&ManagementInterface::GetRAIDInfo),
      Slot(&ManagementInterface::Position5), Slot(&ManagementInterface::Position6),
      Slot(&ManagementInterface::Position7), Slot(&ManagementInterface::GetHddInfoToSVP),
      Slot(&ManagementInterface::Position9), Slot(&ManagementInterface::ExecFreeItemList)};
  EXPECT_EQ(slots, (std::vector<std::size_t>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
}

using Destructor = void (*)(void*);

Destructor DestructorInSlot(const void* object, std::size_t slot) {
  return reinterpret_cast<const Destructor*>(*static_cast<const void* const*>(object))[slot];
}

class DestructorSlots : public testing::Test {
 protected:
  // What destroying `object` through slot `slot` writes.
  std::vector<std::string> Destroy(void* object, std::size_t slot) {
    host_.TakeJournal();
    DestructorInSlot(object, slot)(object);
    return host_.TakeJournal();
  }

  ScriptedHost host_;
};

const Lines kFirmwareEnds = {"4 CBMC_KESTREL_Firmware::~CBMC_KESTREL_Firmware() [START]",
                             "4 CBMC_KESTREL_Firmware::~CBMC_KESTREL_Firmware() [END]"};
const Lines kVendorEnds = {"4 CBMC_KESTREL_Vendor::~CBMC_KESTREL_Vendor() [START]",
                           "4 CBMC_KESTREL_Vendor::~CBMC_KESTREL_Vendor() [END]"};

TEST_F(DestructorSlots, ZeroLeavesTheMemoryAndOneFreesIt) {
  alignas(CBMC_KESTREL_Firmware) std::byte place[sizeof(CBMC_KESTREL_Firmware)];
  EXPECT_TRUE(SameLines(Destroy(new (place) CBMC_KESTREL_Firmware("p"), 0), kFirmwareEnds));
  EXPECT_TRUE(SameLines(Destroy(new CBMC_KESTREL_Firmware("p"), 1), kFirmwareEnds));
}

TEST_F(DestructorSlots, TheVendorEndsBeforeTheFirmwareHandlerThatItsBaseOwns) {
  host_.System("rm -f \"$I/tmp/KV6KBMC/IPMIResult*\"", 0);
  auto* vendor = new CBMC_KESTREL_Vendor("p");
  vendor->LinkDevice();
  EXPECT_TRUE(SameLines(Destroy(vendor, 1), {kVendorEnds, kFirmwareEnds}));
}

}  // namespace
